// The named parameter accessors, expanded from the one parameter list.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

#define VAXO_PARAM(kind, name, access) VAXO_DEF_GET_##kind(name) VAXO_DEF_SET_##kind##_##access(name)
#define VAXO_DEF_GET_Axis(name)                                                                       \
    VAXO_API ErrorCode vaxo_GetAxisParameter_##name(VaxoHandle h, uint32_t axis, double* value) {     \
        return call(h, [&](IConnection& c) { return c.GetAxisParameter_##name(axis, *value); }, value); \
    }
#define VAXO_DEF_SET_Axis_RW(name)                                                                    \
    VAXO_API ErrorCode vaxo_SetAxisParameter_##name(VaxoHandle h, uint32_t axis, double value) {      \
        return call(h, [&](IConnection& c) { return c.SetAxisParameter_##name(axis, value); });      \
    }
#define VAXO_DEF_GET_System(name)                                                                     \
    VAXO_API ErrorCode vaxo_GetSystemParameter_##name(VaxoHandle h, double* value) {                  \
        return call(h, [&](IConnection& c) { return c.GetSystemParameter_##name(*value); }, value);  \
    }
#define VAXO_DEF_SET_System_RW(name)                                                                  \
    VAXO_API ErrorCode vaxo_SetSystemParameter_##name(VaxoHandle h, double value) {                   \
        return call(h, [&](IConnection& c) { return c.SetSystemParameter_##name(value); });          \
    }
#define VAXO_DEF_GET_Process(name)                                                                    \
    VAXO_API ErrorCode vaxo_GetProcessParameter_##name(VaxoHandle h, uint32_t proc, double* value) {  \
        return call(h, [&](IConnection& c) { return c.GetProcessParameter_##name(proc, *value); }, value); \
    }
#define VAXO_DEF_SET_Process_RW(name)                                                                 \
    VAXO_API ErrorCode vaxo_SetProcessParameter_##name(VaxoHandle h, uint32_t proc, double value) {   \
        return call(h, [&](IConnection& c) { return c.SetProcessParameter_##name(proc, value); });   \
    }
#define VAXO_DEF_GET_Slot(name)                                                                       \
    VAXO_API ErrorCode vaxo_GetSlotParameter_##name(VaxoHandle h, uint32_t slot, double* value) {     \
        return call(h, [&](IConnection& c) { return c.GetSlotParameter_##name(slot, *value); }, value); \
    }
#define VAXO_DEF_SET_Slot_RW(name)                                                                    \
    VAXO_API ErrorCode vaxo_SetSlotParameter_##name(VaxoHandle h, uint32_t slot, double value) {      \
        return call(h, [&](IConnection& c) { return c.SetSlotParameter_##name(slot, value); });      \
    }
#define VAXO_DEF_SET_Axis_RO(name)
#define VAXO_DEF_SET_System_RO(name)
#define VAXO_DEF_SET_Process_RO(name)
#define VAXO_DEF_SET_Slot_RO(name)

extern "C" {
#include <vaxo/NamedParams.def>
}

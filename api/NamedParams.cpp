// The named parameter accessors, expanded from the one parameter list.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

#define VAXO_PARAM(kind, name, access) VAXO_DEF_GET_##kind(name) VAXO_DEF_SET_##kind##_##access(name)
// Axis, process and slot parameters are addressed by a number; system parameters are not.
#define VAXO_DEF_GET_INDEXED(kind, name)                                                                         \
    VAXO_API ErrorCode vaxo_Get##kind##Parameter_##name(VaxoHandle h, uint32_t index, double* value) {           \
        return call(h, [&](IConnection& c) { return c.Get##kind##Parameter_##name(index, *value); }, value);     \
    }
#define VAXO_DEF_SET_INDEXED(kind, name)                                                                         \
    VAXO_API ErrorCode vaxo_Set##kind##Parameter_##name(VaxoHandle h, uint32_t index, double value) {            \
        return call(h, [&](IConnection& c) { return c.Set##kind##Parameter_##name(index, value); });             \
    }
#define VAXO_DEF_GET_System(name)                                                                                \
    VAXO_API ErrorCode vaxo_GetSystemParameter_##name(VaxoHandle h, double* value) {                             \
        return call(h, [&](IConnection& c) { return c.GetSystemParameter_##name(*value); }, value);              \
    }
#define VAXO_DEF_SET_System_RW(name)                                                                             \
    VAXO_API ErrorCode vaxo_SetSystemParameter_##name(VaxoHandle h, double value) {                              \
        return call(h, [&](IConnection& c) { return c.SetSystemParameter_##name(value); });                      \
    }
#define VAXO_DEF_GET_Axis(name) VAXO_DEF_GET_INDEXED(Axis, name)
#define VAXO_DEF_SET_Axis_RW(name) VAXO_DEF_SET_INDEXED(Axis, name)
#define VAXO_DEF_GET_Process(name) VAXO_DEF_GET_INDEXED(Process, name)
#define VAXO_DEF_SET_Process_RW(name) VAXO_DEF_SET_INDEXED(Process, name)
#define VAXO_DEF_GET_Slot(name) VAXO_DEF_GET_INDEXED(Slot, name)
#define VAXO_DEF_SET_Slot_RW(name) VAXO_DEF_SET_INDEXED(Slot, name)
#define VAXO_DEF_SET_Axis_RO(name)
#define VAXO_DEF_SET_System_RO(name)
#define VAXO_DEF_SET_Process_RO(name)
#define VAXO_DEF_SET_Slot_RO(name)

extern "C" {
#include <vaxo/NamedParams.def>
}

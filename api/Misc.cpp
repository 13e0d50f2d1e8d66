// Flat functions of the scope, trigger, position-switch, registration, frame-group and
// project-key commands.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Api::required;
using Api::text;
using Shared::IConnection;

extern "C" {

VAXO_API ErrorCode vaxo_ScopeOn1(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.ScopeOn(-1); });
}
VAXO_API ErrorCode vaxo_ScopeOn2(VaxoHandle h, int32_t period) {
    return call(h, [&](IConnection& c) { return period < 1 ? Api::Err::BadArgument : c.ScopeOn(period); });
}
VAXO_API ErrorCode vaxo_ScopeOn6(VaxoHandle h, int32_t period, uint32_t tableStart, uint32_t tableEnd,
                                 const uint32_t* vrs, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ScopeOnVr(period, tableStart, tableEnd, vrs, count); }, vrs);
}
VAXO_API ErrorCode vaxo_ScopeOn7(VaxoHandle h, int32_t period, uint32_t tableStart, uint32_t tableEnd,
                                 uint32_t parameter, const uint32_t* axes, uint32_t count) {
    return call(h, [&](IConnection& c) {
        return c.ScopeOnAxisParameter(period, tableStart, tableEnd, parameter, axes, count);
    }, axes);
}
VAXO_API ErrorCode vaxo_ScopeOff(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.ScopeOff(); });
}
VAXO_API ErrorCode vaxo_Trigger(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.Trigger(); });
}

VAXO_API ErrorCode vaxo_PSwitch(VaxoHandle h, int32_t sw, int32_t output, int32_t state, double setPosition,
                                double resetPosition, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.PSwitch(sw, output, state, setPosition, resetPosition, axis); });
}
VAXO_API ErrorCode vaxo_PSwitchMulti(VaxoHandle h, int32_t sw, int32_t output, int32_t state,
                                     const double* positions, uint32_t count, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.PSwitchMulti(sw, output, state, positions, count, axis); },
                positions);
}
VAXO_API ErrorCode vaxo_PSwitchOff(VaxoHandle h, int32_t sw) {
    return call(h, [&](IConnection& c) { return c.PSwitchOff(sw); });
}

VAXO_API ErrorCode vaxo_Regist3(VaxoHandle h, int32_t mode, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Regist(mode, axis); });
}
VAXO_API ErrorCode vaxo_Regist9(VaxoHandle h, int32_t mode, int32_t channel, int32_t source, int32_t edge,
                                int32_t window, double openPosition, double closePosition, int32_t axis) {
    return call(h, [&](IConnection& c) {
        return c.Regist(mode, channel, source, edge, window, openPosition, closePosition, axis);
    });
}

VAXO_API ErrorCode vaxo_SetFrameGroup(VaxoHandle h, uint32_t group, uint32_t tableIndex, const int32_t* axes,
                                      uint32_t count) {
    static_assert(sizeof(int32_t) == sizeof(int));
    return call(h, [&](IConnection& c) {
        return c.SetFrameGroup(group, tableIndex, reinterpret_cast<const int*>(axes), count);
    }, axes);
}
VAXO_API ErrorCode vaxo_DeleteFrameGroup(VaxoHandle h, uint32_t group) {
    return call(h, [&](IConnection& c) { return c.DeleteFrameGroup(group); });
}
VAXO_API ErrorCode vaxo_GetFrameGroup(VaxoHandle h, uint32_t group, uint32_t* tableIndex, int32_t* axes,
                                      uint32_t* count) {
    return call(h, [&](IConnection& c) {
        unsigned int stored = 0;
        const Api::Err e = c.GetFrameGroup(group, *tableIndex, reinterpret_cast<int*>(axes), *count, stored);
        if (!Shared::failed(e))
            *count = stored;
        return e;
    }, tableIndex, axes, count);
}
VAXO_API ErrorCode vaxo_GetFrameGroup2(VaxoHandle h, VaxoFrameGroup* frame) {
    return call(h, [&](IConnection& c) {
        unsigned int tableIndex = 0;
        unsigned int count = 0;
        Api::Err e;
        if (frame->axes == nullptr)
            e = c.GetFrameGroup(frame->group, tableIndex, [&count](int) { ++count; });
        else
            e = c.GetFrameGroup(frame->group, tableIndex, reinterpret_cast<int*>(frame->axes), frame->capacity,
                                count);
        if (!Shared::failed(e)) {
            frame->tableIndex = tableIndex;
            frame->count = count;
        }
        return e;
    }, frame);
}

VAXO_API ErrorCode vaxo_ProjectKey(VaxoHandle h, const char* key) {
    return call(h, [&](IConnection& c) { return c.ProjectKey(text(key)); }, key);
}
VAXO_API ErrorCode vaxo_ProjectKeyRegistryClear(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.ProjectKeyRegistryClear(); });
}
VAXO_API ErrorCode vaxo_ProjectKeyRegistryList(VaxoHandle h, VaxoTextCb cb, void* user) {
    return call(h, [&](IConnection& c) {
        return c.ProjectKeyRegistryList([&](std::string_view names) {
            cb(user, names.data(), std::uint32_t(names.size()));
            return true;
        });
    }, required(cb));
}
VAXO_API ErrorCode vaxo_ProjectKeyRegistryStore(VaxoHandle h, const char* name, const char* key) {
    return call(h, [&](IConnection& c) { return c.ProjectKeyRegistryStore(text(name), text(key)); }, name, key);
}
VAXO_API ErrorCode vaxo_ProjectKeyRegistryUse(VaxoHandle h, const char* name) {
    return call(h, [&](IConnection& c) { return c.ProjectKeyRegistryUse(text(name)); }, name);
}

} // extern "C"

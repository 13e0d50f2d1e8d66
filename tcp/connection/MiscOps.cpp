// Operations of the scope, trigger, position-switch, registration, frame-group and project-key
// family.
#include "tcp/commands/Misc.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode Connection_TCP::ScopeOn(int period) {
    return execute<CmdScope>([&](CmdScope& c) { return c.sendOn(period); });
}
ErrorCode Connection_TCP::ScopeOnVr(int period, unsigned int tableStart, unsigned int tableEnd,
                                    const unsigned int* vrs, unsigned int count) {
    return execute<CmdScope>([&](CmdScope& c) { return c.sendOnVr(period, tableStart, tableEnd, vrs, count); });
}
ErrorCode Connection_TCP::ScopeOnAxisParameter(int period, unsigned int tableStart, unsigned int tableEnd,
                                               unsigned int parameter, const unsigned int* axes, unsigned int count) {
    return execute<CmdScope>([&](CmdScope& c) {
        return c.sendOnAxisParameter(period, tableStart, tableEnd, parameter, axes, count);
    });
}
ErrorCode Connection_TCP::ScopeOff() {
    return execute<CmdScope>([](CmdScope& c) { return c.sendOff(); });
}
ErrorCode Connection_TCP::Trigger() {
    return execute<CmdTrigger>([](CmdTrigger& c) { return c.send(); });
}

ErrorCode Connection_TCP::PSwitch(int sw, int output, int state, double setPosition, double resetPosition, int axis) {
    return execute<CmdPSwitch>(
        [&](CmdPSwitch& c) { return c.send(sw, output, state, setPosition, resetPosition, axis); });
}
ErrorCode Connection_TCP::PSwitchMulti(int sw, int output, int state, const double* positions, unsigned int count,
                                       int axis) {
    return execute<CmdPSwitch>(
        [&](CmdPSwitch& c) { return c.sendMulti(sw, output, state, positions, count, axis); });
}
ErrorCode Connection_TCP::PSwitchOff(int sw) {
    return execute<CmdPSwitch>([&](CmdPSwitch& c) { return c.sendOff(sw); });
}

ErrorCode Connection_TCP::Regist(int mode, int axis) {
    return execute<CmdRegist>([&](CmdRegist& c) { return c.send(mode, axis); });
}
ErrorCode Connection_TCP::Regist(int mode, int channel, int source, int edge, int window, double openPosition,
                                 double closePosition, int axis) {
    return execute<CmdRegist>([&](CmdRegist& c) {
        return c.send(mode, channel, source, edge, window, openPosition, closePosition, axis);
    });
}

ErrorCode Connection_TCP::SetFrameGroup(unsigned int group, unsigned int tableIndex, const int* axes,
                                        unsigned int count) {
    return execute<CmdFrameGroup>([&](CmdFrameGroup& c) { return c.sendSet(group, tableIndex, axes, count); });
}
ErrorCode Connection_TCP::DeleteFrameGroup(unsigned int group) {
    return execute<CmdFrameGroup>([&](CmdFrameGroup& c) { return c.sendDelete(group); });
}

namespace {
// The reply names the group it lists: another group is a reply out of step.
ErrorCode checkGroup(ErrorCode e, const Shared::FrameGroupReplyParser::ReadGroupData& data, unsigned group) {
    if (!failed(e) && data.group != group)
        return ErrorCode::BadResponse;
    return e;
}
} // namespace

ErrorCode Connection_TCP::GetFrameGroup(unsigned int group, unsigned int& tableIndex, int* axes,
                                        unsigned int capacity, unsigned int& count) {
    if (axes == nullptr && capacity > 0)
        return refused(ErrorCode::BadArgument);
    Shared::FrameGroupReplyParser::ReadGroupData data;
    std::uint32_t stored = 0;
    int none = 0;
    data.array = axes ? axes : &none; // an array of capacity 0 refuses every element
    data.capacity = capacity;
    data.count = &stored;
    ErrorCode e = execute<CmdFrameGroup>([&](CmdFrameGroup& c) { return c.sendRead(group); }, &data);
    e = checkGroup(e, data, group);
    if (!failed(e)) {
        tableIndex = data.bracketed;
        count = stored;
    }
    return e;
}

ErrorCode Connection_TCP::GetFrameGroup(unsigned int group, unsigned int& tableIndex,
                                        const std::function<void(int)>& onAxis) {
    if (!onAxis)
        return refused(ErrorCode::BadArgument);
    Shared::FrameGroupReplyParser::ReadGroupData data;
    HostCalls calls;
    data.onElement = [&](int axis) { calls(onAxis, axis); };
    ErrorCode e = execute<CmdFrameGroup>([&](CmdFrameGroup& c) { return c.sendRead(group); }, &data);
    e = calls.result(checkGroup(e, data, group));
    if (!failed(e))
        tableIndex = data.bracketed;
    return e;
}

ErrorCode Connection_TCP::ProjectKey(std::string_view key) {
    return execute<CmdProjectKey>([&](CmdProjectKey& c) { return c.send(key); });
}
ErrorCode Connection_TCP::ProjectKeyRegistryClear() {
    return execute<CmdProjectKeyRegistry>(
        [](CmdProjectKeyRegistry& c) { return c.send(CmdProjectKeyRegistry::Clear); });
}
ErrorCode Connection_TCP::ProjectKeyRegistryList(const Shared::TextFn& onText) {
    if (!onText)
        return refused(ErrorCode::BadArgument);
    std::string text;
    const ErrorCode e = execute<CmdProjectKeyRegistry>(
        [](CmdProjectKeyRegistry& c) { return c.send(CmdProjectKeyRegistry::List); }, &text);
    if (!failed(e))
        onText(text); // the whole list in one call; the callable's answer is not used
    return e;
}
ErrorCode Connection_TCP::ProjectKeyRegistryStore(std::string_view name, std::string_view key) {
    return execute<CmdProjectKeyRegistry>(
        [&](CmdProjectKeyRegistry& c) { return c.send(CmdProjectKeyRegistry::Store, name, key); });
}
ErrorCode Connection_TCP::ProjectKeyRegistryUse(std::string_view name) {
    return execute<CmdProjectKeyRegistry>(
        [&](CmdProjectKeyRegistry& c) { return c.send(CmdProjectKeyRegistry::Use, name); });
}

} // namespace Vaxo::Ubrix::TCP

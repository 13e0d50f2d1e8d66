// Operations of the digital and analogue I/O family.
#include "tcp/commands/IO.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode Connection_TCP::GetDIn(unsigned int channel, bool& on) {
    unsigned int mask = 0;
    const ErrorCode e = GetDIn(channel, kNoChannel, mask);
    if (!failed(e))
        on = mask != 0;
    return e;
}
ErrorCode Connection_TCP::GetDIn(unsigned int first, unsigned int last, unsigned int& mask) {
    return execute<CmdIN>([&](CmdIN& c) { return c.send(first, last); }, mask);
}
ErrorCode Connection_TCP::GetDIn32(unsigned int& mask) {
    return execute<CmdIN>([&](CmdIN& c) { return c.send(kNoChannel, kNoChannel); }, mask);
}
ErrorCode Connection_TCP::GetDOut(unsigned int channel, bool& on) {
    unsigned int mask = 0;
    const ErrorCode e = GetDOut(channel, kNoChannel, mask);
    if (!failed(e))
        on = mask != 0;
    return e;
}
ErrorCode Connection_TCP::GetDOut(unsigned int first, unsigned int last, unsigned int& mask) {
    return execute<CmdReadOP>([&](CmdReadOP& c) { return c.send(first, last); }, mask);
}
ErrorCode Connection_TCP::GetDOut32(unsigned int& mask) {
    return execute<CmdOP>([](CmdOP& c) { return c.send(); }, &mask);
}
ErrorCode Connection_TCP::SetDOut(unsigned int channel, bool on) {
    return execute<CmdOP>([&](CmdOP& c) { return c.send(channel, channel, on ? 1u : 0u); });
}
ErrorCode Connection_TCP::SetDOut(unsigned int first, unsigned int last, unsigned int value) {
    return execute<CmdOP>([&](CmdOP& c) { return c.send(first, last, value); });
}
ErrorCode Connection_TCP::SetDOut32(unsigned int value) {
    return execute<CmdOP>([&](CmdOP& c) { return c.send(value); });
}
ErrorCode Connection_TCP::GetAIn(unsigned int channel, int& value) {
    return execute<CmdAIN>([&](CmdAIN& c) { return c.send(channel); }, value);
}
ErrorCode Connection_TCP::GetAOut(unsigned int channel, int& value) {
    return execute<CmdGetAOUT>([&](CmdGetAOUT& c) { return c.send(channel); }, value);
}
ErrorCode Connection_TCP::SetAOut(unsigned int channel, int value) {
    return execute<CmdSetAOUT>([&](CmdSetAOUT& c) { return c.send(channel, value); });
}
ErrorCode Connection_TCP::GetInvertIN(unsigned int channel, bool& on) {
    return execute<CmdGetInvertIn>([&](CmdGetInvertIn& c) { return c.send(channel); }, on);
}
ErrorCode Connection_TCP::SetInvertIN(unsigned int channel, bool on) {
    return execute<CmdSetInvertIn>([&](CmdSetInvertIn& c) { return c.send(channel, on); });
}

} // namespace Vaxo::Ubrix::TCP

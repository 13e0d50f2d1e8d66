// Operations of the VR and TABLE family: single and multi values, VR strings and bits.
#include "tcp/commands/Variables.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode Connection_TCP::GetVrValue(unsigned int index, double& value) {
    return execute<CmdGetVR>([&](CmdGetVR& c) { return c.send(index); }, &value);
}
ErrorCode Connection_TCP::SetVrValue(unsigned int index, double value) {
    return execute<CmdSetVR>([&](CmdSetVR& c) { return c.send(index, value); });
}
ErrorCode Connection_TCP::GetTableValue(unsigned int index, double& value) {
    return execute<CmdGetTABLE>([&](CmdGetTABLE& c) { return c.send(index); }, &value);
}
ErrorCode Connection_TCP::SetTableValue(unsigned int index, double value) {
    return execute<CmdSetTABLE>([&](CmdSetTABLE& c) { return c.send(index, value); });
}


namespace {
// A run of count values from start must stay inside 32-bit indices. An empty run still goes to
// the controller, as the same request with a count of 0.
ErrorCode checkRun(unsigned start, unsigned count, const void* values) {
    if (count == 0)
        return ErrorCode::Success;
    if (!values || std::uint64_t(start) + count - 1 > 0xFFFFFFFFull)
        return ErrorCode::BadArgument;
    return ErrorCode::Success;
}
} // namespace

ErrorCode Connection_TCP::GetMultiVrValues(unsigned int start, unsigned int count, double* values) {
    if (ErrorCode e = checkRun(start, count, values); failed(e))
        return refused(e);
    return execute<CmdGetMultiVR>([&](CmdGetMultiVR& c) { return c.send(start, count, values); });
}
ErrorCode Connection_TCP::GetMultiTableValues(unsigned int start, unsigned int count, double* values) {
    if (ErrorCode e = checkRun(start, count, values); failed(e))
        return refused(e);
    return execute<CmdGetMultiTABLE>([&](CmdGetMultiTABLE& c) { return c.send(start, count, values); });
}
ErrorCode Connection_TCP::SetMultiVrValues(unsigned int start, unsigned int count, const double* values) {
    if (ErrorCode e = checkRun(start, count, values); failed(e))
        return refused(e);
    return execute<CmdSetMultiVR>([&](CmdSetMultiVR& c) { return c.send(start, count, values); });
}
ErrorCode Connection_TCP::SetMultiTableValues(unsigned int start, unsigned int count, const double* values) {
    if (ErrorCode e = checkRun(start, count, values); failed(e))
        return refused(e);
    return execute<CmdSetMultiTABLE>([&](CmdSetMultiTABLE& c) { return c.send(start, count, values); });
}

ErrorCode Connection_TCP::SetVrString(unsigned int index, std::string_view text) {
    return execute<CmdSetVrString>([&](CmdSetVrString& c) { return c.send(index, text); });
}
ErrorCode Connection_TCP::GetVrStringLen(unsigned int index, unsigned int& length) {
    return execute<CmdGetVrStringLen>([&](CmdGetVrStringLen& c) { return c.send(index); }, &length);
}
ErrorCode Connection_TCP::GetVrString(unsigned int index, char* buffer, unsigned int& size) {
    if (!buffer && size)
        return refused(ErrorCode::BadArgument);
    return execute<CmdGetVrStringToBuffer>([&](CmdGetVrStringToBuffer& c) { return c.send(index); }, buffer, &size);
}
ErrorCode Connection_TCP::GetVrString(unsigned int index, const Shared::DataStreamFn& onText) {
    return execute<CmdGetVrStringStream>([&](CmdGetVrStringStream& c) { return c.send(index); }, &onText);
}
ErrorCode Connection_TCP::GetVrString(unsigned int index, std::string& text) {
    return execute<CmdGetVrStringToString>([&](CmdGetVrStringToString& c) { return c.send(index); }, &text);
}

ErrorCode Connection_TCP::GetVrBit(unsigned int bit, unsigned int index, bool& value) {
    double v = 0;
    const ErrorCode e = execute<CmdReadBit>([&](CmdReadBit& c) { return c.send(bit, index); }, &v);
    if (!failed(e))
        value = v != 0;
    return e;
}
ErrorCode Connection_TCP::SetVrBit(unsigned int bit, unsigned int index) {
    return execute<CmdSetVrBit>([&](CmdSetVrBit& c) { return c.send(bit, index); });
}
ErrorCode Connection_TCP::ClearVrBit(unsigned int bit, unsigned int index) {
    return execute<CmdClearBit>([&](CmdClearBit& c) { return c.send(bit, index); });
}

} // namespace Vaxo::Ubrix::TCP

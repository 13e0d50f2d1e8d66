// Operations of the parameter family by KnownTokens value: system, axis, process, slot and port
// parameters, string-valued system parameters, and the axis base.
#include "tcp/commands/Parameters.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

namespace {

// A parameter is a KnownTokens value naming a system variable.
ErrorCode toParameter(unsigned int value, KnownTokens& parameter) {
    if (value >= Shared::KnownTokens_Count || Shared::getKnownTokenType(KnownTokens(value)) != 'V')
        return ErrorCode::BadArgument;
    parameter = KnownTokens(value);
    return ErrorCode::Success;
}

ErrorCode toIndex(unsigned int value, int& index) {
    if (value > 0x7FFFFFFFu)
        return ErrorCode::BadArgument;
    index = int(value);
    return ErrorCode::Success;
}

// The named parameter and the axis or process number of a modified parameter access.
ErrorCode toParameterAndIndex(unsigned int parameter, unsigned int object, KnownTokens& p, int& index) {
    if (ErrorCode e = toParameter(parameter, p); failed(e))
        return e;
    return toIndex(object, index);
}

} // namespace

ErrorCode Connection_TCP::GetSystemParameterValue(unsigned int parameter, double& value) {
    KnownTokens p;
    if (ErrorCode e = toParameter(parameter, p); failed(e))
        return refused(e);
    return GetSystemParameter(p, value);
}
ErrorCode Connection_TCP::SetSystemParameterValue(unsigned int parameter, double value) {
    KnownTokens p;
    if (ErrorCode e = toParameter(parameter, p); failed(e))
        return refused(e);
    return SetSystemParameter(p, value);
}

#define VAXO_MODIFIED_PARAMETER(Kind, modifier)                                                              \
    ErrorCode Connection_TCP::Get##Kind##ParameterValue(unsigned int parameter, unsigned int object,         \
                                                        double& value) {                                     \
        KnownTokens p;                                                                                       \
        int index = 0;                                                                                       \
        if (ErrorCode e = toParameterAndIndex(parameter, object, p, index); failed(e))                       \
            return refused(e);                                                                               \
        return GetParameterWithModifier(p, KnownTokens::modifier, index, value);                             \
    }                                                                                                        \
    ErrorCode Connection_TCP::Set##Kind##ParameterValue(unsigned int parameter, unsigned int object,         \
                                                        double value) {                                      \
        KnownTokens p;                                                                                       \
        int index = 0;                                                                                       \
        if (ErrorCode e = toParameterAndIndex(parameter, object, p, index); failed(e))                       \
            return refused(e);                                                                               \
        return SetParameterWithModifier(p, KnownTokens::modifier, index, value);                             \
    }
VAXO_MODIFIED_PARAMETER(Axis, AXIS)
VAXO_MODIFIED_PARAMETER(Process, PROC)
VAXO_MODIFIED_PARAMETER(Slot, SLOT)
VAXO_MODIFIED_PARAMETER(Port, PORT)
#undef VAXO_MODIFIED_PARAMETER

ErrorCode Connection_TCP::GetSystemParameterString(unsigned int parameter, std::string& text) {
    KnownTokens p;
    if (ErrorCode e = toParameter(parameter, p); failed(e))
        return refused(e);
    return execute<CmdGetSysVarStrBase>([&](CmdGetSysVarStrBase& c) { return c.sendVar(p); }, &text);
}
ErrorCode Connection_TCP::SetSystemParameterString(unsigned int parameter, std::string_view text) {
    KnownTokens p;
    if (ErrorCode e = toParameter(parameter, p); failed(e))
        return refused(e);
    return execute<CmdSetSysVarStr>([&](CmdSetSysVarStr& c) { return c.send(p, text); });
}

ErrorCode Connection_TCP::SetAxisBase(int axis) {
    return execute<CmdSetAxisBase>([&](CmdSetAxisBase& c) { return c.send(&axis, 1); });
}
ErrorCode Connection_TCP::SetMultiAxisBase(const int* axes, unsigned int count) {
    if (!axes && count > 0)
        return refused(ErrorCode::BadArgument);
    return execute<CmdSetAxisBase>([&](CmdSetAxisBase& c) { return c.send(axes, count); });
}

} // namespace Vaxo::Ubrix::TCP

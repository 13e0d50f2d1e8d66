// Operations of the program, process, command-line and directory family.
#include <string>

#include "tcp/commands/Programs.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

namespace {
std::optional<int> given(int v) {
    return v == CmdEdProg::kNotGiven ? std::nullopt : std::optional<int>(v);
}
} // namespace

ErrorCode Connection_TCP::Execute(std::string_view command) {
    return execute<CmdExecute>([&](CmdExecute& c) { return c.send(command); });
}
ErrorCode Connection_TCP::ExecuteWithResponse(std::string_view command, char* buffer, unsigned int& size) {
    if (!buffer && size != 0)
        return refused(ErrorCode::BadArgument);
    return execute<CmdExecuteWithResponse1>([&](CmdExecuteWithResponse1& c) { return c.send(command); }, buffer,
                                            size);
}
ErrorCode Connection_TCP::ExecuteWithResponse(std::string_view command, const Shared::DataStreamFn& onText) {
    return execute<CmdExecuteWithResponse2>([&](CmdExecuteWithResponse2& c) { return c.send(command); }, onText);
}
ErrorCode Connection_TCP::ExecuteWithResponse(std::string_view command, std::string& reply) {
    return execute<CmdExecuteWithResponse3>([&](CmdExecuteWithResponse3& c) { return c.send(command); }, reply);
}

ErrorCode Connection_TCP::Halt() {
    return execute<CmdHalt>([](CmdHalt& c) { return c.send(); });
}
ErrorCode Connection_TCP::RunProgram(std::string_view program, unsigned int process) {
    return execute<CmdRunProgram>([&](CmdRunProgram& c) { return c.send(program, process); });
}
ErrorCode Connection_TCP::StopProgram(std::string_view program, unsigned int process) {
    return execute<CmdStopProgram>([&](CmdStopProgram& c) { return c.send(program, process); });
}
ErrorCode Connection_TCP::New(std::string_view file) {
    return execute<CmdNew>([&](CmdNew& c) { return c.send(file); });
}
ErrorCode Connection_TCP::Delete(std::string_view file, bool flag) {
    return execute<CmdDelete>([&](CmdDelete& c) { return c.send(file, flag); });
}
ErrorCode Connection_TCP::Select(std::string_view file, unsigned int fileType) {
    return execute<CmdSelect>([&](CmdSelect& c) { return c.send(file, fileType); });
}
ErrorCode Connection_TCP::FileExists(std::string_view file, bool& exists) {
    return execute<CmdIsFile>([&](CmdIsFile& c) { return c.send(file); }, &exists);
}
ErrorCode Connection_TCP::ClearVariables() {
    return execute<CmdClear>([](CmdClear& c) { return c.send(); });
}
ErrorCode Connection_TCP::Dir(const Shared::FileInfoFn& onFile) {
    return execute<CmdDir>([](CmdDir& c) { return c.send(); }, onFile);
}
ErrorCode Connection_TCP::GetProcessList(const Shared::ProcessInfoFn& onProcess) {
    return execute<CmdProcess>([](CmdProcess& c) { return c.send(); }, onProcess);
}

ErrorCode Connection_TCP::EditProgram(std::string_view program, std::string_view line, int mode, int first,
                                      int second, std::string& reply) {
    return execute<CmdEdProg3>(
        [&](CmdEdProg3& c) { return c.send(program, line, mode, given(first), given(second)); }, reply);
}
ErrorCode Connection_TCP::EditProgramValue(std::string_view program, std::string_view line, int mode, int first,
                                           int second, std::uint16_t& result) {
    return execute<CmdEdProg4>(
        [&](CmdEdProg4& c) { return c.send(program, line, mode, given(first), given(second)); }, result);
}
ErrorCode Connection_TCP::FileCommand(std::string_view first, std::string_view second, std::string_view third,
                                      std::string& reply) {
    return execute<CmdFile3>([&](CmdFile3& c) { return c.send(first, second, third); }, reply);
}
ErrorCode Connection_TCP::FileCommandValue(std::string_view first, std::string_view second, std::string_view third,
                                           std::uint16_t& result) {
    return execute<CmdFile4>([&](CmdFile4& c) { return c.send(first, second, third); }, result);
}

} // namespace Vaxo::Ubrix::TCP

// Every flat function of the programs family: a null handle gives ConnectionContext, and each
// null text, out-pointer or result callback gives BadArgument before anything else happens.
#include "NullCases.h"

namespace {

using namespace vaxotest;

constexpr uint64_t kDisconnected = 0x0100000015ull;

void textCb(void*, const char*, uint32_t) {}
void packetCb(void*, const VaxoDataStreamPacket*, const char*) {}
void fileCb(void*, const VaxoFileInfo*, const char*) {}
void procCb(void*, const VaxoProcessInfo*, const char*) {}

std::vector<NullCase> rows() {
    static char buffer[8];
    static uint32_t size = sizeof buffer;
    static bool flag;
    return {
        {"Execute", [](VaxoHandle h) { return vaxo_Execute(h, "x"); },
         {[](VaxoHandle h) { return vaxo_Execute(h, nullptr); }}},
        {"ExecuteWithResponse4a", [](VaxoHandle h) { return vaxo_ExecuteWithResponse4a(h, "x", buffer, &size); },
         {[](VaxoHandle h) { return vaxo_ExecuteWithResponse4a(h, nullptr, buffer, &size); },
          [](VaxoHandle h) { return vaxo_ExecuteWithResponse4a(h, "x", nullptr, &size); },
          [](VaxoHandle h) { return vaxo_ExecuteWithResponse4a(h, "x", buffer, nullptr); }}},
        {"ExecuteWithResponse4b", [](VaxoHandle h) { return vaxo_ExecuteWithResponse4b(h, "x", packetCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_ExecuteWithResponse4b(h, nullptr, packetCb, nullptr); },
          [](VaxoHandle h) { return vaxo_ExecuteWithResponse4b(h, "x", nullptr, nullptr); }}},
        {"ExecuteWithResponse4c", [](VaxoHandle h) { return vaxo_ExecuteWithResponse4c(h, "x", textCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_ExecuteWithResponse4c(h, nullptr, textCb, nullptr); },
          [](VaxoHandle h) { return vaxo_ExecuteWithResponse4c(h, "x", nullptr, nullptr); }}},
        {"Halt", [](VaxoHandle h) { return vaxo_Halt(h); }, {}},
        {"RunProgram2", [](VaxoHandle h) { return vaxo_RunProgram2(h, "P"); },
         {[](VaxoHandle h) { return vaxo_RunProgram2(h, nullptr); }}},
        {"RunProgram3", [](VaxoHandle h) { return vaxo_RunProgram3(h, "P", 1); },
         {[](VaxoHandle h) { return vaxo_RunProgram3(h, nullptr, 1); }}},
        {"StopProgram2", [](VaxoHandle h) { return vaxo_StopProgram2(h, "P"); },
         {[](VaxoHandle h) { return vaxo_StopProgram2(h, nullptr); }}},
        {"StopProgram3", [](VaxoHandle h) { return vaxo_StopProgram3(h, "P", 1); },
         {[](VaxoHandle h) { return vaxo_StopProgram3(h, nullptr, 1); }}},
        {"New", [](VaxoHandle h) { return vaxo_New(h, "P"); }, {[](VaxoHandle h) { return vaxo_New(h, nullptr); }}},
        {"Delete", [](VaxoHandle h) { return vaxo_Delete(h, "P", true); },
         {[](VaxoHandle h) { return vaxo_Delete(h, nullptr, true); }}},
        {"Select", [](VaxoHandle h) { return vaxo_Select(h, "P", 0); },
         {[](VaxoHandle h) { return vaxo_Select(h, nullptr, 0); }}},
        {"FileExists", [](VaxoHandle h) { return vaxo_FileExists(h, "P", &flag); },
         {[](VaxoHandle h) { return vaxo_FileExists(h, nullptr, &flag); },
          [](VaxoHandle h) { return vaxo_FileExists(h, "P", nullptr); }}},
        {"ClearVariables", [](VaxoHandle h) { return vaxo_ClearVariables(h); }, {}},
        {"Dir", [](VaxoHandle h) { return vaxo_Dir(h, fileCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_Dir(h, nullptr, nullptr); }}},
        {"GetProcessList", [](VaxoHandle h) { return vaxo_GetProcessList(h, procCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_GetProcessList(h, nullptr, nullptr); }}},
    };
}

} // namespace

TEST(ProgramsNull, NullHandleAndNullPointers) {
    const VersionInfo v{1, 2, 1, 1196};
    VaxoHandle h = nullptr;
    ASSERT_EQ(vaxo_CreateContext(&v, nullptr, nullptr, &h), 0u);
    expectNullRefusals(rows(), h, kDisconnected);
    EXPECT_EQ(vaxo_DestroyContext(h), 0u);
}

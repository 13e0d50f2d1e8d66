// What the public headers state against what the library does: the settings of a new context
// and the address and port the open falls back to, and the digit at the end of a flat name.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include <vaxo/vaxo.h>

#include "shared/factory/ConnectionBase.h"
#include "tcp/connection/Connection_TCP.h"

TEST(Defaults, NewContextReadsBackTheStatedDefaults) {
    const ::VersionInfo v{1, 2, 1, 1196};
    VaxoHandle h = nullptr;
    ASSERT_EQ(vaxo_CreateContext(&v, nullptr, nullptr, &h), 0u);
    uint16_t port = 1;
    uint32_t connectMs = 0, commandMs = 0;
    std::string host = "unset";
    EXPECT_EQ(vaxo_GetTcpPort(h, &port), 0u);
    EXPECT_EQ(vaxo_GetTcpConnectTimeout(h, &connectMs), 0u);
    EXPECT_EQ(vaxo_GetTcpCommandTimeout(h, &commandMs), 0u);
    EXPECT_EQ(vaxo_GetTcpHostName(
                  h, [](void* u, const char* t, uint32_t n) { static_cast<std::string*>(u)->assign(t, n); }, &host),
              0u);
    EXPECT_EQ(port, 0u) << "0 stands for the default port";
    EXPECT_EQ(host, "") << "empty stands for the factory-default address";
    EXPECT_EQ(connectMs, 5000u);
    EXPECT_EQ(commandMs, 60000u);
    vaxo_DestroyContext(h);
}

namespace {
std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path;
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}
} // namespace

TEST(Defaults, HeaderNamesTheAddressAndPortTheOpenFallsBackTo) {
    const std::string header = readFile(VAXO_SOURCE_DIR "/include/vaxo/vaxo.h");
    const auto settings = header.find("---- TCP settings");
    ASSERT_NE(settings, std::string::npos);
    const std::string part = header.substr(settings, header.find("---- Connection", settings) - settings);
    const std::string host(Vaxo::Ubrix::Shared::ConnectionBase::tcp_default_hostname);
    const std::string port = std::to_string(Vaxo::Ubrix::TCP::Connection_TCP::kDefaultPort);
    EXPECT_NE(part.find("empty: the open connects to the controller's factory-default address"), std::string::npos);
    EXPECT_NE(part.find(host), std::string::npos) << "the header names " << host;
    EXPECT_NE(part.find("0: the open connects to port " + port), std::string::npos) << part;
}

TEST(PublicHeader, DigitAtTheEndOfAFlatNameCountsItsArgumentsWithTheHandle) {
    const std::regex comment(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/)");
    const std::regex decl(R"(VAXO_API\s+[\w\s\*]+?\b(vaxo_\w+?(\d+)[a-z]?)\s*\(([^;]*?)\)\s*;)");
    int checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VAXO_SOURCE_DIR "/include/vaxo")) {
        if (entry.path().extension() != ".h")
            continue;
        const std::string text = std::regex_replace(readFile(entry.path()), comment, " ");
        for (std::sregex_iterator it(text.begin(), text.end(), decl), end; it != end; ++it) {
            const std::string name = (*it)[1];
            const int digit = std::stoi((*it)[2]);
            const std::string params = (*it)[3];
            const int count = params.empty() ? 0 : 1 + int(std::count(params.begin(), params.end(), ','));
            if (name == "vaxo_GetDIn32" || name == "vaxo_GetDOut32" || name == "vaxo_SetDOut32") {
                EXPECT_EQ(digit, 32) << name << ": the 32 channels";
                continue;
            }
            EXPECT_EQ(digit, count) << name << "(" << params << ")";
            ++checked;
        }
    }
    EXPECT_GT(checked, 40) << "the flat names with a digit were found";
}

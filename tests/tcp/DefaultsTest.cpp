// The settings of a new context and what the public header says about them: the header is
// where a user looks, so it must name the address and port the library really falls back to.
#include <gtest/gtest.h>

#include <fstream>
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

TEST(Defaults, HeaderNamesTheAddressAndPortTheOpenFallsBackTo) {
    std::ifstream in(VAXO_SOURCE_DIR "/include/vaxo/vaxo.h");
    ASSERT_TRUE(in);
    std::stringstream text;
    text << in.rdbuf();
    const std::string header = text.str();
    const auto settings = header.find("---- TCP settings");
    ASSERT_NE(settings, std::string::npos);
    const std::string part = header.substr(settings, header.find("---- Connection", settings) - settings);
    const std::string host(Vaxo::Ubrix::Shared::ConnectionBase::tcp_default_hostname);
    const std::string port = std::to_string(Vaxo::Ubrix::TCP::Connection_TCP::kDefaultPort);
    EXPECT_NE(part.find("empty: the open connects to the controller's factory-default address"), std::string::npos);
    EXPECT_NE(part.find(host), std::string::npos) << "the header names " << host;
    EXPECT_NE(part.find("0: the open connects to port " + port), std::string::npos) << part;
}

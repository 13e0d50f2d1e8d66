// Module entry, factory with real module loading, registry and the context functions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vaxo/vaxo.h>

#include "shared/factory/Factory.h"

using namespace Vaxo::Ubrix::Shared;

namespace {

struct Events {
    std::vector<std::pair<std::uint32_t, std::uint64_t>> seen;
    static void cb(void* user, uint32_t type, uint64_t value, const char*, uint32_t) {
        static_cast<Events*>(user)->seen.emplace_back(type, value);
    }
};

void collect(void* user, const char* text, uint32_t length) { static_cast<std::string*>(user)->assign(text, length); }

} // namespace

TEST(Context, VersionIsCheckedBeforeAnythingIsMade) {
    Events events;
    VaxoHandle h = reinterpret_cast<VaxoHandle>(0x1234);
    const ::VersionInfo old{1, 2, 1, 1195};
    EXPECT_EQ(vaxo_CreateContext(&old, Events::cb, &events, &h), 0x8100000012ull);
    ASSERT_EQ(events.seen.size(), 1u);
    EXPECT_EQ(events.seen[0], (std::pair<std::uint32_t, std::uint64_t>{0, 0x8100000012ull}));
    EXPECT_EQ(h, reinterpret_cast<VaxoHandle>(0x1234));

    EXPECT_EQ(vaxo_CreateContext(nullptr, Events::cb, &events, &h), 0x010000000Cull);
    const ::VersionInfo ok{1, 2, 1, 1196};
    EXPECT_EQ(vaxo_CreateContext(&ok, Events::cb, &events, nullptr), 0x010000000Cull);
    EXPECT_EQ(events.seen.size(), 1u);
}

TEST(Context, LifeWithoutAController) {
    const ::VersionInfo ok{1, 2, 1, 1196};
    VaxoHandle h = nullptr;
    ASSERT_EQ(vaxo_CreateContext(&ok, Events::cb, nullptr, &h), 0u);
    ASSERT_NE(h, nullptr);
    EXPECT_FALSE(vaxo_IsConnected(h));
    EXPECT_EQ(vaxo_GetConnectionType(h), 1u);
    ::VersionInfo v{};
    EXPECT_EQ(vaxo_GetApiVersion(h, &v), 0u);
    EXPECT_EQ(v.major, 1);
    EXPECT_EQ(v.build, 1196);
    std::string text;
    EXPECT_EQ(vaxo_GetApiVersionStr(h, collect, &text), 0u);
    EXPECT_EQ(text, "1.2.1-rc1+b8ba2783");

    // Settings are kept for the next open; defaults first.
    uint16_t port = 1;
    uint32_t ms = 0;
    EXPECT_EQ(vaxo_GetTcpPort(h, &port), 0u);
    EXPECT_EQ(port, 0);
    EXPECT_EQ(vaxo_GetTcpConnectTimeout(h, &ms), 0u);
    EXPECT_EQ(ms, 5000u);
    EXPECT_EQ(vaxo_GetTcpCommandTimeout(h, &ms), 0u);
    EXPECT_EQ(ms, 60000u);
    EXPECT_EQ(vaxo_SetTcpHostName(h, "127.0.0.1"), 0u);
    EXPECT_EQ(vaxo_GetTcpHostName(h, collect, &text), 0u);
    EXPECT_EQ(text, "127.0.0.1");
    EXPECT_EQ(vaxo_SetTcpPort(h, 23), 0u);
    EXPECT_EQ(vaxo_GetTcpPort(h, &port), 0u);
    EXPECT_EQ(port, 23);

    // Commands on a closed link.
    double value = 0;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &value), 0x0100000015ull);
    EXPECT_EQ(vaxo_GetFirmwareVersionNumber(h, &value), 0x0100000015ull);
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_EQ(vaxo_DestroyContext(h), 0u);
}

TEST(Context, NullHandleAndNullPointers) {
    double d;
    uint16_t p;
    EXPECT_EQ(vaxo_DestroyContext(nullptr), 0x8100000004ull);
    EXPECT_FALSE(vaxo_IsConnected(nullptr));
    EXPECT_EQ(vaxo_GetConnectionType(nullptr), 0u);
    EXPECT_EQ(vaxo_GetApiVersion(nullptr, nullptr), 0x8100000004ull);
    EXPECT_EQ(vaxo_GetTcpPort(nullptr, &p), 0x8100000004ull);
    EXPECT_EQ(vaxo_GetVrValue(nullptr, 0, &d), 0x8100000004ull);
    const ::VersionInfo ok{1, 2, 1, 1196};
    VaxoHandle h = nullptr;
    ASSERT_EQ(vaxo_CreateContext(&ok, Events::cb, nullptr, &h), 0u);
    EXPECT_EQ(vaxo_GetApiVersion(h, nullptr), 0x010000000Cull);
    EXPECT_EQ(vaxo_GetApiVersionStr(h, nullptr, nullptr), 0x010000000Cull);
    EXPECT_EQ(vaxo_GetTcpPort(h, nullptr), 0x010000000Cull);
    EXPECT_EQ(vaxo_GetVrValue(h, 0, nullptr), 0x010000000Cull);
    EXPECT_EQ(vaxo_DestroyContext(h), 0u);
}

TEST(Factory, LoadsTheBuiltModuleByTypeAndDirectory) {
    for (std::string dir : {std::string(VAXO_BUILD_DIR), std::string(VAXO_BUILD_DIR) + "/"}) {
        IConnection* c = nullptr;
        std::vector<std::uint64_t> errors;
        ASSERT_EQ(ConnectionFactory::Create(ConnectionType::TCP, [&](EventType, std::uint64_t v, std::string_view) {
                      errors.push_back(v);
                  }, c, dir), Vaxo::Ubrix::Shared::ErrorCode::Success) << dir;
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(c->GetConnectionType(), ConnectionType::TCP);
        const auto before = ConnectionList::instance().size();
        EXPECT_EQ(ConnectionFactory::Destroy(c), Vaxo::Ubrix::Shared::ErrorCode::Success);
        EXPECT_EQ(c, nullptr);
        EXPECT_EQ(ConnectionList::instance().size(), before - 1);
        EXPECT_TRUE(errors.empty());
    }
}

TEST(Factory, RefusesUnknownTypesAndOccupiedOutput) {
    IConnection* c = nullptr;
    std::string logged;
    EXPECT_EQ(ConnectionFactory::Create(ConnectionType(3), [&](EventType, std::uint64_t, std::string_view t) {
                  logged.assign(t);
              }, c, ""), Vaxo::Ubrix::Shared::ErrorCode::ConnectionModule);
    EXPECT_NE(logged.find("libVaxo_Ubrix_UNKNOWN.so"), std::string::npos) << logged;
    EXPECT_EQ(c, nullptr);

    IConnection* occupied = reinterpret_cast<IConnection*>(0x10);
    EXPECT_EQ(ConnectionFactory::Create(ConnectionType::TCP, {}, occupied, VAXO_BUILD_DIR), Vaxo::Ubrix::Shared::ErrorCode::ConnectionContext);
    EXPECT_EQ(ConnectionList::instance().unregisterConnection(occupied), nullptr);
}

TEST(Factory, AllocMark) {
    std::uint64_t block[4] = {};
    void* after = _vua_alloc_mark(block, 24);
    EXPECT_EQ(block[0], 24u);
    EXPECT_EQ(after, &block[1]);
    EXPECT_EQ(_vua_alloc_mark(nullptr, 5), nullptr);
}

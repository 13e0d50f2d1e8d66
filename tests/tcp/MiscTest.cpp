// Scope, trigger, position switches, registration, frame groups and project keys end to end:
// exact request bytes with this run's token codes, arguments refused before any traffic, and
// the simulated controller's state and answers.
#include "SimFixture.h"

#include <functional>
#include <string>

#include "shared/protocol/KnownTokens.h"
#include "sim/MiscHandlers.h"

using namespace vaxotest;
using Vaxo::Ubrix::Shared::KnownTokens;

namespace {

constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kBufferTooSmall = 0x010000000Eull;
constexpr uint64_t kBadResponse = 0x810000000Bull;
constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr uint64_t kControllerOutOfRange = 0x0400000000ull | 19;

class Misc : public SimConnection {
public:
    void SetUp() override { open({.controllerType = 1664, .firmware = 2.0330}); }

    // One element of a request: a token name, a number, or a quoted text.
    struct El {
        enum { Tok, Num, Text } kind;
        std::string s;
        double v = 0;
    };
    static El T(std::string name) { return {El::Tok, std::move(name)}; }
    static El N(double v) { return {El::Num, {}, v}; }
    static El Q(std::string text) { return {El::Text, std::move(text)}; }

    // command ( items ) [ MODIFIER AXIS ( axis ) ] ZERO; items separated by COMMA unless the
    // item is RANGE or follows it.
    std::vector<uint8_t> req(std::string_view command, const std::vector<El>& items, int axis = -1) const {
        std::vector<uint8_t> out = tok(command);
        auto add = [&](const std::vector<uint8_t>& part) { out.insert(out.end(), part.begin(), part.end()); };
        if (!items.empty()) {
            add(tok("OPENBRACKETS"));
            for (std::size_t i = 0; i < items.size(); ++i) {
                const bool range = items[i].kind == El::Tok && items[i].s == "RANGE";
                const bool afterRange = i > 0 && items[i - 1].kind == El::Tok && items[i - 1].s == "RANGE";
                if (i > 0 && !range && !afterRange)
                    add(tok("COMMA"));
                if (items[i].kind == El::Tok)
                    add(tok(items[i].s));
                else if (items[i].kind == El::Num)
                    add(num(items[i].v));
                else {
                    add(tok("QUOTES"));
                    out.insert(out.end(), items[i].s.begin(), items[i].s.end());
                    add(tok("QUOTES"));
                }
            }
            add(tok("CLOSEBRACKETS"));
        }
        if (axis >= 0)
            add(cat(tok("MODIFIER"), tok("AXIS"), tok("OPENBRACKETS"), num(axis), tok("CLOSEBRACKETS")));
        add(tok("ZERO"));
        return out;
    }
};

struct WireCase {
    const char* name;
    std::function<uint64_t(VaxoHandle)> call;
    std::function<std::vector<uint8_t>(const Misc&)> expected;
};

} // namespace

TEST_F(Misc, ExactRequestBytesPerCommand) {
    const uint32_t vrs[] = {5, 6, 7, 8, 20, 21};
    const double pairs[] = {1, 2, 3.5, 4};
    const int32_t axes[] = {0, 1, 5};
    int32_t out[4];
    uint32_t count = 4, table = 0;
    auto names = [](void*, const char*, uint32_t) {};
    // Run in order: the controller keeps state (Use needs the stored name).
    const std::vector<WireCase> cases = {
        {"ScopeOn1", [](VaxoHandle h) { return vaxo_ScopeOn1(h); },
         [](const Misc& m) { return m.req("SCOPE", {N(1)}); }},
        {"ScopeOn2", [](VaxoHandle h) { return vaxo_ScopeOn2(h, 10); },
         [](const Misc& m) { return m.req("SCOPE", {N(1), N(10)}); }},
        {"ScopeOn6 runs of three or more", [&](VaxoHandle h) { return vaxo_ScopeOn6(h, 2, 100, 199, vrs, 6); },
         [](const Misc& m) { return m.req("SCOPE", {N(1), N(2), N(100), N(199), N(5), T("RANGE"), N(8), N(20), N(21)}); }},
        {"ScopeOff", [](VaxoHandle h) { return vaxo_ScopeOff(h); },
         [](const Misc& m) { return m.req("SCOPE", {N(0)}); }},
        {"Trigger", [](VaxoHandle h) { return vaxo_Trigger(h); },
         [](const Misc& m) { return m.req("TRIGGER", {}); }},
        {"PSwitch on axis 2", [](VaxoHandle h) { return vaxo_PSwitch(h, 3, 8, 1, 100.5, 200, 2); },
         [](const Misc& m) { return m.req("PSWITCH", {N(3), N(1), N(8), N(1), N(100.5), N(200)}, 2); }},
        {"PSwitch base axis", [](VaxoHandle h) { return vaxo_PSwitch(h, 3, 8, 0, 1, 2, -1); },
         [](const Misc& m) { return m.req("PSWITCH", {N(3), N(1), N(8), N(0), N(1), N(2)}); }},
        {"PSwitchMulti", [&](VaxoHandle h) { return vaxo_PSwitchMulti(h, 1, 9, 1, pairs, 4, 0); },
         [](const Misc& m) { return m.req("PSWITCH", {N(1), N(1), N(9), N(1), N(1), N(2), N(3.5), N(4)}, 0); }},
        {"PSwitchOff", [](VaxoHandle h) { return vaxo_PSwitchOff(h, 3); },
         [](const Misc& m) { return m.req("PSWITCH", {N(3), N(0)}); }},
        {"Regist3", [](VaxoHandle h) { return vaxo_Regist3(h, 2, 1); },
         [](const Misc& m) { return m.req("REGIST", {N(2)}, 1); }},
        {"Regist9 with window", [](VaxoHandle h) { return vaxo_Regist9(h, 1, 0, 2, 1, 1, 10.5, 20, 3); },
         [](const Misc& m) { return m.req("REGIST", {N(1), N(0), N(2), N(1), N(1), N(10.5), N(20)}, 3); }},
        {"Regist9 window 0 drops positions", [](VaxoHandle h) { return vaxo_Regist9(h, 1, 0, 2, 1, 0, 10.5, 20, 3); },
         [](const Misc& m) { return m.req("REGIST", {N(1), N(0), N(2), N(1), N(0)}, 3); }},
        {"Regist9 window -1 drops the flag", [](VaxoHandle h) { return vaxo_Regist9(h, 1, 0, 2, 1, -1, 10.5, 20, -1); },
         [](const Misc& m) { return m.req("REGIST", {N(1), N(0), N(2), N(1)}); }},
        {"SetFrameGroup", [&](VaxoHandle h) { return vaxo_SetFrameGroup(h, 2, 100, axes, 3); },
         [](const Misc& m) { return m.req("FRAME_GROUP", {N(2), N(100), N(0), N(1), N(5)}); }},
        {"GetFrameGroup", [&](VaxoHandle h) { return vaxo_GetFrameGroup(h, 2, &table, out, &count); },
         [](const Misc& m) { return m.req("FRAME_GROUP", {N(2)}); }},
        {"DeleteFrameGroup", [](VaxoHandle h) { return vaxo_DeleteFrameGroup(h, 2); },
         [](const Misc& m) { return m.req("FRAME_GROUP", {N(2), N(-1)}); }},
        {"ProjectKey", [](VaxoHandle h) { return vaxo_ProjectKey(h, "k3y"); },
         [](const Misc& m) { return m.req("PROJECT_KEY", {Q("k3y")}); }},
        {"ProjectKeyRegistryStore", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryStore(h, "line1", "secret"); },
         [](const Misc& m) { return m.req("PROJECT_KEY_REGISTRY", {N(2), Q("line1"), Q("secret")}); }},
        {"ProjectKeyRegistryUse", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryUse(h, "line1"); },
         [](const Misc& m) { return m.req("PROJECT_KEY_REGISTRY", {N(3), Q("line1")}); }},
        {"ProjectKeyRegistryList", [&](VaxoHandle h) { return vaxo_ProjectKeyRegistryList(h, names, nullptr); },
         [](const Misc& m) { return m.req("PROJECT_KEY_REGISTRY", {N(1)}); }},
        {"ProjectKeyRegistryClear", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryClear(h); },
         [](const Misc& m) { return m.req("PROJECT_KEY_REGISTRY", {N(0)}); }},
    };
    for (const auto& c : cases) {
        sim->clearRequests();
        ASSERT_EQ(c.call(h), 0u) << c.name;
        const auto reqs = sim->requests();
        ASSERT_EQ(reqs.size(), 1u) << c.name;
        const auto want = c.expected(*this);
        EXPECT_EQ(reqs[0].bytes, want) << c.name << ": " << reqs[0].str();
        EXPECT_EQ(reqs[0].raw, escaped(want)) << c.name;
        EXPECT_EQ(reqs[0].status, 0) << c.name;
    }
}

TEST_F(Misc, ScopeOnAxisParameterNamesTheParameterAndCapturesOnTrigger) {
    const uint32_t axes[] = {0, 1, 2};
    ASSERT_EQ(vaxo_ScopeOn7(h, 4, 10, 15, uint32_t(KnownTokens::MPOS), axes, 3), 0u);
    auto reqs = sim->requests();
    ASSERT_EQ(reqs.size(), 1u);
    EXPECT_EQ(reqs[0].str(), "SCOPE OPENBRACKETS 1 COMMA 4 COMMA 10 COMMA 15 COMMA MPOS COMMA 0 RANGE 2 CLOSEBRACKETS");
    const auto head = req("SCOPE", {N(1), N(4), N(10), N(15)});
    EXPECT_TRUE(std::equal(head.begin(), head.end() - tok("CLOSEBRACKETS").size() - tok("ZERO").size(),
                           reqs[0].bytes.begin()));
    const auto tail = cat(tok("COMMA"), num(0), tok("RANGE"), num(2), tok("CLOSEBRACKETS"), tok("ZERO"));
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), reqs[0].bytes.rbegin()));

    sim->setParameter("MPOS", "AXIS", 1, 12.5);
    ASSERT_EQ(vaxo_Trigger(h), 0u);
    const auto state = Vaxo::Sim::miscSnapshot(*sim);
    EXPECT_TRUE(state.scope.armed);
    EXPECT_EQ(state.scope.parameter, "MPOS");
    EXPECT_EQ(state.scope.triggers, 1u);
    EXPECT_EQ(sim->table(11), 12.5) << "sample 0, axis 1";
    EXPECT_EQ(sim->table(14), 12.5) << "sample 1, axis 1";
}

TEST_F(Misc, ScopeOnVrCapturesIntoTable) {
    const uint32_t vrs[] = {3, 9};
    sim->setVr(3, 1.5);
    sim->setVr(9, -2);
    ASSERT_EQ(vaxo_ScopeOn6(h, 1, 200, 203, vrs, 2), 0u);
    ASSERT_EQ(vaxo_Trigger(h), 0u);
    EXPECT_EQ(sim->table(200), 1.5);
    EXPECT_EQ(sim->table(201), -2);
    EXPECT_EQ(sim->table(202), 1.5);
    EXPECT_EQ(sim->table(203), -2);
    ASSERT_EQ(vaxo_ScopeOff(h), 0u);
    EXPECT_FALSE(Vaxo::Sim::miscSnapshot(*sim).scope.armed);
}

TEST_F(Misc, BadArgumentsAreRefusedWithoutTraffic) {
    const uint32_t list[] = {1, 2};
    const double odd[] = {1, 2, 3};
    const int32_t negative[] = {0, -1};
    const std::string quotes(1, char(sim->codeOf("QUOTES")));
    const std::string withQuotes = "a" + quotes + "b";
    const std::vector<std::pair<const char*, std::function<uint64_t()>>> cases = {
        {"ScopeOn2 negative period", [&] { return vaxo_ScopeOn2(h, -1); }},
        {"ScopeOn2 period 0", [&] { return vaxo_ScopeOn2(h, 0); }},
        {"ScopeOn6 period 0", [&] { return vaxo_ScopeOn6(h, 0, 0, 9, list, 2); }},
        {"ScopeOn6 end before start", [&] { return vaxo_ScopeOn6(h, 1, 9, 8, list, 2); }},
        {"ScopeOn6 no channels", [&] { return vaxo_ScopeOn6(h, 1, 0, 9, list, 0); }},
        {"ScopeOn7 not a parameter", [&] { return vaxo_ScopeOn7(h, 1, 0, 9, uint32_t(KnownTokens::SCOPE), list, 2); }},
        {"ScopeOn7 beyond the known list", [&] { return vaxo_ScopeOn7(h, 1, 0, 9, 100000, list, 2); }},
        {"PSwitchMulti odd count", [&] { return vaxo_PSwitchMulti(h, 0, 1, 1, odd, 3, -1); }},
        {"PSwitchOff negative switch", [&] { return vaxo_PSwitchOff(h, -1); }},
        {"SetFrameGroup no axes", [&] { return vaxo_SetFrameGroup(h, 0, 0, negative, 0); }},
        {"SetFrameGroup negative axis", [&] { return vaxo_SetFrameGroup(h, 0, 0, negative, 2); }},
        {"ProjectKey holding QUOTES", [&] { return vaxo_ProjectKey(h, withQuotes.c_str()); }},
        {"Store name holding QUOTES", [&] { return vaxo_ProjectKeyRegistryStore(h, withQuotes.c_str(), "k"); }},
    };
    for (const auto& [name, call] : cases) {
        EXPECT_EQ(call(), kBadArgument) << name;
        EXPECT_TRUE(sim->requests().empty()) << name;
    }
    EXPECT_TRUE(vaxo_IsConnected(h));
    ASSERT_EQ(vaxo_Trigger(h), 0u) << "the link is in step after the refusals";
}

TEST_F(Misc, FrameGroupRoundTrip) {
    const int32_t axes[] = {4, 0, 12};
    ASSERT_EQ(vaxo_SetFrameGroup(h, 3, 250, axes, 3), 0u);
    EXPECT_EQ(Vaxo::Sim::miscSnapshot(*sim).frameGroups.at(3).axes, (std::vector<int>{4, 0, 12}));

    int32_t out[8] = {};
    uint32_t count = 8, table = 0;
    ASSERT_EQ(vaxo_GetFrameGroup(h, 3, &table, out, &count), 0u);
    EXPECT_EQ(table, 250u);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::vector<int32_t>(out, out + 3), (std::vector<int32_t>{4, 0, 12}));

    // Too small an array: BufferTooSmall, and the rest of the line does not reach the next reply.
    count = 2;
    EXPECT_EQ(vaxo_GetFrameGroup(h, 3, &table, out, &count), kBufferTooSmall);
    VaxoFrameGroup frame{3, 0, nullptr, 0, 0};
    ASSERT_EQ(vaxo_GetFrameGroup2(h, &frame), 0u) << "null axes counts them";
    EXPECT_EQ(frame.count, 3u);
    EXPECT_EQ(frame.tableIndex, 250u);
    int32_t two[2];
    frame = {3, 0, two, 2, 0};
    EXPECT_EQ(vaxo_GetFrameGroup2(h, &frame), kBufferTooSmall);

    // A group that is not defined lists no axes; one out of range is the controller's error.
    ASSERT_EQ(vaxo_DeleteFrameGroup(h, 3), 0u);
    count = 8;
    ASSERT_EQ(vaxo_GetFrameGroup(h, 3, &table, out, &count), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(vaxo_GetFrameGroup(h, 9, &table, out, &count), kControllerOutOfRange);
    EXPECT_EQ(vaxo_SetFrameGroup(h, 1, 0, axes, 3), 0u) << "the link is in step after the refusal";

    // A reply for another group is out of step.
    Vaxo::Sim::setFrameGroupReply(*sim, "2 [1]: 4\r\n");
    count = 8;
    EXPECT_EQ(vaxo_GetFrameGroup(h, 1, &table, out, &count), kBadResponse);
}

TEST_F(Misc, ProjectKeyRegistryListsStoredNames) {
    ASSERT_EQ(vaxo_ProjectKeyRegistryStore(h, "alpha", "k1"), 0u);
    ASSERT_EQ(vaxo_ProjectKeyRegistryStore(h, "beta", "k2"), 0u);
    std::string listed;
    auto cb = [](void* user, const char* text, uint32_t length) {
        static_cast<std::string*>(user)->append(text, length);
    };
    ASSERT_EQ(vaxo_ProjectKeyRegistryList(h, cb, &listed), 0u);
    EXPECT_EQ(listed, "alpha\r\nbeta\r\n");
    EXPECT_EQ(vaxo_ProjectKeyRegistryUse(h, "gamma"), 0x0400000000ull | 64) << "unknown name";
    ASSERT_EQ(vaxo_ProjectKeyRegistryUse(h, "beta"), 0u);
    ASSERT_EQ(vaxo_ProjectKey(h, ""), 0u);
    auto state = Vaxo::Sim::miscSnapshot(*sim);
    EXPECT_EQ(state.activeKeyName, "beta");
    EXPECT_EQ(state.keyRegistry.at("alpha"), "k1");
    ASSERT_EQ(vaxo_ProjectKeyRegistryClear(h), 0u);
    listed.clear();
    ASSERT_EQ(vaxo_ProjectKeyRegistryList(h, cb, &listed), 0u);
    EXPECT_EQ(listed, "");
}

TEST_F(Misc, RefusedWhenDisconnected) {
    ASSERT_EQ(vaxo_CloseConnection(h), 0u);
    int32_t out[1];
    uint32_t count = 1, table = 0;
    EXPECT_EQ(vaxo_Trigger(h), kDisconnected);
    EXPECT_EQ(vaxo_GetFrameGroup(h, 0, &table, out, &count), kDisconnected);
    EXPECT_EQ(vaxo_ProjectKeyRegistryClear(h), kDisconnected);
}

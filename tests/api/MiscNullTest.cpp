// Every flat function of the scope, trigger, position-switch, registration, frame-group and
// project-key family refuses a null handle, and a null pointer it needs, before anything
// reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

void text(void*, const char*, uint32_t) {}

TEST(MiscNull, HandleAndPointers) {
    const uint32_t list[] = {1, 2};
    const double pos[] = {1, 2};
    int32_t axes[2] = {0, 1};
    uint32_t u = 2;
    VaxoFrameGroup frame{0, 0, axes, 2, 0};
    const std::vector<NullCase> cases = {
        {"ScopeOn1", [](VaxoHandle h) { return vaxo_ScopeOn1(h); }, {}},
        {"ScopeOn2", [](VaxoHandle h) { return vaxo_ScopeOn2(h, 1); }, {}},
        {"ScopeOn6", [&](VaxoHandle h) { return vaxo_ScopeOn6(h, 1, 0, 9, list, 2); },
         {[](VaxoHandle h) { return vaxo_ScopeOn6(h, 1, 0, 9, nullptr, 2); }}},
        {"ScopeOn7", [&](VaxoHandle h) { return vaxo_ScopeOn7(h, 1, 0, 9, 0, list, 2); },
         {[](VaxoHandle h) { return vaxo_ScopeOn7(h, 1, 0, 9, 0, nullptr, 2); }}},
        {"ScopeOff", [](VaxoHandle h) { return vaxo_ScopeOff(h); }, {}},
        {"Trigger", [](VaxoHandle h) { return vaxo_Trigger(h); }, {}},
        {"PSwitch", [](VaxoHandle h) { return vaxo_PSwitch(h, 0, 1, 1, 0, 1, -1); }, {}},
        {"PSwitchMulti", [&](VaxoHandle h) { return vaxo_PSwitchMulti(h, 0, 1, 1, pos, 2, -1); },
         {[](VaxoHandle h) { return vaxo_PSwitchMulti(h, 0, 1, 1, nullptr, 2, -1); }}},
        {"PSwitchOff", [](VaxoHandle h) { return vaxo_PSwitchOff(h, 0); }, {}},
        {"Regist3", [](VaxoHandle h) { return vaxo_Regist3(h, 1, 0); }, {}},
        {"Regist9", [](VaxoHandle h) { return vaxo_Regist9(h, 1, 0, 0, 0, 0, 0, 0, 0); }, {}},
        {"SetFrameGroup", [&](VaxoHandle h) { return vaxo_SetFrameGroup(h, 0, 0, axes, 2); },
         {[](VaxoHandle h) { return vaxo_SetFrameGroup(h, 0, 0, nullptr, 2); }}},
        {"DeleteFrameGroup", [](VaxoHandle h) { return vaxo_DeleteFrameGroup(h, 0); }, {}},
        {"GetFrameGroup", [&](VaxoHandle h) { return vaxo_GetFrameGroup(h, 0, &u, axes, &u); },
         {[&](VaxoHandle h) { return vaxo_GetFrameGroup(h, 0, nullptr, axes, &u); },
          [&](VaxoHandle h) { return vaxo_GetFrameGroup(h, 0, &u, nullptr, &u); },
          [&](VaxoHandle h) { return vaxo_GetFrameGroup(h, 0, &u, axes, nullptr); }}},
        {"GetFrameGroup2", [&](VaxoHandle h) { return vaxo_GetFrameGroup2(h, &frame); },
         {[](VaxoHandle h) { return vaxo_GetFrameGroup2(h, nullptr); }}},
        {"ProjectKey", [](VaxoHandle h) { return vaxo_ProjectKey(h, "k"); },
         {[](VaxoHandle h) { return vaxo_ProjectKey(h, nullptr); }}},
        {"ProjectKeyRegistryClear", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryClear(h); }, {}},
        {"ProjectKeyRegistryList", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryList(h, text, nullptr); },
         {[](VaxoHandle h) { return vaxo_ProjectKeyRegistryList(h, nullptr, nullptr); }}},
        {"ProjectKeyRegistryStore", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryStore(h, "n", "k"); },
         {[](VaxoHandle h) { return vaxo_ProjectKeyRegistryStore(h, nullptr, "k"); },
          [](VaxoHandle h) { return vaxo_ProjectKeyRegistryStore(h, "n", nullptr); }}},
        {"ProjectKeyRegistryUse", [](VaxoHandle h) { return vaxo_ProjectKeyRegistryUse(h, "n"); },
         {[](VaxoHandle h) { return vaxo_ProjectKeyRegistryUse(h, nullptr); }}},
    };
    expectNullRefusals(cases, 20u);
}

} // namespace

// Every flat function of digital and analogue I/O refuses a null handle, and a null result
// pointer, before anything reaches the connection.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include <vaxo/vaxo.h>

namespace {

constexpr uint64_t kConnectionContext = 0x8100000004ull;
constexpr uint64_t kBadArgument = 0x010000000Cull;

struct NullCase {
    const char* name;
    std::function<uint64_t(VaxoHandle)> call;  // every pointer valid
    std::vector<std::function<uint64_t(VaxoHandle)>> nullPointer;  // one pointer null each
};

// A handle that is never dereferenced: the pointer checks come first.
VaxoHandle fakeHandle() { return reinterpret_cast<VaxoHandle>(static_cast<uintptr_t>(0x10)); }

TEST(IONull, HandleAndResultPointers) {
    bool b;
    uint32_t u;
    int32_t i;
    const std::vector<NullCase> cases = {
        {"GetDIn3", [&](VaxoHandle h) { return vaxo_GetDIn3(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetDIn3(h, 0, nullptr); }}},
        {"GetDIn4", [&](VaxoHandle h) { return vaxo_GetDIn4(h, 0, 1, &u); }, {[](VaxoHandle h) { return vaxo_GetDIn4(h, 0, 1, nullptr); }}},
        {"GetDIn32", [&](VaxoHandle h) { return vaxo_GetDIn32(h, &u); }, {[](VaxoHandle h) { return vaxo_GetDIn32(h, nullptr); }}},
        {"GetDOut3", [&](VaxoHandle h) { return vaxo_GetDOut3(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetDOut3(h, 0, nullptr); }}},
        {"GetDOut4", [&](VaxoHandle h) { return vaxo_GetDOut4(h, 0, 1, &u); }, {[](VaxoHandle h) { return vaxo_GetDOut4(h, 0, 1, nullptr); }}},
        {"GetDOut32", [&](VaxoHandle h) { return vaxo_GetDOut32(h, &u); }, {[](VaxoHandle h) { return vaxo_GetDOut32(h, nullptr); }}},
        {"SetDOut3", [](VaxoHandle h) { return vaxo_SetDOut3(h, 0, true); }, {}},
        {"SetDOut4", [](VaxoHandle h) { return vaxo_SetDOut4(h, 0, 1, 3); }, {}},
        {"SetDOut32", [](VaxoHandle h) { return vaxo_SetDOut32(h, 1); }, {}},
        {"GetAIn", [&](VaxoHandle h) { return vaxo_GetAIn(h, 0, &i); }, {[](VaxoHandle h) { return vaxo_GetAIn(h, 0, nullptr); }}},
        {"GetAOut", [&](VaxoHandle h) { return vaxo_GetAOut(h, 0, &i); }, {[](VaxoHandle h) { return vaxo_GetAOut(h, 0, nullptr); }}},
        {"SetAOut", [](VaxoHandle h) { return vaxo_SetAOut(h, 0, 1); }, {}},
        {"GetInvertIN", [&](VaxoHandle h) { return vaxo_GetInvertIN(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetInvertIN(h, 0, nullptr); }}},
        {"SetInvertIN", [](VaxoHandle h) { return vaxo_SetInvertIN(h, 0, true); }, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.call(nullptr), kConnectionContext) << c.name;
        for (const auto& n : c.nullPointer) {
            EXPECT_EQ(n(nullptr), kConnectionContext) << c.name << ": the handle is checked first";
            EXPECT_EQ(n(fakeHandle()), kBadArgument) << c.name;
        }
    }
}

} // namespace

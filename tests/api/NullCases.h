// The shape the null-argument tests of the flat families share: one row per flat function, with
// a call whose pointers are all valid and one call per required pointer left null. A null
// handle gives ConnectionContext, also when a pointer is null too (the handle is checked
// first); a null pointer beside a handle gives BadArgument before the handle is ever used.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <vaxo/vaxo.h>

namespace vaxotest {

constexpr uint64_t kConnectionContext = 0x8100000004ull;
constexpr uint64_t kBadArgument = 0x010000000Cull;

using Call = std::function<uint64_t(VaxoHandle)>;
struct NullCase {
    std::string name;
    Call call;                      // every pointer valid
    std::vector<Call> nullPointer;  // one pointer null each
};

// A handle that is never dereferenced: the pointer checks come first.
inline VaxoHandle fakeHandle() { return reinterpret_cast<VaxoHandle>(static_cast<uintptr_t>(0x10)); }

// With a real handle, whenValid (when given) is what the call with every pointer valid must
// give, e.g. Disconnected from a context that was never opened.
inline void expectNullRefusals(const std::vector<NullCase>& cases, VaxoHandle h = fakeHandle(),
                               std::optional<uint64_t> whenValid = std::nullopt) {
    for (const NullCase& c : cases) {
        EXPECT_EQ(c.call(nullptr), kConnectionContext) << c.name;
        if (whenValid) {
            EXPECT_EQ(c.call(h), *whenValid) << c.name << ": all pointers given reach the connection";
        }
        for (const Call& n : c.nullPointer) {
            EXPECT_EQ(n(nullptr), kConnectionContext) << c.name << ": the handle is checked first";
            EXPECT_EQ(n(h), kBadArgument) << c.name;
        }
    }
}

// The same, after checking that the table has one row per flat function of the family.
inline void expectNullRefusals(const std::vector<NullCase>& cases, std::size_t functions) {
    ASSERT_EQ(cases.size(), functions) << "one row per flat function of the family";
    expectNullRefusals(cases);
}

} // namespace vaxotest

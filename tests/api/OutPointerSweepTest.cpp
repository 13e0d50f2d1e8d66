// Every flat function, taken from the same list the header and the export test are built from,
// is called on a live connection once per pointer argument with that one pointer null and all
// others valid. A null out-pointer or result callback must give BadArgument; a null input of any
// other kind may give any code but must not crash. A forward added to the list without its
// checks fails here.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <vaxo/vaxo.h>

#include "tcp/SimFixture.h"

namespace {

constexpr uint64_t kBadArgument = 0x010000000Cull;

// Pointers that may be null by contract (function#argument): a context's event callback is the
// host's business and is never checked, and RapidStop's mode is optional (null: no mode).
// User pointers (void*) are handed back untouched and are never checked either.
const std::set<std::string> kMayBeNull = {"CreateContext#1", "RapidStop#1"};

template <class R, class... A>
R noop(A...) {
    if constexpr (!std::is_void_v<R>)
        return R{};
}
template <class R, class... A>
constexpr auto noopFor(R (*)(A...)) {
    return &noop<R, A...>;
}

// Zeroed memory for one argument: an empty text, a count of zero, room for a few values.
struct Arena {
    alignas(16) unsigned char bytes[4096];
    const void* pointers[64];
};

enum class Kind { Plain, Out, Callback, InputText, Input, User };

template <class T>
constexpr Kind kindOf() {
    if constexpr (!std::is_pointer_v<T>) {
        return Kind::Plain;
    } else {
        using P = std::remove_pointer_t<T>;
        if constexpr (std::is_function_v<P>)
            return Kind::Callback;
        else if constexpr (std::is_void_v<P>)
            return std::is_const_v<P> ? Kind::Input : Kind::User;
        else if constexpr (std::is_same_v<P, const char>)
            return Kind::InputText;
        else if constexpr (std::is_const_v<P>)
            return Kind::Input;
        else
            return Kind::Out;
    }
}

template <class T>
T argument(Arena& arena, VaxoHandle live) {
    if constexpr (std::is_same_v<T, VaxoHandle>) {
        return live;
    } else if constexpr (std::is_pointer_v<T>) {
        using P = std::remove_pointer_t<T>;
        if constexpr (std::is_function_v<P>) {
            return noopFor(static_cast<T>(nullptr));
        } else if constexpr (std::is_pointer_v<std::remove_cv_t<P>>) {
            // A list of texts: every entry an empty text.
            for (auto& p : arena.pointers)
                p = arena.bytes;
            return reinterpret_cast<T>(static_cast<void*>(arena.pointers));
        } else {
            return reinterpret_cast<T>(arena.bytes);
        }
    } else if constexpr (std::is_arithmetic_v<T>) {
        return T(1);
    } else {
        return T{};
    }
}

struct Finding {
    std::string where;
    Kind kind;
    bool isErrorCode;
    uint64_t result;
};

template <class R, class... A, std::size_t... I>
void sweepOne(const std::string& name, R (*fn)(A...), VaxoHandle live, std::vector<Finding>& out,
              std::index_sequence<I...>) {
    constexpr Kind kinds[] = {kindOf<A>()...};
    for (std::size_t nulled = 0; nulled < sizeof...(A); ++nulled) {
        if (kinds[nulled] == Kind::Plain)
            continue;
        using Args = std::tuple<A...>;
        if (nulled == 0 && std::is_same_v<std::tuple_element_t<0, Args>, VaxoHandle>)
            continue; // the handle: checked first, by the per-family tests
        static Arena arenas[sizeof...(A)];
        for (auto& a : arenas)
            std::memset(&a, 0, sizeof a);
        auto pick = [&](auto index, auto* type) {
            using T = std::remove_pointer_t<decltype(type)>;
            if (index == nulled) {
                if constexpr (std::is_pointer_v<T>)
                    return T(nullptr);
            }
            return argument<T>(arenas[index], live);
        };
        const std::string where = name + "#" + std::to_string(nulled);
        if constexpr (std::is_same_v<R, uint64_t>) {
            const uint64_t r = fn(pick(I, static_cast<A*>(nullptr))...);
            out.push_back({where, kinds[nulled], true, r});
            if constexpr (sizeof...(A) == 4) {
                if (where == "CreateContext#1" && r == 0) // a context was made after all: free it
                    vaxo_DestroyContext(*reinterpret_cast<VaxoHandle*>(arenas[3].bytes));
            }
        } else {
            fn(pick(I, static_cast<A*>(nullptr))...);
            out.push_back({where, kinds[nulled], false, 0});
        }
    }
}

template <class R, class... A>
void sweep(const std::string& name, R (*fn)(A...), VaxoHandle live, std::vector<Finding>& out) {
    sweepOne(name, fn, live, out, std::index_sequence_for<A...>{});
}

class OutPointerSweep : public vaxotest::SimConnection {};

TEST_F(OutPointerSweep, EveryNullOutPointerAndResultCallbackIsRefused) {
    open({}, 2000);
    std::vector<Finding> found;
    std::size_t functions = 0;
#define VAXO_FLAT(name) ++functions, sweep(#name, &vaxo_##name, h, found);
#include "api/flat_functions.def"
#undef VAXO_FLAT
#define VAXO_PARAM(kind, name, access) VAXO_SWEEP_GET(kind, name) VAXO_SWEEP_SET_##access(kind, name)
#define VAXO_SWEEP_GET(kind, name) ++functions, sweep("Get" #kind "Parameter_" #name, &vaxo_Get##kind##Parameter_##name, h, found);
#define VAXO_SWEEP_SET_RW(kind, name) ++functions, sweep("Set" #kind "Parameter_" #name, &vaxo_Set##kind##Parameter_##name, h, found);
#define VAXO_SWEEP_SET_RO(kind, name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
#undef VAXO_SWEEP_GET
#undef VAXO_SWEEP_SET_RW
#undef VAXO_SWEEP_SET_RO
    ASSERT_EQ(functions, 794u);

    std::map<Kind, std::size_t> counts;
    for (const Finding& f : found) {
        ++counts[f.kind];
        const bool mustRefuse = (f.kind == Kind::Out || f.kind == Kind::Callback) && !kMayBeNull.count(f.where);
        if (mustRefuse && f.isErrorCode) {
            EXPECT_EQ(f.result, kBadArgument) << f.where;
        }
    }
    // The sweep really walked the interface: every out-pointer and result callback of it.
    EXPECT_EQ(counts[Kind::Out] + counts[Kind::Callback], 445u) << "out-pointers and callbacks swept";
    EXPECT_TRUE(vaxo_IsConnected(h)) << "no null argument broke the link";
    double v = 0;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u) << "the link is still in step";
}

} // namespace

// Every operation of the class interface, called on a link that is not open and from the
// reader thread, with arguments that are wrong in every way the operation could notice: the
// link's state is answered before any argument is looked at.
#include "SimFixture.h"

#include "sim/ProgramStore.h"

#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>

#include <vaxo/IConnection.hpp>

using namespace vaxotest;

// Inside the library's namespace, so that the operation lists name their types as the
// interface does.
namespace Vaxo::Ubrix::Shared::checks_test {

using Code = Vaxo::Ubrix::Shared::ErrorCode;

// The kinds of wrong argument: all zero, null and empty; every number at its far end, null
// pointers with counts that promise data, texts longer than any request can carry.
enum class Args { Empty, Extreme };

template <class T>
T argument(Args kind) {
    if constexpr (std::is_same_v<T, bool>)
        return kind == Args::Extreme;
    else if constexpr (std::is_floating_point_v<T>)
        return kind == Args::Extreme ? -std::numeric_limits<T>::max() : T{};
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return kind == Args::Extreme ? T(-1) : T{};
    else if constexpr (std::is_integral_v<T>)
        return kind == Args::Extreme ? std::numeric_limits<T>::max() : T{};
    else if constexpr (std::is_same_v<T, std::string_view>) {
        static const std::string longText(5000, 'A');
        return kind == Args::Extreme ? std::string_view(longText) : std::string_view();
    } else if constexpr (std::is_same_v<T, Vaxo::Ubrix::Shared::Range>)
        return kind == Args::Extreme ? T{0xFFFFFFFFu, 0xFFFFFFFFu} : T{};
    else
        return T{}; // pointers stay null, callables empty, records zero
}

template <class Face, class... A>
uint64_t callWith(IConnection& c, Code (Face::*op)(A...), [[maybe_unused]] Args kind) {
    std::tuple<std::remove_cvref_t<A>...> args{argument<std::remove_cvref_t<A>>(kind)...};
    return uint64_t(std::apply([&](auto&... a) { return (c.*op)(a...); }, args));
}

struct Op {
    const char* name;
    std::function<uint64_t(IConnection&, Args)> call;
};

// One row per operation of the class interface, from the same lists the interface is built from.
std::vector<Op> everyOperation() {
    std::vector<Op> ops;
#define VAXO_OP(name, params)                                                                                \
    ops.push_back({#name #params, [](IConnection& c, Args k) {                                                \
                       return callWith(c, static_cast<Code(IConnection::*) params>(&IConnection::name), k); \
                   }});
#include <vaxo/ops/All.def>
#undef VAXO_OP
    ops.push_back({"Ex", [](IConnection& c, Args k) { return callWith(c, &IConnection::Ex, k); }});
#define VAXO_PARAM(kind, name, access) VAXO_PARAM_##kind##_##access(name)
#define VAXO_ROW(prefix, name, ...)                                                                          \
    ops.push_back({#prefix #name, [](IConnection& c, Args k) { return callWith(c, &IConnection::prefix##name, k); }});
#define VAXO_PARAM_Axis_RO(name) VAXO_ROW(GetAxisParameter_, name)
#define VAXO_PARAM_Axis_RW(name) VAXO_PARAM_Axis_RO(name) VAXO_ROW(SetAxisParameter_, name)
#define VAXO_PARAM_System_RO(name) VAXO_ROW(GetSystemParameter_, name)
#define VAXO_PARAM_System_RW(name) VAXO_PARAM_System_RO(name) VAXO_ROW(SetSystemParameter_, name)
#define VAXO_PARAM_Process_RO(name) VAXO_ROW(GetProcessParameter_, name)
#define VAXO_PARAM_Process_RW(name) VAXO_PARAM_Process_RO(name) VAXO_ROW(SetProcessParameter_, name)
#define VAXO_PARAM_Slot_RO(name) VAXO_ROW(GetSlotParameter_, name)
#define VAXO_PARAM_Slot_RW(name) VAXO_PARAM_Slot_RO(name) VAXO_ROW(SetSlotParameter_, name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
#undef VAXO_ROW
#undef VAXO_PARAM_Axis_RO
#undef VAXO_PARAM_Axis_RW
#undef VAXO_PARAM_System_RO
#undef VAXO_PARAM_System_RW
#undef VAXO_PARAM_Process_RO
#undef VAXO_PARAM_Process_RW
#undef VAXO_PARAM_Slot_RO
#undef VAXO_PARAM_Slot_RW
    return ops;
}

} // namespace Vaxo::Ubrix::Shared::checks_test

namespace {

using namespace Vaxo::Ubrix::Shared::checks_test;
using Vaxo::Ubrix::Shared::IConnection;

constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr uint64_t kNotSupported = 0x0100000002ull;

// Operations that never talk to the controller: settings kept for the next transfer, a local
// file's CRC, and values read from the local mirror of a parameter block.
bool local(std::string_view name) {
    for (std::string_view l : {"GetLocalFileCRC", "SetFileTransferPort", "GetFileTransferPort", "ParamBlockGetProg"})
        if (name.substr(0, l.size()) == l)
            return true;
    return false;
}

class OrderOfChecks : public SimConnection {
protected:
    IConnection& conn() { return *reinterpret_cast<IConnection*>(h); }
};

} // namespace

TEST_F(OrderOfChecks, ClosedLinkAnswersDisconnectedWhateverTheArguments) {
    startSim({});
    makeContext();
    auto ops = everyOperation();
    ASSERT_GT(ops.size(), 700u) << "the lists expand to every operation";
    for (int pass = 0; pass < 2; ++pass) { // never opened, then opened and closed again
        for (Args kind : {Args::Empty, Args::Extreme}) {
            for (const auto& op : ops) {
                if (local(op.name))
                    continue;
                EXPECT_EQ(op.call(conn(), kind), kDisconnected)
                    << op.name << (kind == Args::Empty ? " with empty arguments" : " with extreme arguments")
                    << (pass ? " after a close" : " before any open");
            }
        }
        if (pass == 0) {
            ASSERT_EQ(vaxo_OpenConnection(h), 0u);
            ASSERT_EQ(vaxo_CloseConnection(h), 0u);
            sim->clearRequests();
        }
    }
    EXPECT_TRUE(sim->requests().empty()) << "nothing was sent on a closed link";
}

TEST_F(OrderOfChecks, ReaderThreadAnswersNotSupportedWhateverTheArguments) {
    open({});
    Vaxo::Sim::putProgram(*sim, "MAIN", "VR(1)=1\r\n");
    const auto ops = everyOperation();
    int entries = 0;
    ASSERT_EQ(uint64_t(conn().Dir([&](const Vaxo::Ubrix::Shared::FileInfo&, std::string_view) {
                  ++entries;
                  for (Args kind : {Args::Empty, Args::Extreme}) {
                      for (const auto& op : ops) {
                          if (local(op.name))
                              continue;
                          EXPECT_EQ(op.call(conn(), kind), kNotSupported)
                              << op.name
                              << (kind == Args::Empty ? " with empty arguments" : " with extreme arguments");
                      }
                  }
              })),
              0u);
    EXPECT_EQ(entries, 1);
    double v = 0;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u) << "the link is still in step";
}

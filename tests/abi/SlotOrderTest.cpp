// The order of the class interface's virtual table. A module built apart from this library
// against the installed IConnection.hpp, and a host calling such a module, both index this
// table; a reordered declaration silently calls the wrong operation. Under the Itanium C++ ABI
// a pointer to a virtual member function holds 1 + the byte offset of its slot, and the offset
// of the sub-object whose table holds it, so the slots are read from the compiled types.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include <vaxo/IConnection.hpp>

#include "tcp/connection/Connection_TCP.h"

namespace {

using Vaxo::Ubrix::Shared::IConnection;
using Vaxo::Ubrix::TCP::Connection_TCP;

struct Slot {
    std::ptrdiff_t index = -1;  // slot number in the table, -1 for a non-virtual function
    std::ptrdiff_t adjust = 0;  // byte offset of the sub-object whose table it is
    bool operator==(const Slot&) const = default;
};

template <class Pmf>
Slot slotOf(Pmf pmf) {
    static_assert(sizeof(Pmf) == 2 * sizeof(std::ptrdiff_t));
    std::ptrdiff_t raw[2];
    std::memcpy(raw, &pmf, sizeof raw);
    if ((raw[0] & 1) == 0)
        return {-1, raw[1]};
    return {(raw[0] - 1) / std::ptrdiff_t(sizeof(void*)), raw[1]};
}

// The slot of an operation declared in a base B, as seen through C (the sub-object offset says
// whose table holds it).
template <class C, class R, class B, class... A>
Slot slotIn(R (B::*pmf)(A...)) {
    return slotOf(static_cast<R (C::*)(A...)>(pmf));
}

template <class C>
std::size_t axisAccessorCount() {
    std::size_t n = 0;
#define VAXO_PARAM(kind, name, access) n += std::string(#kind) == "Axis" ? (std::string(#access) == "RW" ? 2 : 1) : 0;
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
    return n;
}

// The connection-management group, in its order, right after the axis accessors.
template <class C>
std::vector<std::pair<const char*, Slot>> managementGroup() {
    return {
        {"IsConnected", slotOf(&C::IsConnected)},
        {"GetConnectionType", slotOf(&C::GetConnectionType)},
        {"GetApiVersion", slotOf(&C::GetApiVersion)},
        {"GetApiVersionStr", slotOf(&C::GetApiVersionStr)},
        {"GetFirmwareVersionNumber", slotOf(&C::GetFirmwareVersionNumber)},
        {"OpenConnection", slotOf(&C::OpenConnection)},
        {"CloseConnection", slotOf(&C::CloseConnection)},
        {"Ex", slotOf(&C::Ex)},
        {"Cancel", slotOf(&C::Cancel)},
        {"Connect", slotOf(&C::Connect)},
    };
}

template <class C>
void expectManagementGroupAfterAxisAccessors() {
    const std::ptrdiff_t first = std::ptrdiff_t(axisAccessorCount<C>());
    ASSERT_EQ(first, 361);
    EXPECT_EQ(slotOf(&C::GetAxisParameter_ACCEL), (Slot{0, 0}));
    EXPECT_EQ(slotOf(&C::SetAxisParameter_ACCEL), (Slot{1, 0}));
    std::ptrdiff_t expected = first;
    for (const auto& [name, slot] : managementGroup<C>())
        EXPECT_EQ(slot, (Slot{expected++, 0})) << name;
}

} // namespace

// What a host or a foreign module sees through the installed header alone.
TEST(SlotOrder, InstalledInterfaceKeepsManagementGroupAndLifetimeOrder) {
    expectManagementGroupAfterAxisAccessors<IConnection>();

    // The command operations follow Connect; DeleteMe and ReportFatal close the primary table,
    // with only the two destructor entries after them.
    const Slot deleteMe = slotOf(&IConnection::DeleteMe);
    EXPECT_EQ(slotOf(&IConnection::ReportFatal), (Slot{deleteMe.index + 1, 0}));
    EXPECT_GT(deleteMe.index, slotOf(&IConnection::Connect).index + 1);

    // The sniffers and the TCP settings stand together in the table of the link settings,
    // write sniffer first; none of them sits among the operations before the destructors.
    const char* names[] = {"setWriteSniffer",      "setReadSniffer",       "SetTcpHostName",
                           "GetTcpHostName",       "SetTcpPort",           "GetTcpPort",
                           "SetTcpCommandTimeout", "GetTcpCommandTimeout", "SetTcpConnectTimeout",
                           "GetTcpConnectTimeout"};
    using C = IConnection;
    const Slot settings[] = {slotIn<C>(&C::setWriteSniffer),      slotIn<C>(&C::setReadSniffer),
                             slotIn<C>(&C::SetTcpHostName),       slotIn<C>(&C::GetTcpHostName),
                             slotIn<C>(&C::SetTcpPort),           slotIn<C>(&C::GetTcpPort),
                             slotIn<C>(&C::SetTcpCommandTimeout), slotIn<C>(&C::GetTcpCommandTimeout),
                             slotIn<C>(&C::SetTcpConnectTimeout), slotIn<C>(&C::GetTcpConnectTimeout)};
    for (std::size_t i = 0; i < std::size(settings); ++i) {
        EXPECT_EQ(settings[i].index, std::ptrdiff_t(i)) << names[i];
        EXPECT_EQ(settings[i].adjust, settings[0].adjust) << names[i];
        EXPECT_NE(settings[i].adjust, 0) << names[i] << " must not be a slot of the primary table";
    }
}

// The whole order as the library's own connection class lays it out: after ReportFatal, the
// two destructor entries, the event logger, the sniffers (write, then read), the eight TCP
// settings, then the system, process and slot parameter accessors.
TEST(SlotOrder, ConnectionClassTableEndsInTheDocumentedOrder) {
    expectManagementGroupAfterAxisAccessors<Connection_TCP>();

    const std::ptrdiff_t reportFatal = slotOf(&Connection_TCP::ReportFatal).index;
    EXPECT_EQ(slotOf(&Connection_TCP::DeleteMe).index, reportFatal - 1);

    std::vector<std::pair<std::string, Slot>> tail = {
        {"AddLogEvent", slotOf(&Connection_TCP::AddLogEvent)},
        {"eventLogger", slotOf(&Connection_TCP::eventLogger)},
        {"setWriteSniffer", slotOf(&Connection_TCP::setWriteSniffer)},
        {"setReadSniffer", slotOf(&Connection_TCP::setReadSniffer)},
        {"SetTcpHostName", slotOf(&Connection_TCP::SetTcpHostName)},
        {"GetTcpHostName", slotOf(&Connection_TCP::GetTcpHostName)},
        {"SetTcpPort", slotOf(&Connection_TCP::SetTcpPort)},
        {"GetTcpPort", slotOf(&Connection_TCP::GetTcpPort)},
        {"SetTcpCommandTimeout", slotOf(&Connection_TCP::SetTcpCommandTimeout)},
        {"GetTcpCommandTimeout", slotOf(&Connection_TCP::GetTcpCommandTimeout)},
        {"SetTcpConnectTimeout", slotOf(&Connection_TCP::SetTcpConnectTimeout)},
        {"GetTcpConnectTimeout", slotOf(&Connection_TCP::GetTcpConnectTimeout)},
    };
#define VAXO_PARAM(kind, name, access) VAXO_TAIL_##kind##_##access(name)
#define VAXO_TAIL_GET(kind, name) tail.push_back({"Get" #kind "Parameter_" #name, slotOf(&Connection_TCP::Get##kind##Parameter_##name)});
#define VAXO_TAIL_SET(kind, name) tail.push_back({"Set" #kind "Parameter_" #name, slotOf(&Connection_TCP::Set##kind##Parameter_##name)});
#define VAXO_TAIL_Axis_RW(name)
#define VAXO_TAIL_Axis_RO(name)
#define VAXO_TAIL_System_RW(name) VAXO_TAIL_GET(System, name) VAXO_TAIL_SET(System, name)
#define VAXO_TAIL_System_RO(name) VAXO_TAIL_GET(System, name)
#define VAXO_TAIL_Process_RW(name) VAXO_TAIL_GET(Process, name) VAXO_TAIL_SET(Process, name)
#define VAXO_TAIL_Process_RO(name) VAXO_TAIL_GET(Process, name)
#define VAXO_TAIL_Slot_RW(name) VAXO_TAIL_GET(Slot, name) VAXO_TAIL_SET(Slot, name)
#define VAXO_TAIL_Slot_RO(name) VAXO_TAIL_GET(Slot, name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
    ASSERT_EQ(tail.size(), 12u + 79 + 55 + 8 + 3 + 1 + 1);
    std::ptrdiff_t expected = reportFatal + 3; // two destructor entries between
    for (const auto& [name, slot] : tail)
        EXPECT_EQ(slot, (Slot{expected++, 0})) << name;
}

// The token-table exchange on a real socket, one rule of the exchange per row: the request's
// bytes, how the controller may deliver the table (at once, in pieces, with pauses), what ends
// it, and what fails it. The controller's side is the test itself, sending the row's bytes.
#include "WireTestSupport.h"
#include "shared/transport/LoopbackPeer.h"
#include "shared/transport/Port_TCP.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

using namespace wire_test;
using namespace std::chrono_literals;

namespace {

struct Row {
    const char* rule;
    std::vector<std::string> pieces; // sent one after another, `gap` apart
    std::chrono::milliseconds gap{0};
    unsigned timeout = 150;         // the command timeout given to the read
    bool closeAfter = false;        // the controller drops the link after the last piece
    ErrorCode expected; // SystemBit: any error of the operating system
    std::function<void(Token&, Port_TCP&, Events&)> check = nullptr;
};

// The table cut into `n` pieces of about the same size.
std::vector<std::string> cut(const std::string& text, std::size_t n) {
    std::vector<std::string> out;
    const std::size_t step = text.size() / n + 1;
    for (std::size_t i = 0; i < text.size(); i += step)
        out.push_back(text.substr(i, step));
    return out;
}

unsigned short codeOf(Token& t, KnownTokens k) {
    unsigned short code = 0;
    EXPECT_EQ(t.getTokenCode(k, code), ErrorCode::Success);
    return code;
}

} // namespace

TEST(TokenTableWire, ExchangeRules) {
    const std::string vrTable = table({"C300VR,1,2,3,4,5,6,cd>"}, 230, 201, 77);
    const std::string half = vrTable.substr(0, vrTable.size() / 2);
    const std::string noMarker = vrTable.substr(0, vrTable.size() - 7);
    const std::vector<Row> rows = {
        {"a table in one piece is read and its codes used; bytes after the end marker stay for the next reply",
         {vrTable + "NEXT"}, 0ms, 150, false, ErrorCode::Success,
         [](Token& t, Port_TCP& port, Events&) {
             EXPECT_EQ(codeOf(t, KnownTokens::VR), 300);
             EXPECT_EQ(t.tokenUnknownCode(), 77);
             char next[4];
             ASSERT_EQ(port.Read(next, 4, 100u), ErrorCode::Success);
             EXPECT_EQ(std::string(next, 4), "NEXT");
         }},
        {"pauses shorter than the timeout never fail the read, however long the whole table takes",
         cut(vrTable, 12), 40ms, 150, false, ErrorCode::Success,
         [](Token& t, Port_TCP&, Events&) { EXPECT_EQ(codeOf(t, KnownTokens::VR), 300); }},
        {"a silence of the timeout fails the read with Timeout, and says so", {half}, 0ms, 100, false,
         ErrorCode::Timeout,
         [](Token&, Port_TCP&, Events& ev) {
             EXPECT_TRUE(ev.has("Error reading ReadTokenTable response from controller", ErrorCode::Timeout));
         }},
        {"a controller that drops the link mid-table fails the read at once", {half}, 0ms, 60000, true,
         ErrorCode::SystemBit},
        {"after a record of an unknown kind the rest is ignored: the read runs into the timeout",
         {"S1A\r\nQ1X\r\n" + vrTable}, 0ms, 100, false, ErrorCode::Timeout},
        {"the marker with a lone CR and another byte does not end the table; the next EOT] CR LF does",
         {noMarker + "[EOT]\rXEOT]\r\n"}, 0ms, 150, false, ErrorCode::Success},
        {"a table without UNKNOWN (or another of the four protocol names) is refused",
         {"C0TOKENTABLE,0,0,0,0,0,0,>\r\nS200ZERO\r\nS255EXTENDED_TOKEN\r\n[EOT]\r\n"}, 0ms, 150, false,
         ErrorCode::TokenTable},
        {"a name given twice resolves to its first record",
         {table({"C300VR,0,0,0,0,0,0,>", "C301VR,0,0,0,0,0,0,>"})}, 0ms, 150, false, ErrorCode::Success,
         [](Token& t, Port_TCP&, Events&) { EXPECT_EQ(codeOf(t, KnownTokens::VR), 300); }},
        {"a constant carries four implied decimals", {table({"T400NEG,-12.5000", "T401SMALL,125"})}, 0ms, 150,
         false, ErrorCode::Success,
         [](Token& t, Port_TCP&, Events&) {
             const Token::TokenDef* d = nullptr;
             ASSERT_EQ(t.getToken("NEG", d, 'T'), ErrorCode::Success);
             EXPECT_DOUBLE_EQ(d->value, -12.5);
             ASSERT_EQ(t.getToken("SMALL", d, 'T'), ErrorCode::Success);
             EXPECT_DOUBLE_EQ(d->value, 0.0125);
         }},
    };
    for (const Row& row : rows) {
        Events ev;
        Listener listener;
        Port_TCP port(ev.callback);
        ASSERT_EQ(port.Open("127.0.0.1", listener.port, 2000, true), ErrorCode::Success) << row.rule;
        Peer peer{listener.accept()};
        Token token(ev.callback);
        auto reading = std::async(std::launch::async, [&] { return token.ReadTokenTable(port, row.timeout); });
        // Every table request is TOKENTABLE then ZERO with the default codes.
        EXPECT_EQ(peer.recv(2), std::string("\x00\xC8", 2)) << row.rule;
        for (const std::string& piece : row.pieces) {
            peer.send(piece);
            std::this_thread::sleep_for(row.gap);
        }
        if (row.closeAfter)
            peer.close();
        ASSERT_EQ(reading.wait_for(20s), std::future_status::ready) << row.rule;
        const ErrorCode got = reading.get();
        if (row.expected == ErrorCode::SystemBit)
            EXPECT_TRUE(EnumBitOps::hasAll(got, ErrorCode::SystemBit)) << row.rule << ": " << std::hex << std::uint64_t(got);
        else
            EXPECT_EQ(got, row.expected) << row.rule;
        if (row.check)
            row.check(token, port, ev);
    }
}

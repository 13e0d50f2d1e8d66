// The pure core: hand-encoded requests into a Session, replies compared byte for byte.
#include <gtest/gtest.h>

#include "SimTestUtil.h"
#include "sim/Controller.h"

using namespace Vaxo::Sim;
using namespace SimTest;

namespace {

const Bytes kTableRequest{0x00, 0xC8};

// A controller taken through the open sequence as a library does it.
struct Opened {
    Controller c;
    Session s{c, 1};
    NumberFormat f;
    bool esc;
    explicit Opened(Config cfg) : c(cfg), f(formatOfType(cfg.controllerType)), esc(cfg.firmware >= 1.51) {
        EXPECT_EQ(s.handle(kTableRequest).size(), c.table().text().size());
        auto control = s.handle(escape(enc(NumberFormat::Tms320).var("CONTROL").zero()));
        EXPECT_EQ(control, standard(cfg.controllerType, 0, NumberFormat::Tms320));
        Bytes version = enc().var("VERSION").zero();
        if (!isTms320Type(cfg.controllerType)) version = escape(version);
        EXPECT_EQ(s.handle(version), standard(cfg.firmware, 0, f));
        EXPECT_EQ(s.phase(), Phase::Versioned);
    }
    Enc enc() const { return Enc(c.table(), f); }
    Enc enc(NumberFormat g) const { return Enc(c.table(), g); }
    Bytes send(const Bytes& unescaped) { return s.handle(esc ? escape(unescaped) : unescaped); }
    Bytes ok(double v = 0) const { return standard(v, 0, f); }
    Bytes err(int st) const { return standard(0, st, f); }
};

// A seed whose VR and TABLE codes both take two bytes.
std::uint32_t seedWithExtendedVr() {
    for (std::uint32_t s = 1;; ++s) {
        TokenTable t(s, false);
        const auto E = t.symbols().extended;
        if (t.find("VR")->code > E && t.find("TABLE")->code > E) return s;
    }
}

} // namespace

TEST(SimSession, OpenSequenceAndVrOnBothGenerations) {
    struct Case { double type, fw; };
    for (auto c : {Case{206, 1.40}, Case{1664, 2.0330}, Case{206, 1.60}}) {
        Opened o({.seed = seedWithExtendedVr(), .controllerType = c.type, .firmware = c.fw});
        EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(12).tok("CLOSEBRACKETS").tok("ASSIGN").num(-3.5).zero()), o.ok());
        EXPECT_EQ(o.c.vr()[12], -3.5);
        EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(12).tok("CLOSEBRACKETS").zero()), o.ok(-3.5));
        const auto reqs = o.c.requests();
        ASSERT_EQ(reqs.size(), 5u);
        EXPECT_EQ(reqs[1].str(), "CONTROL");
        EXPECT_TRUE(reqs[1].escaped);
        EXPECT_EQ(reqs[1].format, NumberFormat::Tms320);
        EXPECT_EQ(reqs[3].str(), "VR OPENBRACKETS 12 CLOSEBRACKETS ASSIGN -3.5");
        EXPECT_EQ(reqs[3].escaped, c.fw >= 1.51);
    }
}

TEST(SimSession, EscapesAreRemovedAndTheChunkFinalMarkerIsBare) {
    Opened o({.seed = 7});
    // a value whose bytes hold both 0x1B and 0x01
    std::uint64_t bits = 0x3FF01B0000000001ull;
    double v;
    std::memcpy(&v, &bits, 8);
    Bytes req = o.enc().tok("VR").tok("OPENBRACKETS").num(27).tok("CLOSEBRACKETS").tok("ASSIGN").num(v).zero();
    EXPECT_EQ(o.s.handle(escape(req)), o.ok());
    EXPECT_EQ(o.c.vr()[27], v);
    // the escape of a chunk-final 0x01 is dropped by hosts: a bare 0x01 reads as itself
    Bytes esc = escape(req);
    const std::uint8_t pair[] = {0x1B, 0x01};
    const auto at = std::search(esc.begin(), esc.end(), std::begin(pair), std::end(pair));
    ASSERT_NE(at, esc.end());
    esc.erase(at);
    EXPECT_EQ(o.s.handle(esc), o.ok());
    EXPECT_EQ(o.c.requests().back().bytes, req);
}

TEST(SimSession, BytesArrivingOneByOneGiveTheSameReplies) {
    Opened o({.seed = 9, .controllerType = 206, .firmware = 1.2});
    o.c.vr()[5] = 42;
    Bytes req = o.enc().tok("VR").tok("OPENBRACKETS").num(5).tok("CLOSEBRACKETS").zero();
    Bytes got;
    for (auto b : req) {
        auto r = o.s.handle(&b, 1);
        got.insert(got.end(), r.begin(), r.end());
    }
    EXPECT_EQ(got, o.ok(42));
}

TEST(SimSession, NudgesAreCountedNotAnswered) {
    Opened o({.seed = 11});
    const Bytes nudge{std::uint8_t(o.c.table().symbols().unknown)};
    EXPECT_TRUE(o.s.handle(nudge).empty());
    Bytes req = nudge;
    Bytes get = o.enc().tok("VR").tok("OPENBRACKETS").num(1).tok("CLOSEBRACKETS").zero();
    req.insert(req.end(), get.begin(), get.end());
    EXPECT_EQ(o.s.handle(escape(req)), o.ok());
    EXPECT_EQ(o.c.nudgesSeen(), 2u);
}

TEST(SimSession, UndecodableRequestsGetAStatusAndTheNextOneIsRead) {
    Opened o({.seed = 13});
    const auto& sym = o.c.table().symbols();
    std::uint16_t unused = 2;
    while (o.c.table().token(unused) || unused == sym.unknown || unused == sym.extended || unused == 27) ++unused;
    Bytes bad = o.enc().tok("VR").code(unused).num(1).zero();
    Bytes good = o.enc().tok("VR").tok("OPENBRACKETS").num(1).tok("CLOSEBRACKETS").zero();
    Bytes both = bad;
    both.insert(both.end(), good.begin(), good.end());
    Bytes expect = o.err(Status::CommandNotRecognised);
    const Bytes ok = o.ok();
    expect.insert(expect.end(), ok.begin(), ok.end());
    EXPECT_EQ(o.send(both), expect);
    // the duplicate record's code is not understood either
    const TokenEntry* dup = nullptr;
    for (const auto& e : o.c.table().entries())
        if (e.duplicate && e.kind == 'C') dup = &e;
    ASSERT_TRUE(dup);
    EXPECT_EQ(o.send(o.enc().code(dup->code).tok("OPENBRACKETS").num(1).tok("CLOSEBRACKETS").zero()), o.err(Status::CommandNotRecognised));
    // and a number without its EOX
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").tok("NUMBER").raw(0).raw(0).raw(0).raw(0).raw(0).raw(0).raw(0).raw(0).tok("COMMA").zero()),
              o.err(Status::NumberExpected));
}

TEST(SimSession, SystemVariableSchemes) {
    struct Case { Config cfg; bool wide, bodge; };
    for (const auto& c : {Case{{.seed = 3}, false, false}, Case{{.seed = 3, .systemVariable16 = true}, true, false},
                          Case{{.seed = 3, .firmware = 2.0340}, false, true}}) {
        Opened o(c.cfg);
        for (auto name : {"SERVO_PERIOD", "SPEED", "ACCEL", "WDOG", "TICKS"}) {
            const std::uint16_t code = o.c.codeOf(name);
            // first in the request: never the bodge
            EXPECT_EQ(o.send(o.enc().var(name, c.wide).tok("ASSIGN").num(code).zero()), o.ok()) << name;
            EXPECT_EQ(o.send(o.enc().var(name, c.wide).zero()), o.ok(code)) << name;
            const auto r = o.c.requests().back();
            EXPECT_EQ(r.items[0].scheme, c.wide ? SysVarScheme::Wide : code < 256 ? SysVarScheme::Single : SysVarScheme::Second);
        }
        // a system variable after the first element (decoded, then refused by VR as not a number)
        const std::uint16_t code = o.c.codeOf("WDOG");
        o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(1).tok("CLOSEBRACKETS").tok("ASSIGN").var("WDOG", c.wide, c.bodge).zero());
        const auto r = o.c.requests().back();
        ASSERT_EQ(r.items.size(), 6u) << r.str();
        EXPECT_EQ(r.items[5].name, "WDOG");
        EXPECT_EQ(r.items[5].code, code);
        EXPECT_EQ(r.status, Status::OperandExpected);
    }
}

TEST(SimSession, ParametersReadOnlyAndModifiers) {
    Opened o({.seed = 21});
    EXPECT_EQ(o.send(o.enc().var("VERSION").tok("ASSIGN").num(3).zero()), o.err(Status::ValueIsReadOnly));
    EXPECT_EQ(o.send(o.enc().var("SPEED").tok("MODIFIER").tok("AXIS").tok("OPENBRACKETS").num(3).tok("CLOSEBRACKETS").tok("ASSIGN").num(250).zero()), o.ok());
    EXPECT_EQ(o.send(o.enc().var("SPEED").tok("MODIFIER").tok("AXIS").tok("OPENBRACKETS").num(3).tok("CLOSEBRACKETS").zero()), o.ok(250));
    EXPECT_NE(o.send(o.enc().var("SPEED").tok("MODIFIER").tok("AXIS").tok("OPENBRACKETS").num(4).tok("CLOSEBRACKETS").zero()), o.ok(250));
    EXPECT_EQ(o.c.requests().back().str(), "SPEED MODIFIER AXIS OPENBRACKETS 4 CLOSEBRACKETS");
    EXPECT_EQ(o.send(o.enc().var("SPEED").tok("MODIFIER").tok("COMMA").zero()), o.err(Status::ModifierNotAllowed));
}

TEST(SimSession, TableFormsAndRanges) {
    Opened o({.seed = seedWithExtendedVr(), .tableCount = 100});
    EXPECT_EQ(o.send(o.enc().tok("TABLE").tok("OPENBRACKETS").num(10).tok("COMMA").num(1).tok("COMMA").num(2).tok("CLOSEBRACKETS").zero()), o.ok());
    EXPECT_EQ(o.send(o.enc().tok("TABLE").tok("OPENBRACKETS").num(12).tok("CLOSEBRACKETS").tok("ASSIGN").num(3).zero()), o.ok());
    EXPECT_EQ(o.c.tableMemory()[10] + o.c.tableMemory()[11] + o.c.tableMemory()[12], 6);
    EXPECT_EQ(o.send(o.enc().tok("TABLE").tok("OPENBRACKETS").num(11).tok("CLOSEBRACKETS").zero()), o.ok(2));
    EXPECT_EQ(o.send(o.enc().tok("TABLE").tok("OPENBRACKETS").num(100).tok("CLOSEBRACKETS").zero()), o.err(Status::TableIndexRangeError));
    EXPECT_EQ(o.send(o.enc().tok("TABLE").tok("OPENBRACKETS").num(99).tok("COMMA").num(1).tok("COMMA").num(2).tok("CLOSEBRACKETS").zero()), o.err(Status::TableIndexRangeError));
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(1.5).tok("CLOSEBRACKETS").zero()), o.err(Status::ParameterOutOfRange));
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(1).zero()), o.err(Status::CloseRoundBracketExpected));
    EXPECT_EQ(o.send(o.enc().tok("VR").zero()), o.err(Status::OpenBracketExpected));
}

TEST(SimSession, VrStringMultiValuesAndBlockTransfer) {
    Opened o({.seed = 5});
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(40).tok("CLOSEBRACKETS").tok("ASSIGN").raw(0x01).text("Hi").tok("EOX").zero()), o.ok());
    EXPECT_EQ(o.c.vr()[40], 'H');
    EXPECT_EQ(o.c.vr()[42], 0);
    EXPECT_EQ(o.c.requests().back().str(), "VR OPENBRACKETS 40 CLOSEBRACKETS ASSIGN <01> \"Hi\" EOX");
    // read 3 values: count, then the values
    Bytes want = o.ok(3);
    for (double v : {72.0, 105.0, 0.0}) putNumber(want, v, o.f);
    EXPECT_EQ(o.send(o.enc().tok("VRVALUES").tok("OPENBRACKETS").num(40).tok("COMMA").num(3).tok("COMMA").num(1).tok("CLOSEBRACKETS").zero()), want);
    // block write of TABLE(7..9): header answered, then three values (NUMBER bytes EOX, not
    // escaped, nothing between them), answered again once all have arrived
    const Bytes header = o.enc().tok("TABLEVALUES").tok("OPENBRACKETS").num(7).tok("COMMA").num(9).tok("COMMA").num(2).tok("CLOSEBRACKETS").zero();
    EXPECT_EQ(o.send(header), o.ok());
    Enc values = o.enc();
    for (double v : {1.0, 27.0, -4.0}) values.num(v);
    const Bytes block = values.bytes();
    EXPECT_TRUE(o.s.handle(Bytes(block.begin(), block.begin() + 12)).empty());
    EXPECT_EQ(o.s.handle(Bytes(block.begin() + 12, block.end())), o.ok());
    EXPECT_EQ(o.c.tableMemory()[8], 27.0);
    const auto r = o.c.requests().back();
    EXPECT_EQ(r.kind, RequestKind::DataBlock);
    EXPECT_EQ(r.raw, block);
    EXPECT_EQ(r.str(), "1 27 -4");
    EXPECT_EQ(r.status, 0);
}

// A block must hold values: bare numbers are refused (Number expected) and nothing is stored;
// the controller reads requests again after it. An empty run is its header alone.
TEST(SimSession, BlockTransferRefusesBareNumbersAndTakesAnEmptyRun) {
    Opened o({.seed = 9});
    const auto header = [&](double first, double last) {
        return o.enc().tok("VRVALUES").tok("OPENBRACKETS").num(first).tok("COMMA").num(last).tok("COMMA").num(2).tok("CLOSEBRACKETS").zero();
    };
    o.c.vr()[20] = 5;
    EXPECT_EQ(o.send(header(20, 21)), o.ok());
    Bytes bare;
    for (double v : {8.0, 9.0}) ieee(bare, v);
    EXPECT_EQ(o.s.handle(bare), o.err(Status::NumberExpected));
    EXPECT_EQ(o.c.vr()[20], 5);
    EXPECT_EQ(o.c.requests().back().kind, RequestKind::DataBlock);
    EXPECT_EQ(o.c.requests().back().status, Status::NumberExpected);
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(20).tok("CLOSEBRACKETS").zero()), o.ok(5));
    // start - 1 as the last index: no values follow, and the next request is a request again
    EXPECT_EQ(o.send(header(0, -1)), o.ok());
    EXPECT_EQ(o.send(o.enc().tok("VR").tok("OPENBRACKETS").num(20).tok("CLOSEBRACKETS").zero()), o.ok(5));
    EXPECT_EQ(o.send(header(30, 28)), o.err(Status::ParameterOutOfRange));
}

TEST(SimSession, FaultSwitches) {
    Opened o({.seed = 17});
    const Bytes get = o.enc().tok("VR").tok("OPENBRACKETS").num(2).tok("CLOSEBRACKETS").zero();
    const Bytes set = o.enc().tok("VR").tok("OPENBRACKETS").num(2).tok("CLOSEBRACKETS").tok("ASSIGN").num(9).zero();
    // an error status instead of executing, twice, only for VR
    o.c.faults().errorStatus(19, {"VR", 2});
    EXPECT_EQ(o.send(o.enc().var("WDOG").zero()), o.ok());
    EXPECT_EQ(o.send(set), o.err(19));
    EXPECT_EQ(o.send(set), o.err(19));
    EXPECT_EQ(o.c.vr()[2], 0);
    EXPECT_EQ(o.send(set), o.ok());
    // garbage, a cut reply, and a closing connection
    o.c.faults().garbage("\xFF\xFE!");
    EXPECT_EQ(o.send(get), (Bytes{0xFF, 0xFE, '!'}));
    o.c.faults().stopAfter(5);
    const Bytes full = o.ok(9);
    EXPECT_EQ(o.send(get), Bytes(full.begin(), full.begin() + 5));
    EXPECT_EQ(o.send(get), o.ok(9));
    o.c.faults().closeAfter(0, {"", 0});
    EXPECT_TRUE(o.send(get).empty());
    EXPECT_TRUE(o.s.closed());
    EXPECT_EQ(o.c.faults().armed(), 1u);
    o.c.faults().clear();
    EXPECT_EQ(o.c.faults().armed(), 0u);
}

// The program commands take exactly the forms the library sends; the controller refuses the
// rest with a status and no text, so that a library that drifted shows at once.
TEST(SimSession, ProgramCommandsRefuseFormsTheLibraryNeverSends) {
    Opened o({.seed = 21});
    EXPECT_EQ(o.send(o.enc().tok("NEW").text("P").tok("EOX").zero()), o.ok());
    struct Row {
        const char* what;
        Bytes request;
        int status; // 0: accepted
    };
    const Row rows[] = {
        {"EXECUTE asks for its text only with 1, 1",
         o.enc().tok("EXECUTE").text("VR(1)=1").tok("COMMA").num(2).tok("COMMA").num(2).zero(),
         Status::ParameterOutOfRange},
        {"NEW without its EOX", o.enc().tok("NEW").text("Q").zero(), Status::ExtraCharsAtEoln},
        {"DEL with a number other than 0", o.enc().tok("DEL").text("P").num(1).tok("EOX").zero(),
         Status::ParameterOutOfRange},
        {"DEL without its EOX", o.enc().tok("DEL").text("P").zero(), Status::ExtraCharsAtEoln},
        {"DIR with another argument", o.enc().tok("DIR").text("C").zero(), Status::ParameterOutOfRange},
        {"PROCESS with another argument", o.enc().tok("PROCESS").text("X2").zero(), Status::ParameterOutOfRange},
        {"EX without its option", o.enc().tok("EX").zero(), Status::OpenBracketExpected},
        {"DEL as the library sends it", o.enc().tok("DEL").text("P").num(0).tok("EOX").zero(), 0},
    };
    for (const auto& r : rows) {
        const Bytes reply = o.send(r.request);
        if (r.status)
            EXPECT_EQ(reply, o.err(r.status)) << r.what;
        else
            EXPECT_EQ(reply, o.ok()) << r.what;
    }
}

// The controller's own limits: a request longer than its buffer (124 bytes, 200 from release
// .0273 on as the firmware order puts it) is refused whatever it holds, and FORWARD and REVERSE
// must name their axis.
TEST(SimSession, LongRequestsAndForwardWithoutAxisAreRefused) {
    struct Case { double fw; std::size_t limit; };
    for (auto c : {Case{3.0273, 124}, Case{4.0273, 200}, Case{5.0273, 200}, Case{2.0272, 124}}) {
        SCOPED_TRACE(c.fw);
        Opened o({.seed = 3, .firmware = c.fw});
        EXPECT_EQ(o.s.remoteBuffer(), c.limit);
        const auto vrString = [&](std::size_t size) {
            const Bytes head = o.enc().tok("VR").tok("OPENBRACKETS").num(0).tok("CLOSEBRACKETS").tok("ASSIGN").raw(0x01).text("").tok("EOX").zero();
            return o.enc().tok("VR").tok("OPENBRACKETS").num(0).tok("CLOSEBRACKETS").tok("ASSIGN").raw(0x01)
                .text(std::string(size - head.size(), 'x')).tok("EOX").zero();
        };
        EXPECT_EQ(o.send(vrString(c.limit)), o.ok());
        EXPECT_EQ(o.send(vrString(c.limit + 1)), o.err(Status::CommandLineTooLong));
    }
    Opened o({.seed = 4});
    EXPECT_EQ(o.send(o.enc().tok("FORWARD").zero()), o.err(Status::OperandExpected));
    EXPECT_EQ(o.send(o.enc().tok("REVERSE").tok("MODIFIER").tok("AXIS").tok("OPENBRACKETS").num(1).tok("CLOSEBRACKETS").zero()), o.ok());
    EXPECT_EQ(o.send(o.enc().tok("FORWARD").tok("MODIFIER").tok("AXIS").tok("OPENBRACKETS").num(-1).tok("CLOSEBRACKETS").zero()),
              o.err(Status::ParameterOutOfRange));
}

// VR and TABLE memory over the wire: multi-value reads and writes (chunked and block
// transfer), VR strings and bits, with exact request bytes and this run's token codes.
#include "SimFixture.h"

#include <atomic>
#include <mutex>
#include <thread>

#include <vaxo/IConnection.hpp>

#include "shared/transport/ISniffer.h"

using namespace vaxotest;

namespace {

constexpr uint64_t kNotSupported = 0x0100000002ull;
constexpr uint64_t kBufferTooSmall = 0x010000000Eull;

// The sizes of the writes the library makes.
struct WriteSizes : Vaxo::Ubrix::Shared::ISniffer {
    std::mutex mutex;
    std::vector<unsigned> sizes;
    void sniff(const char*, unsigned int length) override {
        std::lock_guard lock(mutex);
        sizes.push_back(length);
    }
};

class Variables : public SimConnection {
protected:
    // Every request since the last call, each checked for success.
    std::vector<Vaxo::Sim::Request> take() {
        auto r = sim->requests();
        sim->clearRequests();
        return r;
    }
    std::vector<uint8_t> z() const { return tok("ZERO"); }
};

TEST_F(Variables, MultiVrBlockWriteAndReadBack) {
    open({.controllerType = 1664, .firmware = 2.0330});
    const double values[5] = {1.5, -2, 3.25, 1e9, 0};
    ASSERT_EQ(vaxo_SetMultiVrValues(h, 10, 5, const_cast<double*>(values)), 0u);
    auto reqs = take();
    ASSERT_EQ(reqs.size(), 2u);
    EXPECT_EQ(reqs[0].bytes, cat(tok("VRVALUES"), tok("OPENBRACKETS"), num(10), tok("COMMA"), num(14), tok("COMMA"),
                                 num(2), tok("CLOSEBRACKETS"), z()));
    ASSERT_EQ(reqs[1].kind, Vaxo::Sim::RequestKind::DataBlock);
    ASSERT_EQ(reqs[1].items.size(), 5u);
    EXPECT_EQ(reqs[1].bytes, cat(num(values[0]), num(values[1]), num(values[2]), num(values[3]), num(values[4])))
        << "each value as NUMBER, its bytes, EOX, nothing between";
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(sim->vr(10 + k), values[k]);

    double back[5] = {};
    ASSERT_EQ(vaxo_GetMultiVrValues(h, 10, 5, back), 0u);
    reqs = take();
    ASSERT_EQ(reqs.size(), 1u);
    EXPECT_EQ(reqs[0].bytes, cat(tok("VRVALUES"), tok("OPENBRACKETS"), num(10), tok("COMMA"), num(5), tok("COMMA"),
                                 num(1), tok("CLOSEBRACKETS"), z()));
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(back[k], values[k]);

    // A refused read leaves the link in step.
    EXPECT_EQ(vaxo_GetMultiVrValues(h, 65530, 100, back) & 0x0400000000ull, 0x0400000000ull);
    double v = 0;
    sim->setVr(3, 7);
    ASSERT_EQ(vaxo_GetVrValue(h, 3, &v), 0u);
    EXPECT_EQ(v, 7);
}

// A seed whose codes for the chunk request's tokens are one byte each, as on the controllers
// the chunk size is laid out for.
uint32_t oneByteSeed() {
    for (uint32_t seed = freshSeed();; ++seed) {
        Vaxo::Sim::TokenTable t(seed, false);
        const uint16_t ext = t.symbols().extended;
        bool ok = true;
        for (const char* n : {"TABLE", "OPENBRACKETS", "CLOSEBRACKETS", "COMMA", "NUMBER", "EOX", "ZERO"})
            ok = ok && t.find(n)->code < ext;
        if (ok)
            return seed;
    }
}

TEST_F(Variables, MultiTableChunksOnOldFirmware) {
    // IEEE numbers, firmware before the 200-byte buffer and the block gate: 124 bytes, so
    // (124 - 15) / 11 = 9 values per request.
    Vaxo::Sim::Config cfg{.controllerType = 1664, .firmware = 2.0200};
    cfg.seed = oneByteSeed();
    sim = std::make_unique<Vaxo::Sim::Simulator>(cfg);
    port = sim->start();
    makeContext();
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    sim->clearRequests();
    double values[20];
    for (int k = 0; k < 20; ++k)
        values[k] = 100 + k;
    ASSERT_EQ(vaxo_SetMultiTableValues(h, 40, 20, values), 0u);
    const auto reqs = take();
    ASSERT_EQ(reqs.size(), 3u);
    const unsigned groups[3] = {9, 9, 2};
    unsigned offset = 0;
    for (int r = 0; r < 3; ++r) {
        std::vector<uint8_t> expected = cat(tok("TABLE"), tok("OPENBRACKETS"), num(40 + offset));
        for (unsigned k = 0; k < groups[r]; ++k)
            expected = cat(expected, tok("COMMA"), num(values[offset + k]));
        expected = cat(expected, tok("CLOSEBRACKETS"), z());
        EXPECT_EQ(reqs[r].bytes, expected) << r;
        EXPECT_LE(reqs[r].raw.size(), 124u);
        EXPECT_EQ(reqs[r].status, 0);
        offset += groups[r];
    }
    for (int k = 0; k < 20; ++k)
        EXPECT_EQ(sim->table(40 + k), values[k]);

    // VR writes have no chunked form: refused without traffic.
    EXPECT_EQ(vaxo_SetMultiVrValues(h, 0, 3, values), kNotSupported);
    EXPECT_TRUE(take().empty());
    // With longer token codes fewer values fit, but every request stays within the buffer.
    ASSERT_EQ(vaxo_SetMultiTableValues(h, 0, 20, values), 0u);
    for (const auto& r : take())
        EXPECT_LE(r.raw.size(), 124u);
    // Reads work on any firmware.
    double back[20] = {};
    ASSERT_EQ(vaxo_GetMultiTableValues(h, 40, 20, back), 0u);
    EXPECT_EQ(std::vector<double>(back, back + 20), std::vector<double>(values, values + 20));
}

struct BlockCase {
    double type;
    unsigned perBlock; // values per block with 8-byte numbers
};

class BlockSizes : public Variables, public ::testing::WithParamInterface<BlockCase> {};

TEST_P(BlockSizes, ValuesPerBlock) {
    const BlockCase c = GetParam();
    open({.controllerType = c.type, .firmware = 2.0330});
    WriteSizes writes;
    auto* connection = reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h);
    std::vector<double> values(120);
    for (std::size_t k = 0; k < values.size(); ++k)
        values[k] = double(k) / 4;
    connection->setWriteSniffer(&writes);
    const auto rc = vaxo_SetMultiTableValues(h, 1000, 120, values.data());
    connection->setWriteSniffer(nullptr);
    ASSERT_EQ(rc, 0u);
    std::vector<unsigned> blocks(writes.sizes.begin() + 1, writes.sizes.end()); // after the header
    std::vector<unsigned> expected;
    for (unsigned left = 120; left; left -= std::min(left, c.perBlock))
        expected.push_back(unsigned(num(0).size()) * std::min(left, c.perBlock)); // NUMBER, 8 bytes, EOX
    EXPECT_EQ(blocks, expected);
    for (std::size_t k = 0; k < values.size(); ++k)
        ASSERT_EQ(sim->table(unsigned(1000 + k)), values[k]) << k;
}

INSTANTIATE_TEST_SUITE_P(Controllers, BlockSizes,
                         ::testing::Values(BlockCase{1770, 51}, BlockCase{770, 51}, BlockCase{1664, 102}));

TEST_F(Variables, VrStrings) {
    open({.controllerType = 1664, .firmware = 2.0330});
    ASSERT_EQ(vaxo_SetVrString(h, 5, "hello"), 0u);
    auto reqs = take();
    ASSERT_EQ(reqs.size(), 1u);
    const std::vector<uint8_t> marker = {0x01};
    const std::vector<uint8_t> text = {'h', 'e', 'l', 'l', 'o'};
    EXPECT_EQ(reqs[0].bytes, cat(tok("VR"), tok("OPENBRACKETS"), num(5), tok("CLOSEBRACKETS"), tok("ASSIGN"), marker,
                                 tok("QUOTES"), text, tok("QUOTES"), tok("EOX"), z()));
    EXPECT_EQ(sim->vr(5), 'h');
    EXPECT_EQ(sim->vr(9), 'o');
    EXPECT_EQ(sim->vr(10), 0);

    uint32_t length = 0;
    ASSERT_EQ(vaxo_GetVrStringLen(h, 5, &length), 0u);
    EXPECT_EQ(length, 5u);
    reqs = take();
    ASSERT_EQ(reqs.size(), 1u);
    const std::vector<uint8_t> separator = {','};
    const auto lenPart = cat(tok("PRINT"), tok("LENB"), tok("OPENBRACKETS"), tok("VRSTRING"), tok("OPENBRACKETS"),
                             num(5), tok("CLOSEBRACKETS"), tok("EOX"), tok("CLOSEBRACKETS"), tok("EOX"),
                             tok("OPENSQUAREBRACKETS"), num(0), tok("CLOSESQUAREBRACKETS"), tok("SEMICOLON"),
                             tok("QUOTES"), separator, tok("QUOTES"), tok("EOX"), tok("SEMICOLON"));
    EXPECT_EQ(reqs[0].bytes, cat(lenPart, tok("COLON"), z()));

    char small[5];
    uint32_t size = sizeof small;
    EXPECT_EQ(vaxo_GetVrString4a(h, 5, small, &size), kBufferTooSmall);
    EXPECT_EQ(size, 6u);
    char buffer[16];
    size = sizeof buffer;
    ASSERT_EQ(vaxo_GetVrString4a(h, 5, buffer, &size), 0u);
    EXPECT_STREQ(buffer, "hello");
    EXPECT_EQ(size, 6u);
    reqs = take();
    ASSERT_EQ(reqs.size(), 2u);
    EXPECT_EQ(reqs[1].bytes, cat(lenPart, tok("VRSTRING"), tok("OPENBRACKETS"), num(5), tok("CLOSEBRACKETS"),
                                 tok("EOX"), tok("SEMICOLON"), tok("COLON"), z()));

    // A text longer than the controller takes in one request is refused without traffic.
    std::string longText(600, 'x');
    longText[300] = ',';
    EXPECT_EQ(vaxo_SetVrString(h, 100, longText.c_str()), 0x8100000008ull);
    EXPECT_TRUE(take().empty());
    // Texts longer than one packet, and texts with the separator in them.
    for (std::size_t k = 0; k <= longText.size(); ++k)
        sim->setVr(uint32_t(100 + k), k < longText.size() ? longText[k] : 0);
    std::string streamed;
    std::vector<uint32_t> packets;
    struct Sink {
        std::string* text;
        std::vector<uint32_t>* packets;
    } sink{&streamed, &packets};
    ASSERT_EQ(vaxo_GetVrString4b(h, 100, [](void* user, const VaxoDataStreamPacket* p, const char* data) {
        auto* s = static_cast<Sink*>(user);
        s->text->append(data, p->length);
        s->packets->push_back(p->length);
    }, &sink), 0u);
    EXPECT_EQ(streamed, longText);
    EXPECT_EQ(packets, (std::vector<uint32_t>{256, 256, 88, 0}));
    std::string whole;
    ASSERT_EQ(vaxo_GetVrString4c(h, 100, [](void* user, const char* t, uint32_t n) {
        static_cast<std::string*>(user)->assign(t, n);
    }, &whole), 0u);
    EXPECT_EQ(whole, longText);

    // An empty string.
    sim->setVr(50, 0);
    ASSERT_EQ(vaxo_GetVrStringLen(h, 50, &length), 0u);
    EXPECT_EQ(length, 0u);
    whole = "?";
    ASSERT_EQ(vaxo_GetVrString4c(h, 50, [](void* user, const char* t, uint32_t n) {
        static_cast<std::string*>(user)->assign(t, n);
    }, &whole), 0u);
    EXPECT_EQ(whole, "");
}

TEST_F(Variables, BlockWritesInterleaveWithOtherCommands) {
    // A block transfer reads its header's answer itself: other threads' commands queued around
    // it must keep their replies.
    open({.controllerType = 1664, .firmware = 2.0330});
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            std::vector<double> values(150);
            for (int round = 0; round < 10; ++round) {
                for (std::size_t k = 0; k < values.size(); ++k)
                    values[k] = t * 10000 + round * 1000 + double(k);
                const uint32_t start = uint32_t(t * 1000);
                if (vaxo_SetMultiTableValues(h, start, uint32_t(values.size()), values.data()) != 0)
                    ++failures;
                double v = -1;
                if (vaxo_SetVrValue(h, uint32_t(t), round) != 0 || vaxo_GetVrValue(h, uint32_t(t), &v) != 0 ||
                    v != round)
                    ++failures;
                std::vector<double> back(values.size());
                if (vaxo_GetMultiTableValues(h, start, uint32_t(back.size()), back.data()) != 0 || back != values)
                    ++failures;
            }
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(failures.load(), 0);
}

TEST_F(Variables, BitsSendBitNumberFirst) {
    open({.controllerType = 206, .firmware = 1.50});
    ieee = false;
    sim->setVr(7, 1);
    ASSERT_EQ(vaxo_SetVrBit(h, 3, 7), 0u);
    EXPECT_EQ(sim->vr(7), 9);
    bool set = false;
    ASSERT_EQ(vaxo_GetVrBit(h, 3, 7, &set), 0u);
    EXPECT_TRUE(set);
    ASSERT_EQ(vaxo_ClearVrBit(h, 0, 7), 0u);
    EXPECT_EQ(sim->vr(7), 8);
    ASSERT_EQ(vaxo_GetVrBit(h, 0, 7, &set), 0u);
    EXPECT_FALSE(set);
    const auto reqs = take();
    ASSERT_EQ(reqs.size(), 4u);
    const char* names[4] = {"SET_BIT", "READ_BIT", "CLEAR_BIT", "READ_BIT"};
    const double bits[4] = {3, 3, 0, 0};
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(reqs[k].bytes, cat(tok(names[k]), tok("OPENBRACKETS"), num(bits[k]), tok("COMMA"), num(7),
                                     tok("CLOSEBRACKETS"), z()))
            << names[k];
}

} // namespace

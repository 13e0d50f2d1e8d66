// Port_TCP against a loopback peer made in the test: connect, reads of both forms with the
// read-ahead buffer and push-back, timeouts, peer close, sniffers, events, and a connect
// timeout against a listener whose accept backlog is full.
#include "shared/transport/Port_TCP.h"
#include "shared/transport/LoopbackPeer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Vaxo::Ubrix::Shared;
using namespace std::chrono_literals;

namespace {

struct Event {
    EventType type;
    std::uint64_t value;
    std::string text;
};

struct EventLog {
    std::mutex mutex;
    std::vector<Event> events;
    EventCallback callback = [this](EventType t, std::uint64_t v, std::string_view text) {
        std::lock_guard lock(mutex);
        events.push_back({t, v, std::string(text)});
    };
    int count(std::string_view text) {
        std::lock_guard lock(mutex);
        int n = 0;
        for (auto& e : events)
            n += e.text == text;
        return n;
    }
};

struct RecordingSniffer : ISniffer {
    std::mutex mutex;
    std::string seen;
    void sniff(const char* data, unsigned int length) override {
        std::lock_guard lock(mutex);
        seen.append(data, length);
    }
};

class PortTcpTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(port.Open("127.0.0.1", listener.port, 2000, true), ErrorCode::Success);
        peer.fd = listener.accept();
        ASSERT_GE(peer.fd, 0);
    }
    EventLog log;
    Listener listener;
    Port_TCP port{log.callback};
    Peer peer{-1};
};

} // namespace

TEST_F(PortTcpTest, OpenReportsConnectedAndCloseReportsDisconnectedOnce) {
    EXPECT_TRUE(port.isOpened());
    EXPECT_EQ(port.portNumber(), listener.port);
    EXPECT_EQ(port.hostName(), "127.0.0.1");
    EXPECT_EQ(log.count("Connected to 127.0.0.1"), 1);
    port.SetNoDelay(true);
    port.SetSendBufferSize(0);
    EXPECT_EQ(port.Close(), ErrorCode::Success);
    EXPECT_EQ(port.Close(), ErrorCode::Success);
    EXPECT_FALSE(port.isOpened());
    EXPECT_EQ(log.count("Disconnected from 127.0.0.1"), 1);
    EXPECT_EQ(log.count("Failed to set no-delay option") + log.count("Failed to set send buffer size") +
                  log.count("Failed to set keepalive option"),
              0);
}

TEST_F(PortTcpTest, WriteReachesPeerAndWriteSnifferSeesIt) {
    RecordingSniffer sniffer;
    port.setWriteSniffer(&sniffer);
    ASSERT_EQ(port.Write("\x00\xC8", 2), ErrorCode::Success);
    EXPECT_EQ(peer.recv(2), std::string("\x00\xC8", 2));
    EXPECT_EQ(sniffer.seen, std::string("\x00\xC8", 2));
    port.setWriteSniffer(nullptr);
}

TEST_F(PortTcpTest, ExactReadKeepsTheRestBufferedAndUnReadPutsBytesInFront) {
    RecordingSniffer sniffer;
    port.setReadSniffer(&sniffer);
    peer.send("hello world");
    char buf[16] = {};
    ASSERT_EQ(port.Read(buf, 5, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, 5), "hello");
    // Push back two bytes of what was read: they come first, then the buffered rest.
    ASSERT_EQ(port.UnRead("lo", 2), ErrorCode::Success);
    ASSERT_EQ(port.Read(buf, 8, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, 8), "lo world");
    // Pushed back onto an empty buffer (the shifting path).
    ASSERT_EQ(port.UnRead("ab", 2), ErrorCode::Success);
    peer.send("cd");
    ASSERT_EQ(port.Read(buf, 4, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, 4), "abcd");
    // The sniffer sees the socket's bytes once each, not the pushed-back ones.
    EXPECT_EQ(sniffer.seen, "hello worldcd");
    port.setReadSniffer(nullptr);
}

TEST_F(PortTcpTest, ExactReadWaitsAcrossSeveralArrivals) {
    std::thread writer([&] {
        for (char c : std::string("abcdef")) {
            peer.send(std::string(1, c));
            std::this_thread::sleep_for(2ms);
        }
    });
    char buf[6];
    EXPECT_EQ(port.Read(buf, 6, 1000u), ErrorCode::Success);
    writer.join();
    EXPECT_EQ(std::string(buf, 6), "abcdef");
}

TEST_F(PortTcpTest, ReadWhatIsThereServesBufferFirstThenOneSocketRead) {
    peer.send("0123456789");
    char buf[32];
    ASSERT_EQ(port.Read(buf, 2, 1000u), ErrorCode::Success); // the rest stays buffered
    unsigned got = 0;
    ASSERT_EQ(port.Read(buf, 8, got, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, got), "23456789");
    peer.send("xyz");
    ASSERT_EQ(port.Read(buf, sizeof buf, got, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, got), "xyz");
}

TEST_F(PortTcpTest, IdleReadPollsWithZeroTimeoutAndTimesOutOtherwise) {
    char buf[4];
    unsigned got = 99;
    EXPECT_EQ(port.Read(buf, 4, got, 0u), ErrorCode::Success);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(port.Read(buf, 4, got, 5u), ErrorCode::Timeout);
    EXPECT_EQ(port.Read(buf, 1, 5u), ErrorCode::Timeout);
    EXPECT_TRUE(port.isOpened()); // a timeout is not a failure of the link
}

// An exact read with a zero timeout is not a poll: it waits, asleep, until its bytes are there.
TEST_F(PortTcpTest, ExactReadWithZeroTimeoutWaitsWithoutLimit) {
    std::thread writer([&] {
        std::this_thread::sleep_for(150ms);
        peer.send("late");
    });
    char buf[4];
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(port.Read(buf, 4, 0u), ErrorCode::Success);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);
    writer.join();
    EXPECT_EQ(std::string(buf, 4), "late");
}

// Single-byte exact reads of a block that arrived at once: one socket read fills the
// read-ahead buffer and the rest are served from it, so the sniffer is called once for the
// whole block, and later arrivals are sniffed once each, in order.
TEST_F(PortTcpTest, SingleByteReadsAreServedFromTheReadAheadBuffer) {
    struct CountingSniffer : RecordingSniffer {
        int calls = 0;
        void sniff(const char* data, unsigned int length) override {
            ++calls;
            RecordingSniffer::sniff(data, length);
        }
    } sniffer;
    port.setReadSniffer(&sniffer);
    std::string block;
    for (int i = 0; i < 300; ++i)
        block += char('a' + i % 26);
    peer.send(block);
    std::this_thread::sleep_for(30ms); // the whole block is there before the first read
    std::string got;
    for (std::size_t i = 0; i < block.size(); ++i) {
        char c;
        ASSERT_EQ(port.Read(&c, 1, 1000u), ErrorCode::Success);
        got += c;
    }
    EXPECT_EQ(got, block);
    EXPECT_EQ(sniffer.calls, 1);
    peer.send("xy");
    char two[2];
    ASSERT_EQ(port.Read(two, 2, 1000u), ErrorCode::Success);
    EXPECT_EQ(sniffer.seen, block + "xy");
    port.setReadSniffer(nullptr);
}

TEST_F(PortTcpTest, UnReadBeyondTheBufferIsRefused) {
    std::string block(4096, 'x');
    peer.send(block);
    std::this_thread::sleep_for(50ms); // let the whole block arrive so one receive takes it
    char buf[6];
    ASSERT_EQ(port.Read(buf, 6, 1000u), ErrorCode::Success); // 4090 unread at position 6
    EXPECT_EQ(port.UnRead("0123456789", 10), ErrorCode::BufferTooSmall);
    ASSERT_EQ(port.UnRead("abcdef", 6), ErrorCode::Success); // fits before the position: 4096 at 0
    EXPECT_EQ(port.UnRead("z", 1), ErrorCode::BufferTooSmall);
    ASSERT_EQ(port.Read(buf, 6, 1000u), ErrorCode::Success);
    EXPECT_EQ(std::string(buf, 6), "abcdef");
}

TEST_F(PortTcpTest, PeerCloseEndsReadWithNothingAndNextReadFailsFast) {
    peer.close();
    char buf[4];
    unsigned got = 99;
    EXPECT_EQ(port.Read(buf, 4, got, 1000u), ErrorCode::Success);
    EXPECT_EQ(got, 0u);
    EXPECT_FALSE(port.isOpened());
    const auto start = std::chrono::steady_clock::now();
    ErrorCode rc = port.Read(buf, 1, 60000u);
    EXPECT_TRUE(EnumBitOps::hasAll(rc, ErrorCode::SystemBit)) << std::hex << std::uint64_t(rc);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_TRUE(EnumBitOps::hasAll(port.Write("a", 1), ErrorCode::SystemBit));
    EXPECT_EQ(log.count("Disconnected from 127.0.0.1"), 1);
}

TEST_F(PortTcpTest, PeerCloseDuringExactReadFailsInsteadOfWaiting) {
    std::thread closer([&] {
        std::this_thread::sleep_for(20ms);
        peer.close();
    });
    char buf[4];
    EXPECT_NE(port.Read(buf, 4, 60000u), ErrorCode::Success);
    closer.join();
}

TEST_F(PortTcpTest, CloseWakesAReaderBlockedWithoutLimit) {
    ErrorCode rc = ErrorCode::Success;
    std::thread reader([&] {
        char buf[4];
        rc = port.Read(buf, 4, kInfiniteTimeout);
    });
    std::this_thread::sleep_for(30ms);
    port.Close();
    reader.join();
    EXPECT_NE(rc, ErrorCode::Success);
    EXPECT_FALSE(port.isOpened());
}

TEST_F(PortTcpTest, ReadsAndWritesRunAtTheSameTime) {
    // The peer echoes; one thread writes, another reads, through the same port.
    std::thread echo([&] {
        char b[256];
        for (;;) {
            ssize_t n = ::recv(peer.fd, b, sizeof b, 0);
            if (n <= 0)
                break;
            ::send(peer.fd, b, std::size_t(n), MSG_NOSIGNAL);
        }
    });
    constexpr int kCount = 2000;
    std::thread writer([&] {
        for (int i = 0; i < kCount; ++i) {
            char c = char(i & 0x7F);
            ASSERT_EQ(port.Write(&c, 1), ErrorCode::Success);
        }
    });
    for (int i = 0; i < kCount; ++i) {
        char c;
        ASSERT_EQ(port.Read(&c, 1, 2000u), ErrorCode::Success);
        ASSERT_EQ(c, char(i & 0x7F));
    }
    writer.join();
    ::shutdown(peer.fd, SHUT_RDWR);
    echo.join();
}

TEST(PortTcpOpen, ConnectTimesOutAgainstAFullAcceptBacklog) {
    Listener listener(0);
    // Fill the accept queue with connections nobody accepts; later handshakes are not answered.
    std::vector<int> pending;
    for (int i = 0; i < 4; ++i) {
        int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(listener.port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
        pending.push_back(fd);
    }
    std::this_thread::sleep_for(20ms);
    EventLog log;
    Port_TCP port(log.callback);
    EXPECT_EQ(port.Open("127.0.0.1", listener.port, 100, false), ErrorCode::Timeout);
    EXPECT_FALSE(port.isOpened());
    EXPECT_EQ(log.count("Timeout connecting to the port"), 1);
    EXPECT_EQ(log.count("Disconnected from 127.0.0.1"), 0); // never connected
    for (int fd : pending)
        ::close(fd);
}

TEST(PortTcpOpen, RefusedConnectShowsAtTheFirstRead) {
    int port;
    {
        Listener gone; // a free port, closed again
        port = gone.port;
    }
    EventLog log;
    Port_TCP p(log.callback);
    // The pending connect error is not examined after the wait; the link's first use reports it.
    ErrorCode rc = p.Open("127.0.0.1", std::uint16_t(port), 1000, true);
    if (rc == ErrorCode::Success) {
        char c;
        rc = p.Read(&c, 1, 1000u);
    }
    EXPECT_EQ(rc, systemError(ECONNREFUSED));
    EXPECT_FALSE(p.isOpened());
}

TEST(PortTcp, SendBufferSizeZeroIsNeededExceptForSoftControllers) {
    struct {
        unsigned type;
        bool needed;
    } const cases[] = {{0, true}, {498, true}, {499, false}, {503, false}, {504, true}, {1501, false}, {2410, true}};
    for (auto c : cases)
        EXPECT_EQ(IsSetSendBufferSize0Needed(2.0273, c.type), c.needed) << c.type;
}

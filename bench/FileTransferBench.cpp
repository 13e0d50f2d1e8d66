// File-transfer throughput against the simulated controller's file-transfer server, beside raw
// loopback TCP bulk throughput and zlib's own deflate in the same run. 20 MB of text-like and of
// random data, uploaded plain (gathered and split writes) and compressed (levels 1 and 6), and
// downloaded. Bytes per second count the file's bytes: compare uploads with BM_RawLoopback, and
// compressed uploads with BM_ZlibDeflate at the same level.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <zlib.h>

#include "shared/fileloader/TextFileLoader.h"
#include "sim/FileTransfer.h"

namespace {

namespace fs = std::filesystem;
using namespace Vaxo::Ubrix::Shared;

constexpr std::size_t kSize = 20u << 20;

fs::path benchFile(bool text) {
    fs::path p = fs::temp_directory_path() / (text ? "vaxo_bench_text.bin" : "vaxo_bench_random.bin");
    if (fs::exists(p) && fs::file_size(p) == kSize)
        return p;
    std::mt19937_64 rng(42);
    std::string data;
    data.reserve(kSize);
    if (text) {
        const char* lines[] = {"MOVE(100) AXIS(0)\r\n", "VR(12)=VR(11)*2.5\r\n", "IF IN(3) THEN OP(4,ON)\r\n",
                               "WAIT IDLE AXIS(1)\r\n", "PRINT \"done\", TABLE(100)\r\n"};
        while (data.size() < kSize)
            data += lines[rng() % 5];
        data.resize(kSize);
    } else {
        while (data.size() < kSize) {
            std::uint64_t v = rng();
            data.append(reinterpret_cast<const char*>(&v), 8);
        }
        data.resize(kSize);
    }
    std::ofstream(p, std::ios::binary).write(data.data(), std::streamsize(data.size()));
    return p;
}

struct Server {
    Vaxo::Sim::FileTransferServer server;
    std::uint16_t port = [this] {
        Vaxo::Sim::FileTransferServer::Behaviour b;
        b.keepWire = false;
        server.setBehaviour(b);
        return server.start();
    }();
};

Server& server() {
    static Server s;
    return s;
}

void Upload(benchmark::State& state, bool text, int level, bool gather) {
    const fs::path file = benchFile(text);
    TextFileLoader loader(nullptr);
    loader.setGatherWrites(gather);
    if (loader.OpenConnection("127.0.0.1", server().port, 2000) != ErrorCode::Success) {
        state.SkipWithError("cannot open the transfer link");
        return;
    }
    TextFileLoader::Options options;
    for (auto _ : state) {
        ErrorCode rc = loader.TransferFile(TextFileLoader::kUpload, "BENCH.bin", file.string(), FileType::Binary, 1,
                                           level, options, 30000, {});
        if (rc != ErrorCode::Success) {
            state.SkipWithError("upload failed");
            break;
        }
        server().server.clearTransfers();
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kSize));
}

void Download(benchmark::State& state, bool text) {
    const fs::path file = benchFile(text);
    TextFileLoader loader(nullptr);
    if (loader.OpenConnection("127.0.0.1", server().port, 2000) != ErrorCode::Success ||
        loader.TransferFile(TextFileLoader::kUpload, "DOWN.bin", file.string(), FileType::Binary, 1, 0, {}, 30000,
                            {}) != ErrorCode::Success) {
        state.SkipWithError("cannot prepare the download");
        return;
    }
    const fs::path back = fs::temp_directory_path() / "vaxo_bench_back.bin";
    for (auto _ : state) {
        if (loader.TransferFile(TextFileLoader::kDownload, "DOWN.bin", back.string(), FileType::Binary, 1, 0, {},
                                30000, {}) != ErrorCode::Success) {
            state.SkipWithError("download failed");
            break;
        }
        server().server.clearTransfers();
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kSize));
}

// 20 MB over a plain loopback TCP connection, written in 32 KB pieces and drained by a reader.
void RawLoopback(benchmark::State& state) {
    int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(listener, 1) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        ::close(listener);
        state.SkipWithError("cannot listen");
        return;
    }
    int client = ::socket(AF_INET, SOCK_STREAM, 0);
    if (::connect(client, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        ::close(client);
        ::close(listener);
        state.SkipWithError("cannot connect");
        return;
    }
    int peer = ::accept(listener, nullptr, nullptr);
    std::thread reader([peer] {
        std::vector<char> buf(1 << 16);
        while (::recv(peer, buf.data(), buf.size(), 0) > 0) {
        }
    });
    std::vector<char> chunk(32768, 'x');
    for (auto _ : state) {
        for (std::size_t sent = 0; sent < kSize;) {
            ssize_t n = ::send(client, chunk.data(), chunk.size(), MSG_NOSIGNAL);
            if (n <= 0)
                break;
            sent += std::size_t(n);
        }
    }
    ::shutdown(client, SHUT_WR);
    reader.join();
    ::close(client);
    ::close(peer);
    ::close(listener);
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kSize));
}

void Crc16Only(benchmark::State& state) {
    std::vector<unsigned char> data(kSize, 0x5A);
    for (auto _ : state)
        benchmark::DoNotOptimize(crc16Update(0, data.data(), data.size()));
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kSize));
}

// zlib's own raw deflate of the same file in one call, no link: the bound for compressed
// uploads at the same level.
void ZlibDeflate(benchmark::State& state, bool text, int level) {
    std::vector<unsigned char> in(kSize);
    {
        std::ifstream f(benchFile(text), std::ios::binary);
        f.read(reinterpret_cast<char*>(in.data()), std::streamsize(in.size()));
    }
    std::vector<unsigned char> out(compressBound(uLong(in.size())) + 1024);
    for (auto _ : state) {
        z_stream z{};
        deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        z.next_in = in.data();
        z.avail_in = uInt(in.size());
        z.next_out = out.data();
        z.avail_out = uInt(out.size());
        if (deflate(&z, Z_FINISH) != Z_STREAM_END)
            state.SkipWithError("deflate did not finish");
        benchmark::DoNotOptimize(z.total_out);
        deflateEnd(&z);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kSize));
}

// The rows, registered under stable names for the tables built from the JSON output.
struct Rows {
    Rows() {
        auto ms = [](benchmark::internal::Benchmark* b) { b->Unit(benchmark::kMillisecond)->UseRealTime(); };
        ms(benchmark::RegisterBenchmark("BM_RawLoopback", RawLoopback));
        benchmark::RegisterBenchmark("BM_Crc16", Crc16Only)->Unit(benchmark::kMillisecond);
        for (bool text : {true, false}) {
            const std::string kind = text ? "text" : "random";
            ms(benchmark::RegisterBenchmark(("BM_Upload/" + kind + "/plain").c_str(),
                                            [=](benchmark::State& s) { Upload(s, text, 0, true); }));
            ms(benchmark::RegisterBenchmark(("BM_Upload/" + kind + "/plain_split").c_str(),
                                            [=](benchmark::State& s) { Upload(s, text, 0, false); }));
            for (int level : {1, 6})
                ms(benchmark::RegisterBenchmark(("BM_Upload/" + kind + "/deflate:" + std::to_string(level)).c_str(),
                                                [=](benchmark::State& s) { Upload(s, text, level, true); }));
            ms(benchmark::RegisterBenchmark(("BM_Download/" + kind).c_str(),
                                            [=](benchmark::State& s) { Download(s, text); }));
            for (int level : {1, 6})
                ms(benchmark::RegisterBenchmark(("BM_ZlibDeflate/" + kind + "/level:" + std::to_string(level)).c_str(),
                                                [=](benchmark::State& s) { ZlibDeflate(s, text, level); }));
        }
    }
} s_rows;

} // namespace

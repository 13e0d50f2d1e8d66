// Shared pieces of the file-loader tests: temporary files, an event recorder, a loader wired to
// the simulated controller's file-transfer server.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "shared/fileloader/TextFileLoader.h"
#include "sim/FileTransfer.h"

namespace loadertest {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

inline fs::path tempDir() {
    static fs::path dir = [] {
        fs::path d = fs::temp_directory_path() / ("vaxo_files_" + std::to_string(::getpid()));
        fs::create_directories(d);
        return d;
    }();
    return dir;
}

inline fs::path writeFile(const std::string& name, const Bytes& data) {
    fs::path p = tempDir() / name;
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()));
    return p;
}

inline Bytes readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline Bytes everyByte(std::size_t repeats = 4) {
    Bytes b;
    for (std::size_t r = 0; r < repeats; ++r)
        for (int i = 0; i < 256; ++i)
            b.push_back(std::uint8_t(i));
    return b;
}

// Text-like runs, random bytes and control bytes mixed: compressible, with every escape.
inline Bytes mixed(std::size_t size, unsigned seed = 7) {
    std::mt19937 rng(seed);
    Bytes b;
    b.reserve(size);
    const std::string words[] = {"MOVE(100) AXIS(0)\r\n", "VR(12)=3.5\r\n", "\\path\\", "\x01\x02\x03", "PRINT 1\r\n"};
    while (b.size() < size) {
        if (rng() % 4 == 0) {
            for (int i = 0; i < 64 && b.size() < size; ++i)
                b.push_back(std::uint8_t(rng()));
        } else {
            const auto& w = words[rng() % 5];
            for (char c : w)
                if (b.size() < size)
                    b.push_back(std::uint8_t(c));
        }
    }
    return b;
}

struct Events {
    std::mutex mutex;
    std::vector<std::string> texts;
    Vaxo::Ubrix::Shared::EventCallback callback() {
        return [this](Vaxo::Ubrix::Shared::EventType, std::uint64_t, std::string_view t) {
            std::lock_guard lock(mutex);
            texts.emplace_back(t);
        };
    }
    bool has(const std::string& prefix) {
        std::lock_guard lock(mutex);
        return std::any_of(texts.begin(), texts.end(), [&](const std::string& t) { return t.rfind(prefix, 0) == 0; });
    }
    std::string all() {
        std::lock_guard lock(mutex);
        std::string s;
        for (auto& t : texts)
            s += t + "\n";
        return s;
    }
};

class LoaderTest : public ::testing::Test {
protected:
    using Loader = Vaxo::Ubrix::Shared::TextFileLoader;
    using FileType = Vaxo::Ubrix::Shared::FileType;
    using ErrorCode = Vaxo::Ubrix::Shared::ErrorCode;

    void SetUp() override {
        port = server.start();
        ASSERT_NE(port, 0);
        loader = std::make_unique<Loader>(events.callback());
        loader->setFirmwareVersion(2.0335);
        ASSERT_EQ(loader->OpenConnection("127.0.0.1", port, 2000), ErrorCode::Success);
    }
    void TearDown() override {
        loader.reset();
        server.stop();
    }

    ErrorCode upload(const std::string& remote, const fs::path& local, int level = 0, std::uint32_t mode = 1,
                     int timeout = 20000, FileType type = FileType::Binary) {
        Loader::Options o;
        o.compressedFlag = 1;
        return loader->TransferFile(Loader::kUpload, remote, local.string(), type, mode, level, o, timeout, {});
    }
    ErrorCode download(const std::string& remote, const fs::path& local, int timeout = 20000) {
        return loader->TransferFile(Loader::kDownload, remote, local.string(), FileType::Binary, 1, 0, {}, timeout,
                                    {});
    }

    Vaxo::Sim::FileTransferServer server;
    std::uint16_t port = 0;
    Events events;
    std::unique_ptr<Loader> loader;
};

} // namespace loadertest

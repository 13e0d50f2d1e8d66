// A connection opened through the flat interface against an in-process simulated controller
// with a fresh seed, and helpers that build the bytes a request must have on the wire.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <vaxo/vaxo.h>

#include "sim/Simulator.h"

namespace vaxotest {

inline std::uint32_t freshSeed() {
    static std::uint32_t seed = std::random_device{}();
    return ++seed;
}

struct EventLog {
    std::mutex mutex;
    std::vector<std::string> texts;
    static void cb(void* user, uint32_t, uint64_t, const char* text, uint32_t length) {
        auto* self = static_cast<EventLog*>(user);
        std::lock_guard lock(self->mutex);
        self->texts.emplace_back(text, length);
    }
};

class SimConnection : public ::testing::Test {
protected:
    void startSim(Vaxo::Sim::Config cfg) {
        cfg.seed = freshSeed();
        sim = std::make_unique<Vaxo::Sim::Simulator>(cfg);
        port = sim->start();
        ASSERT_NE(port, 0);
        RecordProperty("seed", std::to_string(cfg.seed));
    }
    void makeContext(uint32_t commandTimeout = 5000) {
        const ::VersionInfo v{1, 2, 1, 1196};
        ASSERT_EQ(vaxo_CreateContext(&v, EventLog::cb, &events, &h), 0u);
        ASSERT_EQ(vaxo_SetTcpHostName(h, "127.0.0.1"), 0u);
        ASSERT_EQ(vaxo_SetTcpPort(h, port), 0u);
        ASSERT_EQ(vaxo_SetTcpConnectTimeout(h, 2000), 0u);
        ASSERT_EQ(vaxo_SetTcpCommandTimeout(h, commandTimeout), 0u);
    }
    void open(Vaxo::Sim::Config cfg, uint32_t commandTimeout = 5000) {
        startSim(cfg);
        makeContext(commandTimeout);
        ASSERT_EQ(vaxo_OpenConnection(h), 0u);
        sim->clearRequests();
    }
    void TearDown() override {
        if (h)
            vaxo_DestroyContext(h);
        if (sim)
            sim->stop();
    }

    // Token code bytes as the library writes them: one byte below EXTENDED_TOKEN, else two.
    std::vector<uint8_t> tok(std::string_view name) const {
        const uint16_t code = sim->codeOf(name);
        const uint16_t ext = sim->codeOf("EXTENDED_TOKEN");
        EXPECT_NE(code, 0xFFFF) << name;
        if (code < ext)
            return {uint8_t(code)};
        return {uint8_t(ext), uint8_t(code - ext)};
    }
    std::vector<uint8_t> num(double v) const {
        std::vector<uint8_t> out = tok("NUMBER");
        if (ieee) {
            uint8_t b[8];
            std::memcpy(b, &v, 8);
            out.insert(out.end(), b, b + 8);
        } else {
            out.insert(out.end(), {0, 0, 0, 0});
            uint32_t w = 0x80000000u; // zero
            if (v != 0) {
                // Positive, normalised values only: exponent byte, sign 0, 23-bit fraction.
                const int e = int(std::floor(std::log2(v)));
                const double frac = v / std::ldexp(1.0, e) - 1.0;
                w = (uint32_t(uint8_t(int8_t(e))) << 24) | uint32_t(std::lround(frac * 8388608.0));
            }
            for (int i = 0; i < 4; ++i)
                out[out.size() - 4 + i] = uint8_t(w >> (8 * i));
        }
        auto eox = tok("EOX");
        out.insert(out.end(), eox.begin(), eox.end());
        return out;
    }
    template <class... Parts>
    std::vector<uint8_t> cat(const Parts&... parts) const {
        std::vector<uint8_t> out;
        (out.insert(out.end(), parts.begin(), parts.end()), ...);
        return out;
    }
    // The library's escaping of a short request: 0x1B before each 0x1B or 0x01, except a
    // bare final 0x01.
    static std::vector<uint8_t> escaped(const std::vector<uint8_t>& in) {
        std::vector<uint8_t> out;
        for (std::size_t i = 0; i < in.size(); ++i) {
            if ((in[i] == 0x1B || in[i] == 0x01) && !(in[i] == 0x01 && i + 1 == in.size()))
                out.push_back(0x1B);
            out.push_back(in[i]);
        }
        return out;
    }

    std::unique_ptr<Vaxo::Sim::Simulator> sim;
    uint16_t port = 0;
    VaxoHandle h = nullptr;
    EventLog events;
    bool ieee = true;
};

} // namespace vaxotest

// Test support for the token protocol: a Port that serves scripted bytes and records every
// write, an event recorder, and a token table builder.
#pragma once

#include "shared/protocol/Token.h"
#include "shared/transport/Port.h"

#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

namespace wire_test {

using namespace Vaxo::Ubrix::Shared;

struct Events {
    struct Event {
        EventType type;
        std::uint64_t value;
        std::string text;
    };
    std::vector<Event> list;
    EventCallback callback = [this](EventType t, std::uint64_t v, std::string_view text) {
        list.push_back({t, v, std::string(text)});
    };
    bool has(std::string_view text, ErrorCode code) const {
        for (auto& e : list)
            if (e.text == text && e.value == std::uint64_t(code) && e.type == EventType::Error)
                return true;
        return false;
    }
};

class ScriptPort final : public Port {
public:
    explicit ScriptPort(const EventCallback& cb) : Port(cb) {}
    std::string input;            // bytes still to be read
    std::vector<std::string> writes;
    ErrorCode writeError = ErrorCode::Success;

    ErrorCode Close() override { return ErrorCode::Success; }
    ErrorCode Write(const char* data, unsigned int length) override {
        if (failed(writeError))
            return writeError;
        writes.emplace_back(data, length);
        return ErrorCode::Success;
    }
    ErrorCode Read(char* buffer, unsigned int size, unsigned int) override {
        if (input.size() < size)
            return ErrorCode::Timeout;
        input.copy(buffer, size);
        input.erase(0, size);
        return ErrorCode::Success;
    }
    ErrorCode UnRead(const char* data, unsigned int length) override {
        input.insert(0, data, length);
        return ErrorCode::Success;
    }
    ErrorCode Read(char* buffer, unsigned int size, unsigned int& got, unsigned int) override {
        got = unsigned(std::min<std::size_t>(size, input.size()));
        input.copy(buffer, got);
        input.erase(0, got);
        return ErrorCode::Success;
    }
    void setWriteSniffer(ISniffer*) override {}
    void setReadSniffer(ISniffer*) override {}
    bool isOpened() const override { return true; }
    std::uint16_t portNumber() const override { return 0; }
    std::string hostName() const override { return {}; }
};

inline std::string bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values)
        s.push_back(char(v));
    return s;
}

// A table with the four built-in names at the given codes plus the given records.
inline std::string table(std::initializer_list<std::string> records, int extended = 255, int zero = 200,
                         int unknown = 57, int tokentable = 0) {
    std::string t = "C" + std::to_string(tokentable) + "TOKENTABLE,0,0,0,0,0,0,>\r\n";
    t += "S" + std::to_string(zero) + "ZERO\r\n";
    t += "S" + std::to_string(extended) + "EXTENDED_TOKEN\r\n";
    t += "S" + std::to_string(unknown) + "UNKNOWN\r\n";
    for (auto& r : records)
        t += r + "\r\n";
    return t + "[EOT]\r\n";
}

} // namespace wire_test

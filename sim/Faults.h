// Fault switches of the simulated controller. Each switch applies to the next `count` replies
// whose request has the given command (the first token's or system variable's name; empty:
// any request), or to every such reply until clear() when count is 0. Switches that meet the
// same reply combine. Unknown-token nudges have no reply and never use up a switch.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Vaxo::Sim {

struct FaultScope {
    std::string command;  // "" = any request
    unsigned count = 1;   // 0 = until clear()
};

// What happens to one reply.
struct FaultEffects {
    static constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();
    std::chrono::milliseconds delay{0};     // wait before the first byte
    std::chrono::milliseconds perByte{0};   // write in pieces with this pause after each
    std::size_t piece = 1;                  // bytes per piece when trickling
    std::size_t stopAfter = kNever;         // write only this many bytes, then nothing more of it
    std::size_t closeAfter = kNever;        // write this many bytes, then close the connection
    bool replaceWithGarbage = false;
    std::string garbage;                    // the bytes sent instead of the reply
    std::uint16_t errorStatus = 0;          // answer value 0 with this status instead of executing
    bool replaceWithText = false;           // answer `text` as a text reply instead of executing
    std::string text;
    std::string endless;                    // after the reply, send this again and again until the peer goes

    bool any() const noexcept {
        return delay.count() || perByte.count() || stopAfter != kNever || closeAfter != kNever || replaceWithGarbage ||
               errorStatus || replaceWithText || !endless.empty();
    }
};

class Faults {
public:
    void delay(std::chrono::milliseconds d, FaultScope scope = {});
    // The reply is written `piece` bytes at a time with `pause` after each piece: slow but
    // steady, no gap longer than the pause.
    void trickle(std::chrono::milliseconds pause, FaultScope scope = {}, std::size_t piece = 1);
    void stopAfter(std::size_t bytes, FaultScope scope = {});
    void closeAfter(std::size_t bytes, FaultScope scope = {});
    void garbage(std::string bytes, FaultScope scope = {});
    void errorStatus(std::uint16_t status, FaultScope scope = {});
    // A reply of the wrong shape: the text, then the standard response, whatever was asked.
    void textReply(std::string text, FaultScope scope = {});
    // A reply that never ends: after it (or what stopAfter leaves of it), `chunk` is sent over
    // and over, a millisecond apart, until the client goes away.
    void endless(std::string chunk, FaultScope scope = {});
    void clear();
    // Switches still armed.
    std::size_t armed() const;

    // Uses one application of every switch that matches command and returns their combination.
    FaultEffects take(std::string_view command);

private:
    enum class Kind : std::uint8_t { Delay, Trickle, Stop, Close, Garbage, Error, Text, Endless };
    struct Spec {
        Kind kind;
        std::chrono::milliseconds ms{0};
        std::size_t bytes = 0;
        std::uint16_t status = 0;
        std::string data;
        FaultScope scope;
    };
    void add(Spec s);

    mutable std::mutex mutex_;
    std::vector<Spec> specs_;
    std::atomic<bool> any_{false};
};

} // namespace Vaxo::Sim

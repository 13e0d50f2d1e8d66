// The simulated controller's pure core: its token table, memory and parameters (Controller),
// and one connection's decoding and answering (Session). No sockets here: a Session takes the
// bytes a client sent and produces the bytes the controller answers.
//
// Adding a family of commands: write sim/<Family>Handlers.cpp defining
//     void register<Family>Handlers(Dispatch& d) { d.add("MOVE", &onMove); ... }
// and add VAXO_SIM_FAMILY(<Family>) to sim/Families.def. A handler reads the decoded request
// through Exchange::args and answers through Exchange (answer, answerText, number). Handlers run
// with the controller's mutex held; family state lives in Controller::extension<T>().
#pragma once

#include "sim/Decoder.h"
#include "sim/Faults.h"
#include "sim/Request.h"
#include "sim/TokenTable.h"
#include "sim/Wire.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <typeindex>
#include <unordered_map>
#include <vector>

namespace Vaxo::Sim {

struct Config {
    std::uint32_t seed = 1;            // shuffles the token codes
    double controllerType = 1664;      // CONTROL; mod 1000 <= 299 (not 266): TMS320, 4-byte numbers
    double firmware = 2.0330;          // VERSION; from 1.51 requests are escaped
    bool systemVariable16 = false;     // the table carries SYSTEMVARIABLE16 (system-variable codes up to 2047)
    std::size_t vrCount = 65536;       // VR(0) .. VR(vrCount - 1)
    std::size_t tableCount = 128000;   // TABLE(0) .. TABLE(tableCount - 1)
    bool recordRequests = true;        // keep every decoded request for requests()
    std::size_t maxRecorded = 1u << 20;  // older records are dropped beyond this
    bool bracketedHeader = false;      // the table starts with a "[TOKENS]" line, which readers skip
    bool portModifier = true;          // the table carries the PORT modifier
};

// Where a connection stands in the open sequence; it decides escaping and number format.
enum class Phase : std::uint8_t {
    Table,      // nothing read yet: only TOKENTABLE with the default codes
    Reset,      // table sent: escaped requests, TMS320 numbers (what a library knows before CONTROL)
    Typed,      // CONTROL answered: the type's number format and escaping
    Versioned,  // VERSION answered: escaping from firmware 1.51, the 16-bit system-variable rules
};

class Controller;
class Session;
struct Exchange;

using Handler = void (*)(Exchange&);

// Command token (or system-variable) name -> handler.
class Dispatch {
public:
    // A request led by a system variable goes to the handler of that variable's name if any,
    // else to the one registered under this key.
    static constexpr std::string_view kSystemVariable = "$SYSVAR";

    void add(std::string_view command, Handler h) { map_[std::string(command)] = h; }
    Handler find(std::string_view command) const {
        auto it = map_.find(command);
        return it == map_.end() ? nullptr : it->second;
    }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, Handler, Hash, std::equal_to<>> map_;
};

// Reads the items of a request after its command.
class Args {
public:
    Args(const std::vector<Item>& items, std::size_t pos) : items_(items), pos_(pos) {}
    bool atEnd() const noexcept { return pos_ >= items_.size(); }
    const Item* peek() const noexcept { return atEnd() ? nullptr : &items_[pos_]; }
    // The next item, consumed; null at the end.
    const Item* take() noexcept { return atEnd() ? nullptr : &items_[pos_++]; }
    std::size_t position() const noexcept { return pos_; }
    // Consumes the next item when it is that token.
    bool accept(std::string_view token) noexcept;
    // Consumes the next item when it is a number.
    bool number(double& v) noexcept;
    bool text(std::string_view& t) noexcept;
    // OPENBRACKETS value {COMMA value} CLOSEBRACKETS: 0, or the status the controller answers.
    std::uint16_t bracketed(std::vector<double>& values);

private:
    const std::vector<Item>& items_;
    std::size_t pos_;
};

// One request being answered.
struct Exchange {
    Controller& controller;
    Session& session;
    Request& request;          // the decoded request (a data block's raw bytes for block transfers)
    Args args;                 // positioned after the command item
    NumberFormat format;       // the link's number format for this reply
    std::vector<std::uint8_t>& reply;
    std::vector<double>& scratch;  // reusable space for argument lists
    std::uint16_t status = 0;  // the status answered last

    // A number in the link's format, nothing else.
    void number(double v) { putNumber(reply, v, format); }
    // The standard response: value, then status.
    void answer(double value, std::uint16_t st = 0) {
        putNumber(reply, value, format);
        putNumber(reply, st, format);
        status = st;
    }
    void fail(std::uint16_t st) { answer(0.0, st); }
    // A text reply: the text, then the standard response with value 0 (whose first byte, 0x00,
    // ends the text).
    void answerText(std::string_view text, std::uint16_t st = 0) {
        reply.insert(reply.end(), text.begin(), text.end());
        answer(0.0, st);
    }
};

// An index from a number: a whole number in [0, size).
bool indexOf(double v, std::size_t size, std::size_t& index) noexcept;

class Controller {
public:
    explicit Controller(Config cfg);
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    const Config& config() const noexcept { return cfg_; }
    const TokenTable& table() const noexcept { return table_; }
    const TokenTable& defaultTable() const noexcept { return defaults_; }
    // This run's code of a name (the first record; for system variables the variable code).
    // 0xFFFF when the table has no such name.
    std::uint16_t codeOf(std::string_view name) const noexcept;
    Dispatch& dispatch() noexcept { return dispatch_; }
    const Dispatch& dispatch() const noexcept { return dispatch_; }
    Faults& faults() noexcept { return faults_; }
    // Escaping with the 16-bit system-variable high byte as a token code (see SysVarScheme::Bodge).
    bool sysVarBodge() const noexcept;

    // --- state; the caller holds mutex() (handlers always do) ---
    std::mutex& mutex() const noexcept { return mutex_; }
    std::vector<double>& vr() noexcept { return vr_; }
    std::vector<double>& tableMemory() noexcept { return tableMem_; }
    // System parameters by variable code; modified ones by (code, modifier code, index).
    double systemParameter(std::uint16_t code) const noexcept;
    void setSystemParameter(std::uint16_t code, double v);
    bool systemReadOnly(std::uint16_t code) const noexcept;
    double modifiedParameter(std::uint16_t code, std::uint16_t modifier, std::uint32_t index) const noexcept;
    void setModifiedParameter(std::uint16_t code, std::uint16_t modifier, std::uint32_t index, double v);
    // State of a family of commands, created on first use.
    template <class T>
    T& extension() {
        auto& slot = extensions_[std::type_index(typeid(T))];
        if (!slot) slot = std::make_shared<T>();
        return *static_cast<T*>(slot.get());
    }

    // --- records (own lock) ---
    void record(const Request& r);
    std::vector<Request> requests() const;
    void clearRequests();
    std::uint64_t nextSequence() noexcept { return sequence_.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t nextConnection() noexcept { return connections_.fetch_add(1, std::memory_order_relaxed) + 1; }
    void countNudge() noexcept { nudges_.fetch_add(1, std::memory_order_relaxed); }
    std::size_t nudgesSeen() const noexcept { return nudges_.load(std::memory_order_relaxed); }

private:
    Config cfg_;
    TokenTable table_;
    TokenTable defaults_;
    Dispatch dispatch_;
    Faults faults_;

    mutable std::mutex mutex_;
    std::vector<double> vr_, tableMem_;
    std::vector<double> system_;
    std::vector<std::uint8_t> systemReadOnly_;
    std::unordered_map<std::uint64_t, double> modified_;
    std::unordered_map<std::type_index, std::shared_ptr<void>> extensions_;

    mutable std::mutex recordMutex_;
    std::deque<Request> records_;
    std::atomic<std::uint64_t> sequence_{0};
    std::atomic<std::uint32_t> connections_{0};
    std::atomic<std::size_t> nudges_{0};
};

// A reply ready to go out, with what the fault switches do to it.
struct Outgoing {
    std::vector<std::uint8_t> bytes;
    FaultEffects effects;
};

// One client connection: buffers what arrives, decodes requests in the phase's format, answers.
class Session {
public:
    Session(Controller& c, std::uint32_t connection);

    void feed(const std::uint8_t* data, std::size_t n);
    // Decodes and answers the next request; false when the buffered bytes hold no complete one.
    bool next(Outgoing& out);
    // Pure form: feeds the bytes and returns every reply they complete, concatenated. Delays are
    // not waited for; a reply cut by stopAfter/closeAfter is cut, and after closeAfter nothing more
    // is answered.
    std::vector<std::uint8_t> handle(const std::uint8_t* data, std::size_t n);
    std::vector<std::uint8_t> handle(const std::vector<std::uint8_t>& bytes) { return handle(bytes.data(), bytes.size()); }

    Phase phase() const noexcept { return phase_; }
    void setPhase(Phase p) noexcept { phase_ = p; }
    bool escaped() const noexcept;
    NumberFormat format() const noexcept;
    // The longest request in bytes (escapes removed, the final ZERO included) the controller
    // takes: 200 from firmware 2.0273 on (compareFirmware), else and before VERSION 124.
    std::size_t remoteBuffer() const noexcept;
    std::uint32_t connection() const noexcept { return connection_; }
    bool closed() const noexcept { return closed_; }

    // For block transfers: the next `values` values are a data block. Each value is NUMBER, its
    // bytes in the link's format and EOX, with nothing between values, not escaped, no ZERO.
    // When all have arrived, `done` runs as the block's handler (its request holds one Number
    // item per value and the raw bytes) and answers it. Anything else where a value must start
    // or end (a bare number, say) refuses the block with "Number expected" and drops what has
    // arrived of it. Fault switches see the block under `command`.
    void expectValues(std::size_t values, std::string command, std::function<void(Exchange&)> done);

    // Largest amount of buffered bytes without a complete request before the controller gives up.
    static constexpr std::size_t kMaxRequest = 64 * 1024;

private:
    void answer(Outgoing& out, std::uint16_t decodeStatus, std::string_view command, const std::function<void(Exchange&)>* block);

    Controller& c_;
    std::uint32_t connection_;
    Phase phase_ = Phase::Table;
    bool closed_ = false;
    std::vector<std::uint8_t> in_;
    std::size_t head_ = 0;
    Request req_;
    std::vector<double> scratch_;
    // Takes the values of a data block from the buffered bytes: true when the block is complete
    // or refused (then refused is set), false when more bytes must arrive.
    bool takeValues(bool& refused);

    struct Intake {
        std::size_t remaining = 0;  // values still to come
        std::string command;
        std::function<void(Exchange&)> done;
        std::vector<std::uint8_t> data;
        std::vector<Item> items;
    } intake_;
};

} // namespace Vaxo::Sim

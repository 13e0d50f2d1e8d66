// The base of every controller command: the ready handshake with the reader pump, the
// error slot, and the reply readers that command classes build on.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "shared/parsers/ParserTypes.h"
#include "shared/receive/ICommand.h"

namespace Vaxo::Ubrix::TCP {

using Shared::ErrorCode;
class Connection_TCP;

// Where a standard response goes: value and status, each optional.
struct stStandardCmdReply {
    double* value = nullptr;
    unsigned short* status = nullptr;
};

// Calls a host's callable while a reply is read, on the reader thread. A callable that throws
// is not called again, and the reply is still read to its end so that the link stays in step;
// the command then returns FailPlain, which does not drop the link.
class HostCalls {
public:
    template <class Fn, class... Args>
    void operator()(const Fn& fn, Args&&... args) {
        if (m_thrown || !fn)
            return;
        try {
            fn(std::forward<Args>(args)...);
        } catch (...) {
            m_thrown = true;
        }
    }
    // The reply's own error first; then FailPlain if the callable threw.
    ErrorCode result(ErrorCode replyError) const {
        return m_thrown && !Shared::failed(replyError) ? ErrorCode::FailPlain : replyError;
    }

private:
    bool m_thrown = false;
};

class Command : public Shared::ICommand {
public:
    explicit Command(Connection_TCP& connection);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    void waitReady() override;
    void setReady(ErrorCode code) override;
    void clearReady() override;
    std::uint32_t id() const override { return m_id; }

    ErrorCode setError(ErrorCode code);
    ErrorCode getError() const { return m_error; }
    ErrorCode forceACK();
    ErrorCode readStandardResponse(double* value, unsigned short* status);
    // The value-and-status reply of a VR or parameter write (the status rounded, 32 bits).
    ErrorCode readValueStatusReply();
    ErrorCode readReplyToBuff(char* buffer, unsigned int& size, bool setErr);
    ErrorCode readReplyToString(std::string& out);
    ErrorCode readReplyWithCallback(const std::function<void(const Shared::DataStreamPacket&, const char*)>& sink);

    static bool IsFatalError(ErrorCode code) { return Shared::isFatal(code); }

    Connection_TCP& connection() { return m_connection; }

protected:
    ErrorCode m_error = ErrorCode::Success;
    Connection_TCP& m_connection;

private:
    std::mutex* m_sync;
    std::atomic<bool> m_ready{false};
    std::condition_variable m_readyCondition;
    std::uint32_t m_id;

    static std::atomic<std::uint32_t> s_nextId;
};

// A command with an empty request that throws away whatever the controller still sends.
class CmdPumpPort : public Command {
public:
    using Command::Command;
    ErrorCode send() { return ErrorCode::Success; }
    ErrorCode readReply() override;
};

} // namespace Vaxo::Ubrix::TCP

// One reader thread per connection: it reads the controller's replies in the order the
// requests were written. The protocol has no request tags, so the order of this queue is
// the only thing that pairs a reply with its request.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "shared/receive/ICommand.h"
#include "shared/receive/SafeQueue.h"

namespace Vaxo::Ubrix::Shared {

class ReaderPump {
public:
    static constexpr int kIdleTimeoutMs = 10000;

    ReaderPump() = default;
    ~ReaderPump();
    ReaderPump(const ReaderPump&) = delete;
    ReaderPump& operator=(const ReaderPump&) = delete;

    // Starts the worker; a worker still leaving after a stop that did not wait for it is
    // joined first, so that the new one does not see the old one's stop request.
    void start();
    // Raises the stop and waits for the worker to drain its queue and leave (unless called on
    // the pump thread, which only raises it).
    void stop();
    // Raises the stop without waiting for the worker: for fatal errors, which may be met on a
    // caller's thread that holds the send lock the worker drains under.
    void raiseStop();
    // Raised by a host closing the link before it closes the port: the command whose reply is
    // being read when the port goes away finishes with Disconnected, like the queued ones.
    void requestStop() {
        m_abandon.store(true, std::memory_order_release);
        raiseStop();
    }
    bool isRunning() const { return m_running.load(std::memory_order_acquire); }
    // False on every thread once the worker has been joined: a joined thread's id may be
    // handed to a thread the host starts afterwards.
    bool isInPumpThread() const { return m_pumpThreadId.load(std::memory_order_acquire) == std::this_thread::get_id(); }
    // True on the thread that is sending under the send lock (a write sniffer or an event
    // raised by a failed write runs there): it may neither queue a command nor wait for the
    // worker, which drains under that lock.
    bool holdsSendLock() const { return m_sendingThread.load(std::memory_order_acquire) == std::this_thread::get_id(); }
    // Waits until the worker has seen its queue empty: true. False as soon as a stop is raised,
    // for a caller that holds the send lock must then let go of it for the worker to drain.
    bool waitQueueEmpty();

    // Encodes and writes a request (the send step) and queues its command, as one step
    // under the send lock, so that queue order is wire order.
    template <typename SendStep>
    ErrorCode queueCommand(ICommand& command, SendStep&& send) {
        if (m_stopRequested.load(std::memory_order_acquire) || !isRunning())
            return ErrorCode::Disconnected;
        command.clearReady();
        std::lock_guard lock(m_sendMutex);
        // Checked again under the lock: the worker drains under it when it stops, so a
        // command is either drained or refused, never left waiting.
        if (m_stopRequested.load(std::memory_order_acquire) || !isRunning())
            return ErrorCode::Disconnected;
        m_currentCommandId.store(command.id(), std::memory_order_release);
        const ErrorCode result = sendMarked(send);
        if (result == ErrorCode::Success) {
            // Under the idle lock: the worker looks at the queue and records it idle as one step
            // under it, and must not record idle between this store and the push. A block write
            // trusts that flag before it reads an answer on its own thread.
            std::lock_guard idle(m_idleMutex);
            m_queueIdle.store(false, std::memory_order_release);
            m_commandQueue.Push(&command);
        } else if (m_abandon.load(std::memory_order_acquire)) {
            // The host closed the link under this send: that, not the port's complaint, is why.
            return ErrorCode::Disconnected;
        }
        return result;
    }

    // Runs step only while command id is still the last one sent and nobody is sending.
    template <typename Step>
    ErrorCode executeIfNoNextCommand(std::uint32_t id, Step&& step) {
        if (m_stopRequested.load(std::memory_order_acquire) || !isRunning())
            return ErrorCode::Disconnected;
        ErrorCode result = ErrorCode::Abort;
        if (id != m_currentCommandId.load(std::memory_order_acquire))
            return result;
        std::unique_lock lock(m_sendMutex, std::try_to_lock);
        if (lock.owns_lock() && id == m_currentCommandId.load(std::memory_order_acquire))
            result = sendMarked(step);
        return result;
    }

    std::uint32_t currentCommandId() const { return m_currentCommandId.load(std::memory_order_acquire); }

private:
    void worker();
    // Runs a send step with this thread marked as the sender (the send lock is held).
    template <typename Step>
    ErrorCode sendMarked(Step& step) {
        struct Mark {
            std::atomic<std::thread::id>& id;
            explicit Mark(std::atomic<std::thread::id>& i) : id(i) { id.store(std::this_thread::get_id(), std::memory_order_release); }
            ~Mark() { id.store(std::thread::id(), std::memory_order_release); }
        } mark(m_sendingThread);
        return step();
    }

    std::thread m_pumpThread;
    std::atomic<std::thread::id> m_pumpThreadId{};
    std::atomic<std::thread::id> m_sendingThread{};
    std::atomic<bool> m_stopRequested{false};
    std::atomic<bool> m_abandon{false};
    std::atomic<bool> m_queueIdle{true};
    std::atomic<bool> m_running{false};
    std::atomic<std::uint32_t> m_currentCommandId{0xFFFFFFFFu};
    SafeQueue<ICommand*> m_commandQueue;
    std::mutex m_sendMutex;
    std::mutex m_idleMutex;
    std::condition_variable m_idleCondition;
    std::mutex m_lifecycleMutex; // start and stop against each other
};

} // namespace Vaxo::Ubrix::Shared

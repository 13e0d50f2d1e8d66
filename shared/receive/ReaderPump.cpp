// The reader thread's loop, its start and stop, and the idle handshake.
#include "shared/receive/ReaderPump.h"

#include "shared/receive/ObjectPool.h"

#include <chrono>

namespace Vaxo::Ubrix::Shared {

void ReaderPump::start() {
    std::lock_guard life(m_lifecycleMutex);
    if (isRunning() && !m_stopRequested.load(std::memory_order_acquire))
        return;
    // A worker that raised its own stop (a fatal error) may still be draining: it leaves once
    // it has its queue empty, so waiting for it is bounded.
    if (isInPumpThread())
        return; // an open from inside a reply callback: the commands it needs are refused there
    if (m_pumpThread.joinable())
        m_pumpThread.join();
    m_pumpThreadId.store(std::thread::id(), std::memory_order_release);
    while (isRunning()) // a stop on another thread is joining it
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    m_stopRequested.store(false, std::memory_order_release);
    m_abandon.store(false, std::memory_order_release);
    {
        std::lock_guard lock(m_idleMutex);
        m_queueIdle.store(false, std::memory_order_release);
    }
    // The worker is told its own thread id before it reads anything, so that the check
    // against commands issued from reply callbacks holds from the first reply on.
    m_pumpThread = std::thread([this] { worker(); });
    m_pumpThreadId.store(m_pumpThread.get_id(), std::memory_order_release);
    waitQueueEmpty();
}

void ReaderPump::raiseStop() {
    m_stopRequested.store(true, std::memory_order_release);
    m_commandQueue.Push(nullptr);
    // A caller waiting for the queue to drain while it holds the send lock must let go, or the
    // worker could never take the lock to drain.
    std::lock_guard lock(m_idleMutex);
    m_idleCondition.notify_all();
}

ReaderPump::~ReaderPump() {
    stop();
    // Destroyed on its own thread (the owner deleted from a reply callback): nothing can join
    // the worker any more, and it only has to return.
    if (m_pumpThread.joinable())
        m_pumpThread.detach();
}

void ReaderPump::stop() {
    std::thread joinable;
    {
        std::lock_guard life(m_lifecycleMutex);
        raiseStop();
        // Raised from a reply on the pump thread, or by a sender under the send lock that the
        // worker drains under: only the flag. The next start (or the destructor) joins.
        if (isInPumpThread() || holdsSendLock())
            return;
        if (m_pumpThread.joinable())
            joinable = std::move(m_pumpThread);
    }
    if (joinable.joinable()) {
        joinable.join();
        // The joined thread's id may now be given to any new thread: it is no longer the pump's.
        m_pumpThreadId.store(std::thread::id(), std::memory_order_release);
    }
}

bool ReaderPump::waitQueueEmpty() {
    std::unique_lock lock(m_idleMutex);
    if (!m_queueIdle.load(std::memory_order_acquire)) {
        m_commandQueue.Push(nullptr);
        m_idleCondition.wait(lock, [this] {
            return m_queueIdle.load(std::memory_order_acquire) || m_stopRequested.load(std::memory_order_acquire);
        });
    }
    return m_queueIdle.load(std::memory_order_acquire) && !m_stopRequested.load(std::memory_order_acquire);
}

void ReaderPump::worker() {
    StateSetReset<std::atomic<bool>, true, false> runningGuard(m_running);
    for (;;) {
        if (m_stopRequested.load(std::memory_order_acquire)) {
            std::lock_guard sendLock(m_sendMutex);
            while (!m_commandQueue.IsEmpty()) {
                ICommand* cmd = m_commandQueue.Pop();
                if (cmd)
                    cmd->setReady(ErrorCode::Disconnected);
            }
            std::lock_guard lock(m_idleMutex);
            m_queueIdle.store(true, std::memory_order_release);
            m_idleCondition.notify_all();
            return;
        }
        if (ICommand* cmd = m_commandQueue.Pop(kIdleTimeoutMs)) {
            const ErrorCode read = cmd->readReply();
            // A reply read in full keeps its result, whatever close came meanwhile; a reply the
            // link failed under while the host was closing was never read: Disconnected.
            const bool linkFailed = isFatal(read) || EnumBitOps::hasAll(read, ErrorCode::SystemBit);
            cmd->setReady(linkFailed && m_abandon.load(std::memory_order_acquire) ? ErrorCode::Disconnected
                                                                                  : ErrorCode::Success);
        }
        std::lock_guard lock(m_idleMutex);
        const bool idle = m_commandQueue.IsEmpty();
        m_queueIdle.store(idle, std::memory_order_release);
        if (idle)
            m_idleCondition.notify_all();
    }
}

} // namespace Vaxo::Ubrix::Shared

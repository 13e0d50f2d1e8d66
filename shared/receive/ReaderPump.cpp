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

void ReaderPump::stop() {
    std::thread joinable;
    {
        std::lock_guard life(m_lifecycleMutex);
        raiseStop();
        if (isInPumpThread())
            return; // raised from a reply on the pump thread: only the flag
        if (m_pumpThread.joinable())
            joinable = std::move(m_pumpThread);
    }
    if (joinable.joinable())
        joinable.join();
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
            cmd->readReply();
            cmd->setReady(m_abandon.load(std::memory_order_acquire) ? ErrorCode::Disconnected : ErrorCode::Success);
        }
        std::lock_guard lock(m_idleMutex);
        const bool idle = m_commandQueue.IsEmpty();
        m_queueIdle.store(idle, std::memory_order_release);
        if (idle)
            m_idleCondition.notify_all();
    }
}

} // namespace Vaxo::Ubrix::Shared

// The pump's queue of commands awaiting a reply: a locked deque with a blocking pop.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace Vaxo::Ubrix::Shared {

template <typename T>
class SafeQueue {
public:
    void Push(const T& item) {
        {
            std::lock_guard lock(m_mutex);
            m_queue.push_back(item);
        }
        m_cond.notify_one();
    }

    T Pop() {
        std::unique_lock lock(m_mutex);
        m_cond.wait(lock, [this] { return !m_queue.empty(); });
        T item = m_queue.front();
        m_queue.pop_front();
        return item;
    }

    // Waits up to timeoutMs; a timed-out wait returns a null element without looking again.
    T Pop(int timeoutMs) {
        std::unique_lock lock(m_mutex);
        const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            if (!m_queue.empty()) {
                T item = m_queue.front();
                m_queue.pop_front();
                return item;
            }
            if (m_cond.wait_until(lock, deadline) == std::cv_status::timeout)
                return T{};
        }
    }

    bool IsEmpty() const {
        std::lock_guard lock(m_mutex);
        return m_queue.empty();
    }

private:
    std::deque<T> m_queue;
    mutable std::mutex m_mutex;
    std::condition_variable m_cond;
};

} // namespace Vaxo::Ubrix::Shared

// The pump's queue of commands awaiting a reply: a locked ring with a blocking pop. The ring
// keeps its storage once grown, so queueing a command does not allocate in steady use.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace Vaxo::Ubrix::Shared {

template <typename T>
class SafeQueue {
public:
    void Push(const T& item) {
        {
            std::lock_guard lock(m_mutex);
            push(item);
        }
        m_cond.notify_one();
    }

    T Pop() {
        std::unique_lock lock(m_mutex);
        m_cond.wait(lock, [this] { return m_count != 0; });
        return pop();
    }

    // Waits up to timeoutMs; a timed-out wait returns a null element without looking again.
    T Pop(int timeoutMs) {
        std::unique_lock lock(m_mutex);
        const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            if (m_count != 0)
                return pop();
            if (m_cond.wait_until(lock, deadline) == std::cv_status::timeout)
                return T{};
        }
    }

    bool IsEmpty() const {
        std::lock_guard lock(m_mutex);
        return m_count == 0;
    }

private:
    // Under m_mutex.
    void push(const T& item) {
        if (m_count == m_ring.size()) {
            std::vector<T> grown(m_ring.empty() ? 16 : m_ring.size() * 2);
            for (std::size_t i = 0; i < m_count; ++i)
                grown[i] = m_ring[(m_head + i) % m_ring.size()];
            m_ring.swap(grown);
            m_head = 0;
        }
        m_ring[(m_head + m_count) % m_ring.size()] = item;
        ++m_count;
    }
    T pop() {
        T item = m_ring[m_head];
        m_head = (m_head + 1) % m_ring.size();
        --m_count;
        return item;
    }

    std::vector<T> m_ring;
    std::size_t m_head = 0;
    std::size_t m_count = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_cond;
};

} // namespace Vaxo::Ubrix::Shared

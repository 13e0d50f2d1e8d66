// A pool of mutexes that commands borrow for their ready handshake, so that issuing a
// command does not create an operating-system mutex.
#pragma once

#include <mutex>
#include <vector>

namespace Vaxo::Ubrix::Shared {

template <typename T>
class ObjectPool {
public:
    explicit ObjectPool(std::size_t count) {
        m_pool.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            m_pool.push_back(new T());
    }
    ~ObjectPool() {
        for (T* p : m_pool)
            delete p;
    }
    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;

    T* get_element() {
        std::lock_guard lock(m_lock);
        if (m_pool.empty())
            return new T();
        T* p = m_pool.back();
        m_pool.pop_back();
        return p;
    }

    void return_element(T* p) {
        std::lock_guard lock(m_lock);
        if (m_pool.size() == m_pool.capacity())
            m_pool.reserve(m_pool.capacity() + 32);
        m_pool.push_back(p);
    }

    std::size_t size() const {
        std::lock_guard lock(m_lock);
        return m_pool.size();
    }

private:
    std::vector<T*> m_pool;
    mutable std::mutex m_lock;
};

// Sets a flag for the lifetime of the guard (also when an exception passes).
template <typename Flag, auto SetValue, auto ResetValue>
class StateSetReset {
public:
    explicit StateSetReset(Flag& flag) : m_flag(flag) { m_flag = SetValue; }
    ~StateSetReset() { m_flag = ResetValue; }
    StateSetReset(const StateSetReset&) = delete;
    StateSetReset& operator=(const StateSetReset&) = delete;

private:
    Flag& m_flag;
};

} // namespace Vaxo::Ubrix::Shared

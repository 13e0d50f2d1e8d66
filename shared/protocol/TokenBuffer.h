// Request and byte buffers: a growable array that lives inside the object while it fits
// (no heap allocation for ordinary requests) and grows on the heap in fixed steps. The element
// behind the last one is always 0, so byte buffers are zero-terminated.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace Vaxo::Ubrix::Shared {

class Token;

template <typename T, unsigned N, unsigned M>
class BufferBase {
    static_assert(N > 0 && M > 0);
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using value_type = T;
    static constexpr unsigned inlineCapacity = N;
    static constexpr unsigned growthStep = M;

    BufferBase() noexcept : m_data(m_inline), m_capacity(N), m_length(0) { m_inline[0] = T{}; }
    virtual ~BufferBase() { freeHeap(); }
    BufferBase(const BufferBase& other) : BufferBase() { append(other.data(), other.length()); }
    BufferBase& operator=(const BufferBase& other) {
        if (this != &other) {
            m_length = 0;
            append(other.data(), other.length());
            terminate();
        }
        return *this;
    }

    T* data() noexcept { return m_data; }
    const T* data() const noexcept { return m_data; }
    unsigned length() const noexcept { return m_length; }
    unsigned capacity() const noexcept { return m_capacity; }
    bool empty() const noexcept { return m_length == 0; }
    bool isDynamic() const noexcept { return m_data != m_inline; }
    T& operator[](unsigned i) noexcept { return m_data[i]; }
    const T& operator[](unsigned i) const noexcept { return m_data[i]; }

    void append(const T* p, unsigned n) {
        if (n == 0)
            return;
        if (m_length + n >= m_capacity)
            reserve(m_length + n + 1);
        std::memmove(m_data + m_length, p, n * sizeof(T));
        m_length += n;
        terminate();
    }
    void append(T value) { append(&value, 1); }

    // Grows to at least n elements (rounded up to the growth step); asked for no more than the
    // inline room while on the heap, it moves back inside and frees the heap block.
    virtual void reserve(unsigned n) {
        if (n <= m_capacity) {
            if (n <= N && isDynamic()) {
                unsigned keep = std::min(m_length, N - 1);
                std::memcpy(m_inline, m_data, keep * sizeof(T));
                freeHeap();
                m_data = m_inline;
                m_capacity = N;
                m_length = keep;
                terminate();
            }
            return;
        }
        unsigned size = (n + M - 1) / M * M;
        T* block = new T[size];
        std::memcpy(block, m_data, (m_length + 1) * sizeof(T));
        freeHeap();
        m_data = block;
        m_capacity = size;
    }

    // Sets the length, growing as needed; new elements are zero.
    void setLength(unsigned n) {
        if (n >= m_capacity)
            reserve(n + 1);
        if (n > m_length)
            std::memset(static_cast<void*>(m_data + m_length), 0, (n - m_length) * sizeof(T));
        m_length = n;
        terminate();
    }
    void clear() noexcept {
        m_length = 0;
        terminate();
    }

    // Hands the contents to the caller as a heap block of length() + 1 elements (to be freed
    // with delete[]) and leaves the buffer empty and inline again.
    T* releaseBuffer() {
        T* block;
        if (isDynamic()) {
            block = m_data;
        } else {
            block = new T[m_length + 1];
            std::memcpy(block, m_data, (m_length + 1) * sizeof(T));
        }
        m_data = m_inline;
        m_capacity = N;
        m_length = 0;
        terminate();
        return block;
    }

protected:
    void terminate() noexcept { m_data[m_length] = T{}; }
    void freeHeap() noexcept {
        if (isDynamic())
            delete[] m_data;
    }

    T* m_data;
    unsigned m_capacity;
    unsigned m_length;
    T m_inline[N];
};

// A request in the making. Built for one connection's token table, but it keeps no reference
// to it: the Token writes into the buffer.
template <unsigned N, unsigned M>
class TokenBuffer : public BufferBase<unsigned char, N, M> {
public:
    TokenBuffer() noexcept = default;
    explicit TokenBuffer(const Token&) noexcept {}
    const char* chars() const noexcept { return reinterpret_cast<const char*>(this->data()); }
    std::string_view view() const noexcept { return {chars(), this->length()}; }
};

using TokenBuffer160 = TokenBuffer<160, 160>;
using TokenBuffer1024 = TokenBuffer<1024, 160>;
using UIntBuffer = BufferBase<unsigned int, 128, 32>;

// A block of bytes holding a text value. Growth beyond the inline room is by the step, rounded
// up to what is needed at once.
template <unsigned N, unsigned M>
class MemBuffer : public BufferBase<char, N, M> {
public:
    MemBuffer() noexcept = default;
    explicit MemBuffer(std::string_view text) { setValue(text); }

    void setValue(const char* p, unsigned n) {
        this->clear();
        this->append(p, n);
    }
    void setValue(std::string_view text) { setValue(text.data(), unsigned(text.size())); }
    void resize(unsigned n) { this->setLength(n); }
    std::string_view view() const noexcept { return {this->data(), this->length()}; }

    // Moves the contents into another block and leaves this one empty.
    template <unsigned N2, unsigned M2>
    void moveTo(MemBuffer<N2, M2>& target) {
        target.setValue(this->data(), this->length());
        release();
    }
    void moveTo(std::string& target) {
        target.assign(this->data(), this->length());
        release();
    }
    // Frees any heap block and empties the buffer.
    void release() noexcept {
        this->freeHeap();
        this->m_data = this->m_inline;
        this->m_capacity = N;
        this->m_length = 0;
        this->terminate();
    }
};

} // namespace Vaxo::Ubrix::Shared

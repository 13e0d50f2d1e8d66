// Replaces the global operator new and delete of the program that includes it with ones that
// count allocations in VaxoTest::g_allocations. Include it from exactly one source file of a
// program, and only in programs that exist to count.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace VaxoTest {

inline std::atomic<std::uint64_t> g_allocations{0};

namespace counting_new {
// Out of line, so that the compiler does not pair a malloc it sees through an inlined
// operator new with the free of an operator delete.
[[gnu::noinline]] inline void* counted(std::size_t n) noexcept {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(n ? n : 1);
}
[[gnu::noinline]] inline void release(void* p) noexcept { std::free(p); }
} // namespace counting_new

} // namespace VaxoTest

void* operator new(std::size_t n) {
    if (void* p = VaxoTest::counting_new::counted(n))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t n) {
    if (void* p = VaxoTest::counting_new::counted(n))
        return p;
    throw std::bad_alloc();
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return VaxoTest::counting_new::counted(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return VaxoTest::counting_new::counted(n); }
void operator delete(void* p) noexcept { VaxoTest::counting_new::release(p); }
void operator delete[](void* p) noexcept { VaxoTest::counting_new::release(p); }
void operator delete(void* p, std::size_t) noexcept { VaxoTest::counting_new::release(p); }
void operator delete[](void* p, std::size_t) noexcept { VaxoTest::counting_new::release(p); }

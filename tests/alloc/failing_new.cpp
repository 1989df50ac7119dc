#include "alloc/failing_new.hpp"

#include <cstdlib>
#include <new>

namespace dpl::test::alloc {
namespace {

bool g_armed = false;
uint64_t g_fail_at = 0;
bool g_persistent = false;
uint64_t g_count = 0;
uint64_t g_failures = 0;

}  // namespace

void arm(uint64_t fail_at, bool persistent) {
    g_fail_at = fail_at;
    g_persistent = persistent;
    g_count = 0;
    g_failures = 0;
    g_armed = true;
}

void disarm() {
    g_armed = false;
}

uint64_t allocations() {
    return g_count;
}

uint64_t failures() {
    return g_failures;
}

// Whether this allocation is the one (or one of those) to refuse.
bool refuse() {
    if (!g_armed) return false;
    ++g_count;
    if (g_fail_at == 0 || g_count < g_fail_at || (g_count > g_fail_at && !g_persistent)) return false;
    ++g_failures;
    return true;
}

void *allocate(std::size_t size) {
    if (refuse()) return nullptr;
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace dpl::test::alloc

void *operator new(std::size_t size) {
    void *memory = dpl::test::alloc::allocate(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return dpl::test::alloc::allocate(size);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
    return dpl::test::alloc::allocate(size);
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete[](void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void *memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void *memory, const std::nothrow_t &) noexcept {
    std::free(memory);
}
void operator delete[](void *memory, const std::nothrow_t &) noexcept {
    std::free(memory);
}

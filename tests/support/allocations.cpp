// Counting what is allocated, and letting an allocation fail.
#include "support/allocations.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <thread>

namespace {

std::atomic<long> g_live{0};
thread_local NS_TEST::Allocations g_allocations;
thread_local long g_successesLeft = -1;
thread_local bool g_failsOnce = false;
thread_local bool g_holdsNext = false;
std::atomic<std::size_t> g_tooLarge{SIZE_MAX};
std::atomic<bool> g_held{false};

void WaitIfHeld() {
    if (g_holdsNext) {
        g_holdsNext = false;
        for (g_held = true; g_held;) {
            std::this_thread::yield();
        }
    }
}

void* Allocate(std::size_t size) noexcept {
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        ++g_live;
        ++g_allocations.count;
        g_allocations.bytes += size;
    }
    return block;
}

void* AllocateOrThrow(std::size_t size) {
    WaitIfHeld();
    if (size >= g_tooLarge) {
        throw std::bad_alloc();
    }
    if (g_successesLeft == 0) {
        g_successesLeft = g_failsOnce ? -1 : 0;
        throw std::bad_alloc();
    }
    if (g_successesLeft > 0) {
        --g_successesLeft;
    }
    void* const block = Allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void Free(void* block) noexcept {
    if (block != nullptr) {
        --g_live;
        ++g_allocations.freed;
        std::free(block);
    }
}

}  // namespace

namespace NS_TEST {

Allocations AllocationsOfThisThread() {
    return g_allocations;
}

void ForgetAllocations() {
    g_allocations = {};
}

long LiveAllocations() {
    return g_live;
}

void FailAllocationsAfter(long successes) {
    g_successesLeft = successes;
    g_failsOnce = false;
}

void FailNextAllocation() {
    FailOneAllocationAfter(0);
}

void FailOneAllocationAfter(long successes) {
    g_successesLeft = successes;
    g_failsOnce = true;
}

void FailAllocationsFrom(std::size_t size) {
    g_tooLarge = size;
}

void HoldNextAllocation() {
    g_holdsNext = true;
}

bool IsAllocationHeld() {
    return g_held;
}

void ReleaseAllocation() {
    g_held = false;
}

}  // namespace NS_TEST

// The libraries of the process must get these too.
#define QV_EXPORTED __attribute__((visibility("default")))

QV_EXPORTED void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
QV_EXPORTED void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
QV_EXPORTED void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}
QV_EXPORTED void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}
QV_EXPORTED void operator delete(void* block) noexcept {
    Free(block);
}
QV_EXPORTED void operator delete[](void* block) noexcept {
    Free(block);
}
QV_EXPORTED void operator delete(void* block, std::size_t /*size*/) noexcept {
    Free(block);
}
QV_EXPORTED void operator delete[](void* block, std::size_t /*size*/) noexcept {
    Free(block);
}
QV_EXPORTED void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}
QV_EXPORTED void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}

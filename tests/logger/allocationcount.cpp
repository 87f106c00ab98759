// Counts what a thread allocates, and lets an allocation fail.
#include "logger/allocationcount.h"

#include <cstdlib>
#include <new>

namespace {

thread_local NS_TEST::Allocations allocations;
thread_local bool failNext = false;

void* Allocate(std::size_t size) noexcept {
    ++allocations.count;
    allocations.bytes += size;
    return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
    const bool fails = failNext;
    failNext = false;
    void* const memory = fails ? nullptr : Allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

namespace NS_TEST {

Allocations AllocationsOfThisThread() {
    return allocations;
}

void ForgetAllocations() {
    allocations = {};
}

void FailNextAllocation() {
    failNext = true;
}

}  // namespace NS_TEST

// The libraries of the process get these too.
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
QV_EXPORTED void operator delete(void* memory) noexcept {
    std::free(memory);
}
QV_EXPORTED void operator delete[](void* memory) noexcept {
    std::free(memory);
}
QV_EXPORTED void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
QV_EXPORTED void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
QV_EXPORTED void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}
QV_EXPORTED void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

// Virtual tables as the platform's C++ ABI lays them out.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace NS_TEST {

// The virtual table that the object's first word points to.
inline void* const* TableOf(const void* object) {
    void* const* table;
    std::memcpy(&table, object, sizeof(table));
    return table;
}

// The operation in slot `slot` of the object's table, as a pointer to a function that takes the
// object first.
template <class Operation>
Operation OperationIn(size_t slot, const void* object) {
    void* const entry = TableOf(object)[slot];
    Operation operation;
    static_assert(sizeof(operation) == sizeof(entry), "code and data pointers differ");
    std::memcpy(&operation, &entry, sizeof(operation));
    return operation;
}

// Calls it.
template <class Result, class... Arguments>
Result CallSlot(size_t slot, const void* object, Arguments... arguments) {
    return OperationIn<Result (*)(const void*, Arguments...)>(slot, object)(object, arguments...);
}

// The slot that a call through this pointer to a virtual member function uses, in the table of the
// base that the function was declared in.
template <class Operation>
size_t SlotOf(Operation operation) {
    struct {
        ptrdiff_t pointer;
        ptrdiff_t adjustment;
    } layout;
    static_assert(sizeof(layout) == sizeof(operation), "another ABI");
    std::memcpy(&layout, &operation, sizeof(layout));
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = (layout.adjustment & 1) != 0;
    const ptrdiff_t offset = layout.pointer;
#else
    const bool isVirtual = (layout.pointer & 1) != 0;
    const ptrdiff_t offset = layout.pointer - 1;
#endif
    return isVirtual ? static_cast<size_t>(offset) / sizeof(void*) : static_cast<size_t>(-1);
}

// The operations stand in successive slots, the first of them in `first`. Slots 0 and 1 belong to
// the destructors of a class that has a virtual one.
template <class... Operations>
void ExpectSlotsFrom(size_t first, Operations... operations) {
    size_t slot = first;
    const auto expect = [&slot](auto operation) { EXPECT_EQ(SlotOf(operation), slot++); };
    (expect(operations), ...);
}

// What slot 1 calls on an object that `new` made, as a client of another build would.
inline void CallDeletingDestructor(void* object) {
    CallSlot<void>(1, object);
}

}  // namespace NS_TEST

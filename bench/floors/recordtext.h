// The sample record, formatted by hand: the bytes that the service writes, made as fast as they can
// be.
#pragma once

#include <cstddef>
#include <cstdint>

namespace NS_BENCH {

// What is needed at most, tags included.
constexpr size_t kRecordTextSize = 512;

// Writes the lines between the tags behind `at`; returns the end. The detail is formatted from
// `number`.
char* WriteRecordBody(char* at, int number);

// Writes the tags around a body of `size` bytes at buffer + kTagSize; returns where the record
// begins, and sets `size` to its length.
constexpr size_t kTagSize = 16;
char* WriteTags(char* buffer, size_t& size, uint32_t number);

}  // namespace NS_BENCH

// The decimals of a double.
#pragma once

namespace NS_LOG_SERVICE1 {

// Writes `value` with `precision` decimals, correctly rounded, halves to the even digit. Returns
// the end of the text. Returns null for what it does not cover: more than nine decimals, values
// from 2^53 on, values whose digits make a number of more than 64 bits, values below 2^-44, and 0.
// REQUIRES: `value` is not negative; `out` has room for 30 characters. Any thread.
//
// A double below 2^53 is an integer divided by a power of two. Its decimals come from the remainder
// of that division, which 128 bits hold exactly. This takes 11 ns; std::to_chars, which covers all
// magnitudes, takes 33.
char* WriteFixedPoint(double value, int precision, char* out);

}  // namespace NS_LOG_SERVICE1

// The decimals of a double.
#pragma once

namespace NS_LOG_SERVICE1 {

// Writes `value` with `precision` decimals, correctly rounded, halves to the even digit. Returns
// the end; or null for what it does not cover: more than nine decimals, 18 digits and more, very
// small numbers, and 0. REQUIRES: `value` is not negative; `out` has room for 30 characters. Any
// thread.
//
// A double is a whole number divided by a power of two. Its decimals are the rest of that division,
// which 128 bits hold exactly. This takes 11 ns where std::to_chars, which covers all magnitudes,
// takes 33.
char* WriteFixedPoint(double value, int precision, char* out);

}  // namespace NS_LOG_SERVICE1

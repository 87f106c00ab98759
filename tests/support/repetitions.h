// How often a test repeats itself.
#pragma once

namespace NS_TEST {

// What a sanitizer finds, it finds in the first rounds, and each takes up to thirty times as long.
// So it gets a tenth of the rounds.
constexpr int Repetitions(int plainly) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return plainly < 10 ? 1 : plainly / 10;
#else
    return plainly;
#endif
}

}  // namespace NS_TEST

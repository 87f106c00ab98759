// What standard input is, found out without taking anything from it.
#pragma once

namespace NS_REFERENCE_HOST {

enum class StandardInput {
    Terminal,
    Empty,       // closed, at its end, or the null device
    HasData,     // there is at least one byte, or what is there cannot be looked at in advance
    Interrupted  // `interrupt` became readable first
};

// Examines `descriptor`. For a pipe or a socket, waits until its first byte or its end arrives, or
// until the descriptor `interrupt` becomes readable, and says on standard error that it waits.
StandardInput LookAtInput(int descriptor, int interrupt);

}  // namespace NS_REFERENCE_HOST

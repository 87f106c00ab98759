// System calls that fail when a test says so. The library takes the place of the C library's
// operations, for a program that is linked with it or preloads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace NS_TEST {

enum class FaultyCall { WRITE, OPEN, CLOSE, TRUNCATE, READ };
constexpr size_t kFaultyCalls = 5;

// What becomes of some calls of one kind. They are counted from 1, and only those count that are
// about files below the watched directory that were opened to be written.
struct Fault {
    FaultyCall call = FaultyCall::WRITE;
    uint64_t first = 1;
    uint64_t last = 1;
    int error = 0;            // that the call fails with; 0: none, a write is cut short
    size_t bytes = SIZE_MAX;  // that a write takes which does not fail
    bool kills = false;       // behind the bytes, the process is killed
};

// Begins to count anew, below `directory`, and plans these faults. REQUIRES: no such file is open.
void PlanFaults(const std::string& directory, const std::vector<Fault>& faults);

// Calls so far, and how many calls met a fault.
uint64_t CallsSoFar(FaultyCall call);
uint64_t FaultsSoFar();

// The next call of that kind waits until it is released; the others go on.
void HoldNextCall(FaultyCall call);
bool IsCallHeld();
void ReleaseCall();

// The clock stands there, but for `step` seconds behind the creation of each watched file.
void StopClock(int64_t second, int64_t step);

// The clock that nobody sets shows so many seconds more at each look. So whoever waits a while
// before trying again has waited long enough at the next try. 0: it goes on as usual.
void HurryMonotonicClock(int64_t seconds);

// Preloaded into another program, the library takes its orders from the environment, and says at
// the end on standard error how many faults there were:
//     QV_FAULTS_BELOW=DIRECTORY  QV_FAULTS=CALL:FIRST:LAST:ERROR:BYTES:KILLS[,...]
// CALL is write, open, close, truncate or read; the others are numbers as above.

}  // namespace NS_TEST

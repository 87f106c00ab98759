// The platform's rendering of times, under the control of a test.
#pragma once

namespace NS_TEST {

// Lets the rendering of times throw std::runtime_error behind so many more; a negative number lets
// all succeed again. Holds for the whole process.
void RefuseTimesAfter(long successes);

}  // namespace NS_TEST

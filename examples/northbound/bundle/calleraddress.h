// Where the call comes from that a thread serves.
#pragma once

#include <string>

namespace NS_NORTHBOUND {

// While an object of this class lives, the ORB notes the caller's address before each call.
//
// Thread safety: create it after the ORB and destroy it before, and while no call is served.
class CallerAddressRecording {
  public:
    CallerAddressRecording();
    ~CallerAddressRecording();

    CallerAddressRecording(const CallerAddressRecording&) = delete;
    CallerAddressRecording& operator=(const CallerAddressRecording&) = delete;
};

// The address of the client whose call the calling thread serves, as "127.0.0.1:41234".
const std::string& CallerAddress();

}  // namespace NS_NORTHBOUND

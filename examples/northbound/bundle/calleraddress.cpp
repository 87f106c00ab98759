// Where the call comes from that a thread serves.
#include "bundle/calleraddress.h"

#include <omniORB4/CORBA.h>
#include <omniORB4/omniInterceptors.h>

#include <cstring>

namespace NS_NORTHBOUND {

namespace {

constexpr char kTransport[] = "giop:tcp:";

// A connection has a thread of its own, so this is nearly always the same text.
std::string& AddressOfThread() {
    thread_local std::string address;
    return address;
}

CORBA::Boolean NoteAddress(omni::omniInterceptors::serverReceiveRequest_T::info_T& call) {
    const char* address = call.peeraddress();
    if (address == nullptr) {
        AddressOfThread().clear();
        return true;
    }
    if (std::strncmp(address, kTransport, sizeof(kTransport) - 1) == 0) {
        address += sizeof(kTransport) - 1;
    }
    AddressOfThread() = address;
    return true;
}

}  // namespace

CallerAddressRecording::CallerAddressRecording() {
    omniORB::getInterceptors()->serverReceiveRequest.add(&NoteAddress);
}

CallerAddressRecording::~CallerAddressRecording() {
    omniORB::getInterceptors()->serverReceiveRequest.remove(&NoteAddress);
}

const std::string& CallerAddress() {
    return AddressOfThread();
}

}  // namespace NS_NORTHBOUND

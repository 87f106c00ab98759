// The record that everybody writes: about 255 bytes in the service's form.
#pragma once

#include <string>

namespace NS_BENCH {

// The operation that a thread carries out, set once for each thread.
constexpr int kThreadNumber = 12;
constexpr char kInterface[] = "getAllManagedElements";
constexpr char kUser[] = "operator1";
constexpr char kIdentifier[] = "0b9f2f0e-9d4c";
// The same as text, for those that know no operations: what the service makes of it.
constexpr char kContext[] = "0b9f2f0e-9d4c,TopT:12,If:getAllManagedElements,UserMsg:operator1";

constexpr char kFile[] = "session.cpp";
constexpr char kFunction[] = "GetAll";
constexpr int kLine = 88;

// The detail: an int, a string and a double.
constexpr char kFormat[] = "%d network elements answered %s after %.3f s";
constexpr char kAnswer[] = "getAllManagedElements";
constexpr double kSeconds = 0.125;
// The same as a ready text.
constexpr char kReadyText[] =
    "123456 network elements answered getAllManagedElements after 0.125 s";

constexpr int kQueueLength = 16384;
constexpr int kKeptLength = 128;
constexpr unsigned kRotationSize = 4194304;

constexpr const char* kCategories[] = {
    "debug",    "corbadebug", "corbanotify",        "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper"};

}  // namespace NS_BENCH

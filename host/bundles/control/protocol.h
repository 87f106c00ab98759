// The protocol between the control bundle and its clients.
//
// A client connects, sends one request and gets one answer; then the agent closes the connection.
// Both are one JSON object in one line, ended by a newline. A request names a command and what it
// needs: {"command":"level","level":2,"on":true}. An answer is {"ok":true,"data":{...}}, or
// {"ok":false,"error":"why"}, with the "code" of resultcode.h where an operation gave one.
//
// Texts in the JSON are bytes and need not be valid UTF-8, so that a client can send back any
// logger's name.
#pragma once

#include <cstddef>

namespace NS_REFERENCE_HOST {

// The socket's name in the share directory.
constexpr char kControlSocketName[] = "qv_agent.sock";

// The longest request in bytes, with its newline.
constexpr std::size_t kMaximumRequest = 4096;

}  // namespace NS_REFERENCE_HOST

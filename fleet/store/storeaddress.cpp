#include "store/storeaddress.h"

#include <libpq-fe.h>

#include <charconv>
#include <memory>
#include <sstream>
#include <string_view>

namespace NS_LOG_FLEET {
namespace {

constexpr int kHighestPort = 65535;

constexpr const char* kHint = "; in a password, write @ as %40, / as %2F and : as %3A";

bool IsPort(std::string_view text) {
    int port = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), port);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && port >= 1 &&
           port <= kHighestPort;
}

// Several hosts may have a port each. One that is empty is the usual one. What is no port may be a
// part of a password, so it is not shown.
std::string MistakeInPorts(const std::string& ports) {
    std::istringstream in(ports);
    for (std::string port; std::getline(in, port, ',');) {
        if (!port.empty() && !IsPort(port)) {
            return std::string("a port is a number from 1 to 65535") + kHint;
        }
    }
    return "";
}

// What the library says, without what it quotes of the address.
std::string WithoutQuotation(const std::string& text) {
    const size_t colon = text.find(": ");
    return colon == std::string::npos ? "that is no address of a store" : text.substr(0, colon);
}

// A socket may have a name that begins with an @.
std::string MistakeIn(std::string_view keyword, const std::string& value) {
    if (keyword == "port") {
        return MistakeInPorts(value);
    }
    return keyword == "host" && value.find('@', 1) != std::string::npos
               ? std::string("a host has no @ in its name") + kHint
               : "";
}

}  // namespace

std::string MistakeInAddress(const std::string& url) {
    char* text = nullptr;
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(url.c_str(), &text), &PQconninfoFree);
    const std::unique_ptr<char, decltype(&PQfreemem)> owner(text, &PQfreemem);
    if (!options) {
        return WithoutQuotation(text == nullptr ? "" : text);
    }
    for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
        std::string mistake = MistakeIn(option->keyword, option->val ? option->val : "");
        if (!mistake.empty()) {
            return mistake;
        }
    }
    return "";
}

}  // namespace NS_LOG_FLEET

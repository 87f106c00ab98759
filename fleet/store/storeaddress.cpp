#include "store/storeaddress.h"

#include <libpq-fe.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <sstream>
#include <string_view>

namespace NS_LOG_FLEET {
namespace {

constexpr int kHighestPort = 65535;

bool IsPort(std::string_view text) {
    int port = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), port);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && port >= 1 &&
           port <= kHighestPort;
}

// Several hosts may have a port each. One that is empty is the usual one.
std::string MistakeInPorts(const std::string& ports) {
    std::istringstream in(ports);
    for (std::string port; std::getline(in, port, ',');) {
        if (!port.empty() && !IsPort(port)) {
            return "'" + port + "' is no port";
        }
    }
    return "";
}

}  // namespace

std::string MistakeInAddress(const std::string& url) {
    char* text = nullptr;
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(url.c_str(), &text), &PQconninfoFree);
    const std::unique_ptr<char, decltype(&PQfreemem)> owner(text, &PQfreemem);
    if (!options) {
        std::string mistake = text == nullptr ? "no memory" : text;
        mistake.erase(mistake.find_last_not_of('\n') + 1);
        return mistake;
    }
    for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
        if (std::strcmp(option->keyword, "port") == 0 && option->val != nullptr) {
            return MistakeInPorts(option->val);
        }
    }
    return "";
}

}  // namespace NS_LOG_FLEET

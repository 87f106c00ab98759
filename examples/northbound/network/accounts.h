// Who may log in: operator1 to operator99, each with a password of the example's own.
#pragma once

#include <string>

namespace NS_NORTHBOUND {

// The name of the operator with that number.
inline std::string AccountName(unsigned int number) {
    return "operator" + std::to_string(number);
}

// The password of an account. Agent and client of the example know it both.
inline std::string PasswordOf(const std::string& account) {
    return "Op3rator!" + account;
}

inline bool IsAccount(const std::string& name, const std::string& password) {
    return name.size() > 8 && name.size() <= 10 && name.compare(0, 8, "operator") == 0 &&
           name.find_first_not_of("0123456789", 8) == std::string::npos &&
           password == PasswordOf(name);
}

}  // namespace NS_NORTHBOUND

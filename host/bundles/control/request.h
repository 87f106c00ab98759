// A request to the control bundle. Checks the types of its members.
#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>

namespace NS_REFERENCE_HOST {

// The reason why a request failed: a text for the operator, and the operation's code if there is
// one.
class RequestError : public std::runtime_error {
  public:
    explicit RequestError(const std::string& reason) : std::runtime_error(reason) {}
    RequestError(const std::string& reason, unsigned int code)
        : std::runtime_error(reason), code_(code) {}

    // 0: none.
    unsigned int Code() const noexcept { return code_; }

  private:
    unsigned int code_ = 0;
};

// Thread safety: immutable.
class Request {
  public:
    // Throws std::runtime_error when the text is no JSON object.
    explicit Request(const std::string& text);

    bool Has(const char* name) const { return values_.isMember(name); }

    // Return the member of that name. Throw RequestError when it is missing or of another type.
    bool GetBool(const char* name) const;
    unsigned int GetNumber(const char* name) const;
    std::string GetText(const char* name) const;

  private:
    const Json::Value values_;
};

}  // namespace NS_REFERENCE_HOST

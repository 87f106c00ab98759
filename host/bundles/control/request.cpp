// A request to the control bundle. Checks the types of its members.
#include "control/request.h"

#include "control/answer.h"

namespace NS_REFERENCE_HOST {

namespace {

[[noreturn]] void FailWith(const char* name, const char* expected) {
    throw RequestError("the request's \"" + std::string(name) + "\" is not " + expected);
}

}  // namespace

Request::Request(const std::string& text) : values_(ReadJsonObject(text)) {}

bool Request::GetBool(const char* name) const {
    const Json::Value& value = values_[name];
    if (!value.isBool()) {
        FailWith(name, "true or false");
    }
    return value.asBool();
}

unsigned int Request::GetNumber(const char* name) const {
    const Json::Value& value = values_[name];
    if (!value.isUInt()) {
        FailWith(name, "a number from 0 to 4294967295");
    }
    return value.asUInt();
}

std::string Request::GetText(const char* name) const {
    const Json::Value& value = values_[name];
    if (!value.isString()) {
        FailWith(name, "a text");
    }
    return value.asString();
}

}  // namespace NS_REFERENCE_HOST

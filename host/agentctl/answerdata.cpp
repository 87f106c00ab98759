// What an agent's answer says.
#include "agentctl/answerdata.h"

#include <cstdio>
#include <exception>

#include "agentctl/controlerror.h"
#include "agentctl/terminaltext.h"
#include "control/answer.h"

namespace NS_REFERENCE_HOST {

namespace {

std::string DescribeFailure(const Json::Value& answer) {
    std::string text = answer["error"].asString();
    if (answer.isMember("code")) {
        char code[16];
        std::snprintf(code, sizeof(code), " (0x%08X)", answer["code"].asUInt());
        text += code;
    }
    return text;
}

// Calls a step that understands an answer. What it throws but for a ControlError says that it did
// not.
template <typename Step>
auto Understand(Step step) {
    try {
        return step();
    } catch (const ControlError&) {
        throw;
    } catch (const std::exception& error) {
        throw ControlError(ControlExit::NoAnswer,
                           std::string("the answer cannot be understood: ") + error.what());
    }
}

}  // namespace

Json::Value ReadAnswerData(const std::string& answer) {
    return Understand([&answer] {
        const Json::Value value = ReadJsonObject(answer);
        if (!value["ok"].asBool()) {
            throw ControlError(ControlExit::Refused, DescribeFailure(value));
        }
        return value["data"];
    });
}

std::string FormatData(const std::function<std::string()>& format) {
    return Understand(format);
}

std::string FormatAsJson(const Json::Value& data) {
    return ReplaceInvalidUtf8(WriteJson(data)) + "\n";
}

}  // namespace NS_REFERENCE_HOST

// Gives made-up requests to the control bundle. Each gets one line that is an answer, and none gets
// an exception.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "agentctl/fakelogservice.h"
#include "control/answer.h"
#include "control/commands.h"

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

void RequireAnswer(const std::string& request) {
    const std::string text = NS_REFERENCE_HOST::AnswerRequest(request);
    Require(text.find('\n') == std::string::npos, "an answer of several lines");
    const Json::Value answer = NS_REFERENCE_HOST::ReadJsonObject(text);
    Require(answer["ok"].isBool(), "neither a success nor a failure");
    Require(answer["ok"].asBool() || !answer["error"].asString().empty(),
            "a failure without a reason");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string request(reinterpret_cast<const char*>(data), size);
    RequireAnswer(request);  // there is no service
    NS_TEST::FakeMaintenance maintenance;
    NS_TEST::FakeLogService log;
    maintenance.loggers.push_back({"a", "\xff\n", "debug", {true, false, true, false}});
    maintenance.modules.push_back({7, true});
    maintenance.books.emplace_back();
    RequireAnswer(request);
    maintenance.success = false;
    maintenance.throws = true;
    maintenance.code = 1;
    log.code = 0x41180004;
    maintenance.version = 1;
    RequireAnswer(request);
    return 0;
}

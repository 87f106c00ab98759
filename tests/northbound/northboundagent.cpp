// A northbound agent and clients that call it.
#include "northbound/northboundagent.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "support/files.h"

namespace NS_TEST {

namespace {

std::string IdentifierOf(const std::string& context) {
    return context.substr(0, context.find(','));
}

void NoteRecord(const ParsedPiece& piece, LoggedOperation& operation) {
    const ParsedRecord& record = piece.record;
    operation.context = record.context;
    operation.lastText = record.detail;
    if (record.level == 0) {
        ++operation.failures;
        operation.failureText = record.detail;
    }
    operation.begins += record.detail.rfind("begin: ", 0) == 0 ? 1 : 0;
    operation.ends += record.detail.rfind("end: ", 0) == 0 ? 1 : 0;
}

std::vector<std::string> SplitAtTabs(const std::string& line) {
    std::vector<std::string> parts(1);
    for (const char character : line) {
        if (character == '\t') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

}  // namespace

void NorthboundAgent::Start(const std::string& arguments, const std::string& items) {
    Configure(
        "bundles = qv_schedule, qv_base_log, qv_northbound, qv_control\n"
        "filterbuflength = 100000\nqv_northbound.arguments = " +
        arguments + "\n" + items);
    agent_ = std::make_unique<ChildProcess>(Agent({"--traffic", "none"}));
    ASSERT_TRUE(agent_->WaitForError("serving")) << agent_->GetErrors();
}

int NorthboundAgent::Stop() {
    agent_->Signal(SIGTERM);
    return agent_->Wait().exitCode;
}

ChildStart NorthboundAgent::Client(const std::vector<std::string>& arguments) const {
    ChildStart start{{QV_NORTHBOUND_CLIENT}, {{"_APP_SHARE_DIR", Path()}}};
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    return start;
}

ChildResult NorthboundAgent::Call(const std::vector<std::string>& arguments) const {
    return RunProgram(Client(arguments));
}

std::vector<ReportedCall> NorthboundAgent::Load(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "load");
    arguments.insert(arguments.end(), {"--report", ReportPath()});
    const ChildResult result = Call(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    return ReportedCalls();
}

std::vector<ReportedCall> NorthboundAgent::ReportedCalls() const {
    std::vector<ReportedCall> calls;
    for (const std::string& line : ReadLines(ReportPath())) {
        const std::vector<std::string> parts = SplitAtTabs(line);
        calls.push_back({parts.at(0), parts.at(1), parts.at(2), parts.at(3)});
    }
    return calls;
}

ChildResult NorthboundAgent::Control(const std::vector<std::string>& arguments) const {
    ChildStart start{{QV_AGENTCTL, "--share", Path(), "--timeout", "600"}};
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    return RunProgram(start);
}

std::map<std::string, LoggedOperation> NorthboundAgent::LoggedOperations() const {
    std::map<std::string, LoggedOperation> operations;
    for (const ParsedPiece& piece : Records("corbaoper")) {
        if (piece.record.level == 0 || piece.record.level == 1) {
            NoteRecord(piece, operations[IdentifierOf(piece.record.context)]);
        }
        for (const ParsedRecord& record : piece.dumped) {
            operations[IdentifierOf(record.context)].history.push_back(record.detail);
        }
    }
    return operations;
}

bool NorthboundAgent::AwaitLogged(const std::string& category, const std::string& text) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(10);
    while (Logged(category).find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

void ExpectAllLogged(const std::vector<ReportedCall>& calls,
                     const std::map<std::string, LoggedOperation>& logged) {
    for (const auto& [identifier, operation] : logged) {
        EXPECT_EQ(operation.begins, 1) << identifier;
        EXPECT_EQ(operation.ends, 1) << identifier;
    }
    for (const ReportedCall& call : calls) {
        if (call.operation.empty()) {
            continue;  // it made the session, without which there is no identifier
        }
        ASSERT_EQ(logged.count(call.operation), 1U) << call.operation << call.interfaceName;
        const LoggedOperation& operation = logged.at(call.operation);
        const auto session = std::stoul(call.operation.substr(0, 8), nullptr, 16);
        const std::string context = call.operation + ",TopT:" + std::to_string(session) +
                                    ",If:" + call.interfaceName + ",UserMsg:" + call.user +
                                    "@127.0.0.1:";
        EXPECT_THAT(operation.context, ::testing::StartsWith(context));
        EXPECT_EQ(operation.lastText,
                  "end: " + call.interfaceName + (call.failure.empty() ? " done" : " failed"));
    }
    EXPECT_EQ(logged.size(), calls.size());
}

}  // namespace NS_TEST

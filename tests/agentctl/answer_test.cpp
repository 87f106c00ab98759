// The format of the answers on the control socket.
#include "control/answer.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "support/allocations.h"

using NS_REFERENCE_HOST::MakeSuccess;

namespace {

// As long as the status of a few categories: the text grows several times.
Json::Value LongData() {
    Json::Value data;
    for (int i = 0; i < 100; ++i) {
        data["members"].append("a text of some forty characters, number " + std::to_string(i));
    }
    return data;
}

// The answer when the allocation behind `successes` others fails; empty when that is thrown.
std::string AnswerWithOneFailure(const Json::Value& data, long successes) {
    std::string answer;
    NS_TEST::FailOneAllocationAfter(successes);
    try {
        answer = MakeSuccess(data);
    } catch (const std::bad_alloc&) {
        answer.clear();
    }
    NS_TEST::FailAllocationsAfter(-1);
    return answer;
}

TEST(ControlAnswer, IsWholeOrNoneWhicheverAllocationFails) {
    const Json::Value data = LongData();
    const std::string whole = MakeSuccess(data);
    ASSERT_GT(whole.size(), 4000U);
    NS_TEST::ForgetAllocations();
    ASSERT_EQ(MakeSuccess(data), whole);
    const auto count = static_cast<long>(NS_TEST::AllocationsOfThisThread().count);
    ASSERT_GT(count, 10);
    int thrown = 0;
    for (long successes = 0; successes < count; ++successes) {
        const std::string answer = AnswerWithOneFailure(data, successes);
        thrown += answer.empty() ? 1 : 0;
        EXPECT_TRUE(answer.empty() || answer == whole) << successes << ": " << answer.size();
    }
    EXPECT_GT(thrown, 0);
}

}  // namespace

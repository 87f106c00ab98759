// How the agent looks after the logging service.
#include "agent/servicekeeper.h"

#include <gtest/gtest.h>

#include <new>

#include "agentctl/fakelogservice.h"

namespace {

using NS_REFERENCE_HOST::ServiceKeeper;

class ServiceWithoutMemory : public NS_TEST::FakeMaintenance {
  public:
    void FlushAll() override { throw std::bad_alloc(); }
};

// The service writes its queues at its own end. What it has lost before is known all the same.
TEST(ServiceKeeper, LooksAtTheEndAlsoWhenThereIsNoMemoryToWriteTheQueues) {
    ServiceWithoutMemory service;
    NS_LOG_SERVICE1::ChannelBooks books{};
    books.category = "debug";
    books.recordsDropped = 1;
    service.books = {books};
    ServiceKeeper keeper(NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT);
    EXPECT_NO_THROW(keeper.FinishOutput());
    EXPECT_TRUE(keeper.HasLost());
}

}  // namespace

// The slots of the logger.
#include <json/json.h>

#include "abi/slots.h"
#include "asn/asnobject.h"
#include "logger/logger.h"
#include "manager/managerfixture.h"

using NS_LOG_SERVICE1::ChannelMap;
using NS_LOG_SERVICE1::Logger;
using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogSettings;
using NS_TEST::CallSlot;
using NS_TEST::SlotOf;

namespace {

using Text = const std::string&;

TEST(LoggerSlots, AreNumberedAsClientsWereBuilt) {
    EXPECT_EQ(SlotOf(&LoggerIF::EnableLevel), 2u);
    EXPECT_EQ(SlotOf(&LoggerIF::DisableLevel), 3u);
    EXPECT_EQ(SlotOf(&LoggerIF::EnableAllLevels), 4u);
    EXPECT_EQ(SlotOf(&LoggerIF::DisableAllLevels), 5u);
    EXPECT_EQ(SlotOf(&LoggerIF::Log), 6u);
    EXPECT_EQ(SlotOf(&LoggerIF::LogFormat), 7u);
    EXPECT_EQ(SlotOf(&LoggerIF::LogAsnTrace), 8u);
    EXPECT_EQ(SlotOf(&LoggerIF::LogAlarm), 9u);
    EXPECT_EQ(SlotOf(&LoggerIF::PrintAsn), 10u);
    EXPECT_EQ(SlotOf(&LoggerIF::IsLevelEnabled), 11u);
}

TEST(LoggerSlots, AreTheSameInTheLoggersOwnClass) {
    EXPECT_EQ(SlotOf(&Logger::EnableLevel), 2u);
    EXPECT_EQ(SlotOf(&Logger::DisableLevel), 3u);
    EXPECT_EQ(SlotOf(&Logger::EnableAllLevels), 4u);
    EXPECT_EQ(SlotOf(&Logger::DisableAllLevels), 5u);
    EXPECT_EQ(SlotOf(&Logger::Log), 6u);
    EXPECT_EQ(SlotOf(&Logger::LogFormat), 7u);
    EXPECT_EQ(SlotOf(&Logger::LogAsnTrace), 8u);
    EXPECT_EQ(SlotOf(&Logger::LogAlarm), 9u);
    EXPECT_EQ(SlotOf(&Logger::PrintAsn), 10u);
    EXPECT_EQ(SlotOf(&Logger::IsLevelEnabled), 11u);
}

TEST(LoggerSlots, BeginAtTheObjectsFirstWord) {
    LogSettings settings;
    ChannelMap channels;
    const Logger logger("a", "b", "debug", settings, channels);
    EXPECT_EQ(static_cast<const void*>(static_cast<const LoggerIF*>(&logger)),
              static_cast<const void*>(&logger));
}

// An ASN message that prints one word.
class Message : public NS_ASN1::AsnObject {
  public:
    void Print(std::ostream& out, unsigned short, int) const override { out << "message"; }
    const char* GetTypeName() const override { return "Message"; }
};

// A real logger, called as a client with nothing but slot numbers calls it.
class LoggerTable : public NS_TEST::ManagerTest {
  protected:
    LoggerTable() : logger_(Debug()) { Manager().bEnableAsnLog = 1; }

    const std::string file_ = "f.cpp";
    const std::string function_ = "Run";
    Logger* const logger_;
};

TEST_F(LoggerTable, SwitchesLevels) {
    EXPECT_TRUE(CallSlot<bool>(2, logger_, 1u));
    EXPECT_TRUE(CallSlot<bool>(2, logger_, 3u));
    EXPECT_EQ(logger_->Levels().to_ulong(), 0b1010u);
    EXPECT_TRUE(CallSlot<bool>(3, logger_, 1u));
    EXPECT_EQ(logger_->Levels().to_ulong(), 0b1000u);
    EXPECT_THROW(CallSlot<bool>(4, logger_), std::out_of_range);
    EXPECT_THROW(CallSlot<bool>(5, logger_), std::out_of_range);
}

TEST_F(LoggerTable, AnswersForTheGlobalSwitches) {
    const unsigned int level = 2;
    EXPECT_FALSE((CallSlot<bool, const unsigned int&>(11, logger_, level)));
    Manager().levelSwitches = NS_LOG_SERVICE1::LevelSwitches(0b0100);
    EXPECT_TRUE((CallSlot<bool, const unsigned int&>(11, logger_, level)));
}

TEST_F(LoggerTable, Logs) {
    const std::string text = "text";
    CallSlot<void, Text, Text, unsigned, int, Text>(6, logger_, file_, function_, 7, -1, text);
    EXPECT_EQ(Written("debug"), NS_TEST::Frame(1, -1, "text"));
}

TEST_F(LoggerTable, LogsFormats) {
    using Operation = void (*)(const void*, Text, Text, unsigned, int, const char*, ...);
    Operation operation;
    void* const entry = NS_TEST::TableOf(logger_)[7];
    std::memcpy(&operation, &entry, sizeof(operation));
    operation(logger_, file_, function_, 7, -1, "%d %s %.1f", 5, "five", 5.5);
    EXPECT_EQ(Written("debug"), NS_TEST::Frame(1, -1, "5 five 5.5"));
}

TEST_F(LoggerTable, LogsAlarmsAndMessages) {
    logger_->EnableLevel(3);
    Message message;
    NS_ASN1::AsnObject& asn = message;
    Json::Value alarms;
    alarms.append(1);
    CallSlot<void, Text, Text, unsigned, const Json::Value&>(9, logger_, file_, function_, 7,
                                                             alarms);
    EXPECT_EQ(Written("debug"), NS_TEST::Frame(1, 3, "\n RestAlarm:1\n"));
    CallSlot<void, Text, Text, unsigned, NS_ASN1::AsnObject&>(8, logger_, file_, function_, 7, asn);
    EXPECT_THAT(Written("debug"), testing::HasSubstr("\n<2>\nSTAMP, ,TopT:0,If:,UserMsg:, T:" +
                                                     NS_TEST::ThreadText() + ", DL:3, "));
    CallSlot<void, Text, Text, unsigned, NS_ASN1::AsnObject&>(10, logger_, file_, function_, 7,
                                                              asn);
    EXPECT_THAT(Written("debug"), testing::HasSubstr("\n<3>\nSTAMP, ,TopT:0,If:,UserMsg:, T:" +
                                                     NS_TEST::ThreadText() + ", DL:-1, "));
}

TEST_F(LoggerTable, EndsWithTheDestructors) {
    class Witness : public Logger {
      public:
        Witness(NS_LOG_SERVICE1::LogMgr& manager, int& ends)
            : Logger("a", "b", "debug", manager, manager.Channels()), ends_(ends) {}
        ~Witness() override { ++ends_; }

      private:
        int& ends_;
    };
    int ends = 0;
    CallSlot<void>(1, new Witness(Manager(), ends));
    EXPECT_EQ(ends, 1);
    alignas(Witness) std::byte storage[sizeof(Witness)];
    CallSlot<void>(0, new (storage) Witness(Manager(), ends));
    EXPECT_EQ(ends, 2);
}

}  // namespace

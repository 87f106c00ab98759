// The slots of the logger.
#include <json/json.h>

#include "abi/slots.h"
#include "logger/logger.h"
#include "manager/managerfixture.h"
#include "support/asnmessages.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

namespace {

using Text = const std::string&;

template <class Interface>
void ExpectSlotsOfALogger() {
    ExpectSlotsFrom(2, &Interface::EnableLevel, &Interface::DisableLevel,
                    &Interface::EnableAllLevels, &Interface::DisableAllLevels, &Interface::Log,
                    &Interface::LogFormat, &Interface::LogAsnTrace, &Interface::LogAlarm,
                    &Interface::PrintAsn, &Interface::IsLevelEnabled);
}

TEST(LoggerSlots, AreNumberedAsClientsWereBuilt) {
    ExpectSlotsOfALogger<LoggerIF>();
    ExpectSlotsOfALogger<Logger>();
}

TEST(LoggerSlots, BeginAtTheObjectsFirstWord) {
    LogSettings settings;
    ChannelMap channels;
    const Logger logger("a", "b", "debug", settings, channels);
    EXPECT_EQ(static_cast<const void*>(static_cast<const LoggerIF*>(&logger)),
              static_cast<const void*>(&logger));
}

// A real logger, called as a client with nothing but slot numbers calls it.
class LoggerTable : public NS_TEST::ManagerTest {
  protected:
    LoggerTable() : logger_(Debug()) { Manager().bEnableAsnLog = 1; }

    const std::string file_ = "f.cpp";
    const std::string function_ = "Run";
    Logger* const logger_;
};

TEST_F(LoggerTable, Logs) {
    logger_->EnableLevel(3);
    const std::string text = "text";
    CallSlot<void, Text, Text, unsigned, int, Text>(6, logger_, file_, function_, 7, -1, text);
    using LogFormat = void (*)(const void*, Text, Text, unsigned, int, const char*, ...);
    OperationIn<LogFormat>(7, logger_)(logger_, file_, function_, 7, -1, "%d %s %.1f", 5, "five",
                                       5.5);
    ScriptedMessage message = TextMessage("message");
    NS_ASN1::AsnObject& asn = message;
    CallSlot<void, Text, Text, unsigned, NS_ASN1::AsnObject&>(8, logger_, file_, function_, 7, asn);
    Json::Value alarms;
    alarms.append(1);
    CallSlot<void, Text, Text, unsigned, const Json::Value&>(9, logger_, file_, function_, 7,
                                                             alarms);
    CallSlot<void, Text, Text, unsigned, NS_ASN1::AsnObject&>(10, logger_, file_, function_, 7,
                                                              asn);
    EXPECT_EQ(Written("debug"), Frame(1, -1, "text") + Frame(2, -1, "5 five 5.5") +
                                    Frame(3, 3, "message") + Frame(4, 3, "\n RestAlarm:1\n") +
                                    Frame(5, -1, "message"));
}

TEST_F(LoggerTable, EndsWithTheDestructors) {
    class Witness : public Logger {
      public:
        Witness(LogMgr& manager, int& ends)
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

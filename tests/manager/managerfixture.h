// A log manager with its channels, writing into a fresh directory.
#pragma once

#include <gmock/gmock.h>
#include <pthread.h>

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "manager/logmgr.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/frames.h"
#include "support/logfileparser.h"
#include "support/recordinglogproxy.h"
#include "support/temporarydirectory.h"
#include "support/waiting.h"

namespace NS_TEST {

// The text with STAMP in the place of each time stamp.
inline std::string WithoutStamps(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size();) {
        const bool isStamp = IsStampAt(text, i);
        result += isStamp ? "STAMP" : text.substr(i, 1);
        i += isStamp ? kStampSize : 1;
    }
    return result;
}

// A thread as records show it.
inline std::string ThreadText(pthread_t thread = pthread_self()) {
    return std::to_string(static_cast<long>(thread));
}

// Sizes are set, and the channels created, by the test.
class BareManagerTest : public DirectoryTest {
  protected:
    BareManagerTest() : share_("_APP_SHARE_DIR", Path()) {
        NS_LOG_SERVICE1::LogMgr::DestroyInstance();
        std::vector<NS_BUNDLEMGR1::NameValueStru> items;
        NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
        OfferDiagnostics();
    }
    ~BareManagerTest() override { NS_LOG_SERVICE1::LogMgr::DestroyInstance(); }

    static NS_LOG_SERVICE1::LogMgr& Manager() { return *NS_LOG_SERVICE1::LogMgr::Instance(); }

    // The files of the category, without their directory.
    std::vector<std::string> Files(const std::string& category) const {
        return ListLogFiles(Path("log"), category);
    }

    // Everything that the category's files hold, oldest file first.
    std::string Content(const std::string& category) const {
        std::string content;
        for (const std::string& name : Files(category)) {
            content += ReadFile(Path("log/" + name));
        }
        return content;
    }

    // The same, but without the line about the creation of a file and with STAMP for time stamps.
    std::string Written(const std::string& category) const {
        std::string text = WithoutStamps(Content(category));
        const std::string created = "File create at STAMP.\n";
        return text.rfind(created, 0) == 0 ? text.substr(created.size()) : text;
    }

  private:
    ScopedVariable share_;
};

// The channels exist, with the sizes that a manager starts with. All levels are off.
class ManagerTest : public BareManagerTest {
  protected:
    ManagerTest() { Manager().CreateChannels(); }

    static NS_LOG_SERVICE1::Logger* Debug() { return Manager().GetLogger("a", "b", "debug"); }
};

// The context of a thread without an operation.
constexpr const char* kNoContext = ",TopT:0,If:,UserMsg:";

// What the calling thread's records show when they are logged at line 7 of Run in f.cpp.
inline FrameFields FieldsOf(const std::string& context) {
    return {"STAMP", context, ThreadText(), "File: f.cpp Func:Run Line:7"};
}

inline std::string Frame(unsigned number, int level, const std::string& detail,
                         const std::string& context = kNoContext) {
    return FrameOf(FieldsOf(context), number, level, detail);
}

// A record of level 0 around which the lines in `history` were dumped.
inline std::string DumpFrame(unsigned number, const std::string& detail,
                             const std::string& history = "") {
    return FrameOf(FieldsOf(kNoContext), number, 0, detail, Dump(history));
}

inline std::string DumpedLine(int level, const std::string& detail,
                              const std::string& context = kNoContext) {
    return DumpedFrameOf(FieldsOf(context), level, detail);
}

}  // namespace NS_TEST

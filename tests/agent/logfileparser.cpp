// Reads the service's log files back into records.
#include "logfileparser.h"

#include <stdexcept>

#include "support/files.h"

namespace NS_TEST {

namespace {

const std::string kBannerBegin = "*********** Dump filtered debug information begin **********\n";
const std::string kBannerEnd = "*********** Dump filtered debug information end **********\n";

// Takes a text apart from the front.
//
// Thread safety: one thread.
class Parser {
  public:
    explicit Parser(const std::string& path) : path_(path), text_(ReadFile(path)) {}

    std::vector<LoggedRecord> Parse() {
        Expect("File create at ");
        Until(".\n");
        std::vector<LoggedRecord> records;
        while (!TakeIf("\nFile close at ")) {
            records.push_back(TakeIf("<") ? ParseNumbered() : ParseShort());
        }
        Until(".\n");
        if (position_ != text_.size()) {
            Fail("the end");
        }
        return records;
    }

  private:
    [[noreturn]] void Fail(const std::string& expected) const {
        throw std::runtime_error(path_ + ": at byte " + std::to_string(position_) + ": expected " +
                                 expected);
    }

    bool TakeIf(const std::string& prefix) {
        if (text_.compare(position_, prefix.size(), prefix) != 0) {
            return false;
        }
        position_ += prefix.size();
        return true;
    }

    void Expect(const std::string& prefix) {
        if (!TakeIf(prefix)) {
            Fail("'" + prefix + "'");
        }
    }

    // What stands in front of `mark`, and skips both.
    std::string Until(const std::string& mark) {
        const auto found = text_.find(mark, position_);
        if (found == std::string::npos) {
            Fail("'" + mark + "' further on");
        }
        std::string result = text_.substr(position_, found - position_);
        position_ = found + mark.size();
        return result;
    }

    LoggedRecord ParseShort() {
        LoggedRecord record;
        record.level = -2;
        Until(",");
        record.detail = Until("\n");
        return record;
    }

    LoggedRecord ParseNumbered() {
        LoggedRecord record;
        record.number = std::stoul(Until(">\n"));
        Until(", ");  // the time stamp
        record.context = Until(", T:");
        record.thread = Until(", DL:");
        record.level = std::stoi(Until(", File: "));
        record.file = Until(" Func:");
        record.function = Until(" Line:");
        record.line = std::stoul(Until("\n Detail: "));
        record.detail = Until("\n</" + std::to_string(record.number) + ">\n\n");
        TakeOutHistory(record);
        return record;
    }

    static void TakeOutHistory(LoggedRecord& record) {
        const auto begin = record.detail.find("\n" + kBannerBegin);
        if (begin == std::string::npos) {
            return;
        }
        record.isDump = true;
        std::string history = record.detail.substr(begin + 1 + kBannerBegin.size()) + "\n";
        record.detail.resize(begin);
        history.resize(history.size() - kBannerEnd.size());
        for (std::string::size_type start = 0; start < history.size();) {
            const auto end = history.find('\n', start);
            record.history.push_back(history.substr(start, end - start));
            start = end + 1;
        }
    }

    const std::string path_;
    const std::string text_;
    std::string::size_type position_ = 0;
};

}  // namespace

std::vector<LoggedRecord> ParseLogFile(const std::string& path) {
    return Parser(path).Parse();
}

}  // namespace NS_TEST

#include "floors/lookups.h"

// Deprecated for its growing form; over a fixed array nothing prints faster.
#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")

namespace NS_BENCH {

NameTable::NameTable(const Job& job) : asked_(job) {
    for (int i = 0; i < job.count; ++i) {
        table_.emplace("bench" + LoggerName(i) + "corbaoper", i);
    }
}

void NameTable::Record(int /*category*/, int number) {
    const std::string key = "bench" + asked_.At(number) + "corbaoper";
    const std::lock_guard<std::mutex> guard(mutex_);
    found_ = table_.at(key);
}

PrintedMessage::PrintedMessage(const Job& job)
    : path_(job.directory + "/message.log"),
      fields_(AsnFields(static_cast<size_t>(job.count), 10)),
      text_(static_cast<size_t>(job.count) + 1),
      file_(path_) {}

void PrintedMessage::Record(int /*category*/, int /*number*/) {
    std::strstream out(text_.data(), static_cast<int>(text_.size()), std::ios::out);
    for (const AsnField& field : fields_) {
        PrintAsnField(out, field);
    }
    file_.Write(text_.data(), static_cast<size_t>(out.pcount()));
    if (file_.Size() >= 100000000) {
        file_.Rotate(path_);
    }
}

}  // namespace NS_BENCH

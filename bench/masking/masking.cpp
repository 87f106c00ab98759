// Masking alone, on text that stands in memory: the service's ways, beside a copy, beside printing
// the text field by field, and beside searching for key after key.
//
// The text stays masked from one round to the next. That changes nothing in the work: the keys keep
// standing in front of the masked values, so every round finds and overwrites the same ones.
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")

#include "harness/asntext.h"
#include "harness/contender.h"
#include "masking/asnmasking.h"
#include "masking/plainmasking.h"

namespace NS_BENCH {

namespace {

using NS_LOG_SERVICE1::KeySearch;
using NS_LOG_SERVICE1::MaskAsnText;

// The pieces of texts that were made to be slow. Their names are subjects, as "masking" is, whose
// text is a message with a value to mask in each tenth line.
struct HardText {
    const char* subject;
    const char* typeName;
    const char* piece;
};

constexpr HardText kHardTexts[] = {
    {"all-hits", kAsnType, "    name = \"NE-4711\"\n"},
    {"near-misses", kAsnType, "roomId Memo Name tion ountry eity "},
    {"one-line", kAsnType, "name = x "},
    {"short-lines", kAsnType, "name\n"},
    {"quoted", "QAsnGetNEInfoRsp", "NEPwd=\"\""},
    {"quoted-near-misses", "QAsnGetNEInfoRsp", "EPwd"},
    {"tagged", "AsneVOXScheduleCreateReq", "<FTPPassWord></FTPPassWord>"},
    {"tagged-near-misses", "AsneVOXScheduleCreateReq", "Word>"},
};

class TextContender : public Contender {
  public:
    explicit TextContender(const Job& job) : size_(static_cast<size_t>(job.count)) {
        for (const HardText& hard : kHardTexts) {
            if (job.subject == hard.subject) {
                typeName_ = hard.typeName;
                Repeat(hard.piece);
            }
        }
        if (text_.empty() && job.subject != "masking") {
            throw std::invalid_argument("no subject " + job.subject);
        }
        if (text_.empty()) {
            text_ = AsnText(size_, 10);
        }
    }

  protected:
    size_t size_;
    std::string typeName_ = kAsnType;
    std::string text_;

  private:
    void Repeat(const char* piece) {
        while (text_.size() < size_) {
            text_ += piece;
        }
        text_.resize(size_);
    }
};

class Copy : public TextContender {
  public:
    explicit Copy(const Job& job) : TextContender(job), to_(text_.size()) {}

    void Record(int /*category*/, int /*number*/) override {
        std::memcpy(to_.data(), text_.data(), text_.size());
        asm volatile("" : : "r"(to_.data()) : "memory");
    }

  private:
    std::vector<char> to_;
};

class Printing : public TextContender {
  public:
    explicit Printing(const Job& job)
        : TextContender(job), fields_(AsnFields(size_, 10)), to_(size_ + 1) {}

    void Record(int /*category*/, int /*number*/) override {
        std::strstream out(to_.data(), static_cast<int>(to_.size()), std::ios::out);
        for (const AsnField& field : fields_) {
            PrintAsnField(out, field);
        }
    }

  private:
    const std::vector<AsnField> fields_;
    std::vector<char> to_;
};

class Masking : public TextContender {
  public:
    Masking(const Job& job, KeySearch search) : TextContender(job), search_(search) {}

    void Record(int /*category*/, int /*number*/) override {
        MaskAsnText(typeName_, text_.data(), text_.size(), search_);
    }

  private:
    const KeySearch search_;
};

class KeyByKey : public TextContender {
  public:
    using TextContender::TextContender;

    void Record(int /*category*/, int /*number*/) override {
        text_ = MaskPlainly(typeName_, std::move(text_));
    }
};

}  // namespace

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.way == "copy") {
        return std::make_unique<Copy>(job);
    }
    if (job.way == "print") {
        return std::make_unique<Printing>(job);
    }
    if (job.way == "key-by-key") {
        return std::make_unique<KeyByKey>(job);
    }
    if (job.way == "portable") {
        return std::make_unique<Masking>(job, KeySearch::kPlain);
    }
    if (job.way == "avx2" && __builtin_cpu_supports("avx2") != 0) {
        return std::make_unique<Masking>(job, KeySearch::kFastest);
    }
    throw std::invalid_argument("no way " + job.way);
}

}  // namespace NS_BENCH

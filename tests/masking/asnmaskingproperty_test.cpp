// Masking compared with the plain way, byte by byte, on texts made up in great numbers.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "masking/asnmasking.h"
#include "masking/plainmasking.h"

namespace {

using NS_LOG_SERVICE1::KeySearch;
using NS_LOG_SERVICE1::MaskAsnText;

struct Kind {
    const char* label;
    const char* typeName;
    std::vector<std::string> tokens;  // what makes the rule of this type work
};

const Kind kKinds[] = {
    {"Location",
     "QAsnGetPhysicalLocationInfoRsp",
     {"roomID", "equipmentRoomName", "cabinetName", "name", "memo", "subshelfMemo", "siteName",
      "country", "province", "city", "location", "\n", "\n", "\n"}},
    {"Customer", "QAsnGetWDMSNCsByCIDsRsp", {"customer:", "customer:", "\n"}},
    {"Quoted", "QAsnGetNEInfoRsp", {"NEPwd", "NEPwd", "\"", "\"", "=", "\n"}},
    {"Tagged",
     "AsneVOXScheduleCreateReq",
     {"<FTPPassWord>", "<FTPPassWord>", "</FTPPassWord>", "</FTPPassWord>", "\n"}},
};

std::string Shown(const std::string& text) {
    return testing::PrintToString(text);
}

// Makes up texts in which keys, parts of keys and delimiters are dense.
class TextMaker {
  public:
    explicit TextMaker(const Kind& kind) : kind_(kind) {}

    std::string MakeText() {
        std::string text;
        const std::size_t tokens = Below(3) == 0 ? Below(60) : Below(12);
        for (std::size_t i = 0; i < tokens; ++i) {
            AddToken(text);
        }
        return text;
    }

    std::size_t Below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

  private:
    void AddToken(std::string& text) {
        const std::string& token = kind_.tokens[Below(kind_.tokens.size())];
        switch (Below(8)) {
            case 0:
                text += static_cast<char>(1 + Below(255));
                break;
            case 1:
                text.append(Below(40), "ax \n*"[Below(5)]);
                break;
            case 2:
                text += token.substr(Below(token.size()));
                break;
            case 3:
                text += token.substr(0, Below(token.size()) + 1);
                break;
            case 4:
                text += token;
                text.back() = static_cast<char>(text.back() ^ (1 << Below(5)));
                text.back() = text.back() == '\0' ? 'x' : text.back();
                break;
            default:
                text += token;
                break;
        }
    }

    const Kind& kind_;
    std::mt19937 random_{20240229};
};

constexpr std::size_t kKindCount = std::size(kKinds);

// Each kind of value, first with the plain search, then with the fastest one.
class AsnMaskingProperty : public testing::TestWithParam<std::size_t> {
  protected:
    static const Kind& GetKind() { return kKinds[GetParam() % kKindCount]; }

    static void Mask(char* text, std::size_t length) {
        MaskAsnText(GetKind().typeName, text, length,
                    GetParam() < kKindCount ? KeySearch::kPlain : KeySearch::kFastest);
    }

    // Masks a copy of `text` that begins `offset` bytes behind a multiple of 64, between bytes that
    // must stay as they are.
    void ExpectLikePlain(const std::string& text, std::size_t offset) {
        constexpr std::size_t kGuard = 64;
        constexpr char kGuardByte = '#';
        area_.assign(kGuard + 64 + kGuard + text.size() + kGuard, kGuardByte);
        const std::size_t misaligned = reinterpret_cast<std::uintptr_t>(area_.data()) % 64;
        const std::size_t begin = kGuard + (64 - misaligned) + offset;
        std::copy(text.begin(), text.end(), area_.begin() + static_cast<std::ptrdiff_t>(begin));
        std::string expected = area_;
        expected.replace(begin, text.size(), MaskPlainly(GetKind().typeName, text));
        Mask(area_.data() + begin, text.size());
        ASSERT_TRUE(area_ == expected) << Shown(text) << " became " << Shown(area_);
    }

  private:
    std::string area_;
};

INSTANTIATE_TEST_SUITE_P(Search, AsnMaskingProperty, testing::Range<std::size_t>(0, 2 * kKindCount),
                         [](const auto& instance) {
                             return std::string(instance.param < kKindCount ? "Plain" : "Fastest") +
                                    kKinds[instance.param % kKindCount].label;
                         });

TEST_P(AsnMaskingProperty, MasksLikeThePlainWay) {
    TextMaker maker(GetKind());
    std::size_t changed = 0;
    constexpr std::size_t kTexts = 40000;
    for (std::size_t i = 0; i < kTexts; ++i) {
        const std::string text = maker.MakeText();
        ASSERT_NO_FATAL_FAILURE(ExpectLikePlain(text, i % 64));
        changed += MaskPlainly(GetKind().typeName, text) != text ? 1U : 0U;
    }
    // The texts would be of no use if there were hardly anything to mask in them.
    EXPECT_GT(changed, kTexts / 5);
}

TEST_P(AsnMaskingProperty, FindsEachKeyAtEachPlaceOfABlock) {
    const std::vector<std::string>& tokens = GetKind().tokens;
    for (const std::string& token : tokens) {
        for (std::size_t before = 0; before < 200; ++before) {
            // Behind the key: what ends and what opens values, up to the ends of blocks.
            const std::size_t behind = (before * 7 + token.size()) % 150;
            const std::string text = std::string(before, '.') + token + "= \"v1\"" +
                                     std::string(behind, '-') + tokens.back() +
                                     "</FTPPassWord>\"w\"";
            for (std::size_t cut = 0; cut < 24; ++cut) {
                const std::string part = text.substr(0, text.size() - std::min(cut, text.size()));
                ASSERT_NO_FATAL_FAILURE(ExpectLikePlain(part, before % 64));
            }
        }
    }
}

TEST_P(AsnMaskingProperty, MasksTextsOfEachLengthAtEachOffset) {
    std::string text;
    TextMaker maker(GetKind());
    while (text.size() < 300) {
        text += maker.MakeText();
    }
    for (std::size_t length = 0; length < 300; ++length) {
        for (std::size_t offset = 0; offset < 64; offset += 3) {
            ASSERT_NO_FATAL_FAILURE(ExpectLikePlain(text.substr(0, length), offset));
            ASSERT_NO_FATAL_FAILURE(ExpectLikePlain(text.substr(300 - length, length), offset));
        }
    }
}

// Memory between two pages that cannot be touched.
class FencedPage {
  public:
    FencedPage() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        pages_ = mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages_ == MAP_FAILED || mprotect(Begin(), size_, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
    }
    ~FencedPage() { munmap(pages_, 3 * size_); }
    FencedPage(const FencedPage&) = delete;
    FencedPage& operator=(const FencedPage&) = delete;

    char* Begin() const { return static_cast<char*>(pages_) + size_; }
    char* End() const { return Begin() + size_; }

  private:
    std::size_t size_;
    void* pages_;
};

TEST_P(AsnMaskingProperty, ReadsAndWritesNothingOutsideTheText) {
    const FencedPage page;
    TextMaker maker(GetKind());
    for (std::size_t i = 0; i < 5000; ++i) {
        const std::string text = maker.MakeText();
        ASSERT_LE(text.size(), static_cast<std::size_t>(page.End() - page.Begin()));
        const std::string expected = MaskPlainly(GetKind().typeName, text);
        for (char* place : {page.Begin(), page.End() - text.size()}) {
            std::copy(text.begin(), text.end(), place);
            Mask(place, text.size());
            ASSERT_TRUE(expected.compare(0, text.size(), place, text.size()) == 0)
                << Shown(text) << " became " << Shown(std::string(place, text.size()));
        }
    }
}

TEST_P(AsnMaskingProperty, MasksALargeTextLikeThePlainWay) {
    std::string text;
    TextMaker maker(GetKind());
    while (text.size() < 300000) {
        text += maker.MakeText();
    }
    const std::string expected = MaskPlainly(GetKind().typeName, text);
    Mask(text.data(), text.size());
    EXPECT_TRUE(text == expected);
}

}  // namespace

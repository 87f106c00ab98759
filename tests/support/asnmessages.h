// ASN messages whose text, type name and behaviour the tests decide.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <utility>

#include "asn/asnobject.h"

namespace NS_TEST {

// Behaves as its two functions say, and remembers how it was called.
//
// Thread safety: one thread at a time.
class ScriptedMessage : public NS_ASN1::AsnObject {
  public:
    using Printer = std::function<void(std::ostream& out)>;

    // `typeName` may be null and outlives the message.
    ScriptedMessage(const char* typeName, Printer printer)
        : typeName_(typeName), printer_(std::move(printer)) {}

    void Print(std::ostream& out, unsigned short indent, int format) const override {
        ++printed;
        seenIndent = indent;
        seenFormat = format;
        seenIndentG = indentG;
        printer_(out);
    }

    const char* GetTypeName() const override {
        ++typeNameAsked;
        if (onTypeNameAsked) {
            onTypeNameAsked();
        }
        return typeName_;
    }

    // May throw.
    std::function<void()> onTypeNameAsked;

    mutable int printed = 0;
    mutable int typeNameAsked = 0;
    // As Print saw them last.
    mutable int seenIndent = -1;
    mutable int seenFormat = -1;
    mutable int seenIndentG = -1;

  private:
    const char* typeName_;
    Printer printer_;
};

// Prints `text` with one write.
inline ScriptedMessage TextMessage(const char* typeName, const std::string& text) {
    return ScriptedMessage(typeName, [text](std::ostream& out) {
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
    });
}

// The same, of a type that holds no secrets.
inline ScriptedMessage TextMessage(const std::string& text) {
    return TextMessage("QAsnGetAlarmsRsp", text);
}

// The same of a type whose values are masked, which has a value for each of its keys.
struct SecretText {
    const char* type = nullptr;
    std::string text;
    std::string masked;  // how a trace shows it
};

// How many types there are.
constexpr std::size_t kSecretTypes = 8;

// A text of the type with this number. `name` and `secret` stand at every place where they can.
inline SecretText SecretTextOf(std::size_t number, const std::string& name,
                               const std::string& secret) {
    static constexpr const char* kTypes[kSecretTypes] = {
        "QAsnGetWDMSNCsByIdxsRsp",        "QAsnGetSNCsByIdxsRsp",    "QAsnGetSNCsByCIDsRsp",
        "QAsnGetWDMSNCsByCIDsRsp",        "QAsnGetNEInfoRsp",        "QAsnCreateNERpt",
        "QAsnGetPhysicalLocationInfoRsp", "AsneVOXScheduleCreateReq"};
    SecretText result{kTypes[number], "begin " + name + "\n", "begin " + name + "\n"};
    const auto add = [&](const std::string& front, const std::string& value,
                         const std::string& back) {
        result.text += name + " " + front + value + back;
        result.masked += name + " " + front + std::string(value.size(), '*') + back;
    };
    for (int part = 0; part < 2; ++part) {
        if (number < 4) {
            add("customer:", " " + secret + " customer: " + secret, "\n");
        } else if (number < 6) {
            add("NEPwd = \"", secret, "\"\n");
        } else if (number == 6) {
            for (const char* key :
                 {"roomID", "equipmentRoomName", "cabinetName", "name", "memo", "subshelfMemo",
                  "siteName", "country", "province", "city", "location"}) {
                add(key, " = \"" + secret + "\", " + secret, "\n");
            }
        } else {
            add("<FTPPassWord>", secret + "\n<" + secret, "</FTPPassWord>\n");
        }
    }
    result.text += "end " + name;
    result.masked += "end " + name;
    return result;
}

// `size` characters without a zero byte, a newline and capital letters, which look different
// wherever one looks. In blocks: a loop over single characters takes too long under a sanitizer.
inline std::string LongText(std::size_t size) {
    std::string block;
    while (block.size() < 8192) {
        block += std::to_string(block.size()) + (block.size() % 3 == 0 ? ".a" : "-b");
    }
    std::string text;
    text.reserve(size + block.size() + 32);
    while (text.size() < size) {
        text += '[' + std::to_string(text.size()) + ']';
        text += block;
    }
    text.resize(size);
    return text;
}

}  // namespace NS_TEST

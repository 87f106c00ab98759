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

// `size` characters in which no place looks like its neighbourhood, without a zero byte and without
// a newline.
inline std::string LongText(std::size_t size) {
    std::string text;
    text.reserve(size + 16);
    for (std::size_t i = 0; text.size() < size; ++i) {
        text += std::to_string(i * 2654435761u % 1000003u);
        text += '.';
    }
    text.resize(size);
    return text;
}

}  // namespace NS_TEST

#include "format/headerparser.h"

#include <charconv>

#include "format/fixedtext.h"
#include "format/usualheader.h"

namespace NS_LOG_READER {
namespace {

// Takes a number and the label before it off the end of the text.
template <class Number>
bool TakeNumberFromEnd(std::string_view& text, std::string_view label, Number& number) {
    size_t at = text.size();
    while (at > 0 && IsDigit(text[at - 1])) {
        --at;
    }
    if (at > 0 && text[at - 1] == '-') {
        --at;
    }
    const auto result = std::from_chars(text.data() + at, text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() ||
        !EndsWith(text.substr(0, at), label)) {
        return false;
    }
    text.remove_suffix(text.size() - at + label.size());
    return true;
}

// ", T:<thread>, DL:<level>" before the last ", File: " that has them: users may write anything
// into the fields on the left, the fields on the right come from the source code.
bool TakeSource(std::string_view& header, Record& record) {
    constexpr std::string_view fileLabel = ", File: ";
    constexpr std::string_view functionLabel = " Func:";
    size_t end = header.size();
    for (;;) {
        const size_t at = FindLastText(header.substr(0, end), fileLabel);
        if (at == std::string_view::npos) {
            return false;
        }
        std::string_view before = header.substr(0, at);
        const std::string_view source = header.substr(at + fileLabel.size());
        const size_t function = FindText(source, functionLabel);
        if (function != std::string_view::npos &&
            TakeNumberFromEnd(before, ", DL:", record.level) &&
            TakeNumberFromEnd(before, ", T:", record.thread)) {
            record.file = source.substr(0, function);
            record.function = source.substr(function + functionLabel.size());
            header = before;
            return true;
        }
        end = at;
    }
}

// "<operation>,TopT:<number>,If:<interface>,UserMsg:<user>"
bool ParseContext(std::string_view context, Record& record) {
    constexpr std::string_view threadLabel = ",TopT:";
    constexpr std::string_view interfaceLabel = ",If:";
    constexpr std::string_view userLabel = ",UserMsg:";
    const size_t thread = FindText(context, threadLabel);
    const size_t interface = FindText(context, interfaceLabel, thread);
    const size_t user = FindText(context, userLabel, interface);
    if (user == std::string_view::npos) {
        return false;
    }
    record.operation = context.substr(0, thread);
    record.operationThread = 0;
    std::from_chars(context.data() + thread + threadLabel.size(), context.data() + interface,
                    record.operationThread);
    record.interface =
        context.substr(interface + interfaceLabel.size(), user - interface - interfaceLabel.size());
    record.user = context.substr(user + userLabel.size());
    return true;
}

// Whatever the texts of the users hold.
size_t ParseAnyHeader(std::string_view text, size_t stamp, std::string_view detailLabel,
                      Record& record) {
    // A user's text with a newline leaves the label on a later line.
    for (size_t end = FindText(text, detailLabel, stamp); end != std::string_view::npos;
         end = FindText(text, detailLabel, end + 1)) {
        std::string_view header = text.substr(0, end);
        if (!TakeNumberFromEnd(header, " Line:", record.line)) {
            continue;
        }
        if (!TakeSource(header, record) || header.size() < stamp + 2 ||
            !ParseContext(header.substr(stamp + 2), record)) {
            return 0;
        }
        return end + detailLabel.size();
    }
    return 0;
}

}  // namespace

size_t ParseHeader(std::string_view text, std::string_view detailLabel, Record& record) {
    const size_t stamp = ParseStamp(text, record.time);
    if (stamp == 0 || !StartsWith(text.substr(stamp), ", ")) {
        return 0;
    }
    record.stamp = text.substr(0, stamp);
    const size_t detail = ParseUsualHeader(text, detailLabel, record);
    return detail != 0 ? detail : ParseAnyHeader(text, stamp, detailLabel, record);
}

}  // namespace NS_LOG_READER

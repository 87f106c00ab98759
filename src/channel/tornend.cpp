#include "channel/tornend.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace NS_LOG_SERVICE1 {
namespace {

// The end of the file is looked at in parts that grow, until a whole record is found. A torn dump
// may be longer than the largest part: it holds as many ASN messages as are kept back.
constexpr uint64_t kFirstLook = uint64_t{64} * 1024;
constexpr uint64_t kLongestLook = uint64_t{16} * 1024 * 1024;

// Each part contains so much of the one behind it: a tag that lies on the border is seen whole.
constexpr uint64_t kOverlap = 64;

// Returns where the tag ends that begins at `position`: `opening`, digits and `closing`. npos:
// there is none.
size_t TagEnd(std::string_view text, size_t position, std::string_view opening,
              std::string_view closing) {
    if (text.compare(position, opening.size(), opening) != 0) {
        return std::string_view::npos;
    }
    const size_t digits = position + opening.size();
    const size_t end = std::min(text.find_first_not_of("0123456789", digits), text.size());
    return end != digits && text.compare(end, closing.size(), closing) == 0
               ? end + closing.size()
               : std::string_view::npos;
}

// Returns where the last whole frame of `text` ends, or its last line about the file itself. npos:
// there is neither.
size_t LastWholeEnd(std::string_view text) {
    size_t line = text.size();
    while (line != 0) {
        const size_t newline = line < 2 ? std::string_view::npos : text.rfind('\n', line - 2);
        line = newline == std::string_view::npos ? 0 : newline + 1;
        const size_t frameEnd = TagEnd(text, line, "</", ">\n\n");
        if (frameEnd != std::string_view::npos) {
            return frameEnd;
        }
        const std::string_view rest = text.substr(line);
        if (rest.rfind("File create at ", 0) == 0 || rest.rfind("File close at ", 0) == 0) {
            const size_t end = rest.find('\n');
            if (end != std::string_view::npos) {
                return line + end + 1;
            }
        }
    }
    return std::string_view::npos;
}

// Returns where the first frame of `text` begins. npos: none does.
size_t FirstFrame(std::string_view text) {
    size_t line = 0;
    while (line < text.size()) {
        if (TagEnd(text, line, "<", ">\n") != std::string_view::npos) {
            return line;
        }
        const size_t newline = text.find('\n', line);
        line = newline == std::string_view::npos ? text.size() : newline + 1;
    }
    return std::string_view::npos;
}

// Looks for the torn end from the end of the file on, part by part.
class Search {
  public:
    explicit Search(const FileStream& file) : file_(file) {}

    std::error_code Find(uint64_t& size) {
        uint64_t end = file_.SizeFound();
        for (uint64_t look = kFirstLook;; look *= 4) {
            const uint64_t begin = end - std::min(look, end);
            if (const std::error_code error = LookAt(begin, end)) {
                return error;
            }
            if (isFound_ || begin == 0) {
                break;
            }
            if (look >= kLongestLook) {
                look = kLongestLook / 4;
                end = begin + kOverlap;
            }
        }
        size = textEnd_ - torn_;
        return {};
    }

  private:
    std::error_code LookAt(uint64_t begin, uint64_t end) {
        text_.resize(end - begin);
        const ReadResult result = file_.Read(begin, text_.data(), text_.size());
        if (result.error) {
            return result.error;
        }
        text_.resize(result.length);
        if (end == file_.SizeFound()) {
            textEnd_ = begin + text_.size();
            isLineKnown_ = false;
        }
        NoteUnendedLine(begin);
        NoteFrames(begin);
        return {};
    }

    // All that stands in no frame is short records, of which the last one may be torn.
    void NoteUnendedLine(uint64_t begin) {
        const size_t newline = text_.rfind('\n');
        if (!isLineKnown_) {
            torn_ = begin + (newline == std::string::npos ? 0 : newline + 1);
            isLineKnown_ = newline != std::string::npos;
        }
    }

    // No frame ends behind the first one that begins after the last whole one, so that is torn.
    void NoteFrames(uint64_t begin) {
        // The part may begin in the middle of a line.
        const size_t firstLine = begin == 0 ? 0 : text_.find('\n') + 1;
        if (begin != 0 && firstLine == 0) {
            return;
        }
        const std::string_view lines = std::string_view(text_).substr(firstLine);
        const size_t whole = LastWholeEnd(lines);
        isFound_ = whole != std::string_view::npos;
        const size_t from = isFound_ ? whole : 0;
        const size_t frame = FirstFrame(lines.substr(from));
        if (frame != std::string_view::npos) {
            torn_ = begin + firstLine + from + frame;
        }
    }

    const FileStream& file_;
    std::string text_;
    bool isFound_ = false;  // a whole frame, or a line about the file
    bool isLineKnown_ = false;
    uint64_t torn_ = 0;  // where the torn piece begins, as far as is known
    uint64_t textEnd_ = 0;
};

}  // namespace

std::error_code FindTornEnd(const FileStream& file, uint64_t& size) {
    return Search(file).Find(size);
}

}  // namespace NS_LOG_SERVICE1

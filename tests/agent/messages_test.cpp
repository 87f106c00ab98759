// The table of messages in the operator's guide: it has each one, and none that nobody says.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>

#include "support/files.h"

namespace {

using namespace testing;

const std::string kSources = QV_SOURCES;

// The characters between two places, of which the first one is behind an opening quote.
std::string TakeLiteral(const std::string& text, size_t& position) {
    std::string literal;
    for (; text[position] != '"'; ++position) {
        if (text[position] == '\\') {
            ++position;
            literal += text[position] == 'n' ? '\n' : text[position];
        } else {
            literal += text[position];
        }
    }
    return literal;
}

// The string literals from there to the end of the statement; adjacent ones are one.
std::vector<std::string> LiteralsFrom(const std::string& text, size_t position) {
    std::vector<std::string> literals;
    bool isAdjacent = false;
    for (; position < text.size() && text[position] != ';'; ++position) {
        if (text[position] == '"') {
            ++position;
            const std::string literal = TakeLiteral(text, position);
            if (isAdjacent) {
                literals.back() += literal;
            } else {
                literals.push_back(literal);
            }
            isAdjacent = true;
        } else if (std::isspace(static_cast<unsigned char>(text[position])) == 0) {
            isAdjacent = false;
        }
    }
    return literals;
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

// The parts of a message that are the same each time. What is a single word is mostly a name.
void AddPieces(const std::string& literal, std::set<std::string>& pieces) {
    for (size_t begin = 0; begin < literal.size();) {
        const size_t end = std::min(literal.find('%', begin), literal.size());
        const std::string piece = Trimmed(literal.substr(begin, end - begin));
        if (!piece.empty() &&
            (piece.find(' ') != std::string::npos || piece.front() == '[' || piece.back() == ':')) {
            pieces.insert(piece);
        }
        // Behind the letter of a placeholder, or the sign itself.
        begin = std::min(literal.find_first_of("sdu%", end + 1), literal.size()) + 1;
    }
}

// A source without the lines that are comments.
std::string CodeOf(const std::string& path) {
    std::string code;
    for (const std::string& line : NS_TEST::ReadLines(path)) {
        const size_t first = line.find_first_not_of(' ');
        if (first != std::string::npos && line.compare(first, 2, "//") != 0) {
            code += line + "\n";
        }
    }
    return code;
}

// The pieces of all messages of the sources below a directory. What stands in answer.cpp is said to
// qv_agentctl.
void AddMessagesOf(const std::string& directory, std::set<std::string>& pieces) {
    const char* const starts[] = {"Report(",          "tell_(",           "AgentError(",
                                  "runtime_error(",   "ThrowUnreadable(", "fprintf(",
                                  "Print(",           "push_back(",       "emplace_back(",
                                  "return \"no ",     "Diagnostic ",      "kNeededForChanges[] =",
                                  "ReportIfPossible("};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.path().extension() != ".cpp" || entry.path().filename() == "answer.cpp") {
            continue;
        }
        const std::string text = CodeOf(entry.path().string());
        for (const char* const start : starts) {
            for (size_t at = text.find(start); at != std::string::npos;
                 at = text.find(start, at + 1)) {
                for (const std::string& literal : LiteralsFrom(text, at)) {
                    AddPieces(literal, pieces);
                }
            }
        }
    }
}

std::set<std::string> AllPieces() {
    std::set<std::string> pieces;
    for (const char* directory : {"/host/agent", "/host/bundles", "/host/platform", "/src"}) {
        AddMessagesOf(kSources + directory, pieces);
    }
    return pieces;
}

// The first column of the guide's tables.
std::vector<std::string> GuideMessages() {
    std::vector<std::string> messages;
    for (const std::string& line : NS_TEST::ReadLines(kSources + "/docs/messages.md")) {
        if (line.rfind("| `", 0) == 0) {
            messages.push_back(line.substr(2, line.find(" | ", 2) - 2));
        }
    }
    return messages;
}

bool Has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

TEST(MessageGuide, HasEachMessageOfTheServiceAndTheAgentAndNoOther) {
    const std::set<std::string> pieces = AllPieces();
    ASSERT_GT(pieces.size(), 90U) << "the sources are not understood any more";
    const std::vector<std::string> messages = GuideMessages();
    ASSERT_GT(messages.size(), 70U);
    const std::string guide = NS_TEST::ReadFile(kSources + "/docs/messages.md");
    for (const std::string& piece : pieces) {
        EXPECT_TRUE(Has(guide, piece)) << piece;
    }
    for (const std::string& message : messages) {
        EXPECT_TRUE(std::any_of(pieces.begin(), pieces.end(), [&message](const std::string& piece) {
            return Has(message, piece);
        })) << message;
    }
}

}  // namespace

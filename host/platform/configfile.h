// The agent's configuration file: reading it and making items of its lines.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/platformapi.h"

namespace NS_REFERENCE_HOST {

// A line of the file that is no item.
struct BrokenLine {
    size_t number;  // the first line is 1
    const char* reason;
};

// All of them: the first ten, and how many come behind these. A file that was put there by mistake
// may have millions.
struct BrokenLines {
    std::vector<BrokenLine> first;
    size_t more = 0;

    void Add(const BrokenLine& line);
};

// Says it of those behind the first ones, such as "7 more lines are skipped".
QV_PLATFORM_API std::string DescribeMore(const BrokenLines& lines);

// An item where it stands.
struct ConfigLine {
    size_t number;
    NS_BUNDLEMGR1::NameValueStru item;
};

// The lines of a text in the format of the configuration file: lines "key = value", comments
// (lines that begin with '#', perhaps after blanks) and empty lines. Blanks around key and value
// are ignored, and so are a carriage return at the end of a line and a byte-order mark at the
// start.
struct ConfigLines {
    std::vector<ConfigLine> items;  // a key may come again
    BrokenLines brokenLines;
};

QV_PLATFORM_API ConfigLines ParseConfigLines(const std::string& text);

// The contents of such a text.
struct ConfigText {
    std::vector<NS_BUNDLEMGR1::NameValueStru> items;  // one for each key, with its last value
    BrokenLines brokenLines;
};

QV_PLATFORM_API ConfigText ParseConfigText(const std::string& text);

// Reads a whole decimal number with an optional sign. Returns false and leaves `value` alone when
// the text is none, or does not fit an int.
QV_PLATFORM_API bool ParseWholeNumber(const std::string& text, int& value);

// Returns whether the last line ends with a newline. False for an empty text.
bool EndsWithNewline(const std::string& text);

// The same for a text of which the end may be missing: a last line without a newline is a broken
// one.
ConfigText ParseUnfinishedConfigText(const std::string& text);

// Returns the path of the configuration file, from the environment as it is now.
QV_PLATFORM_API std::string ConfigFilePath();

// Returns the bytes of the file at `path`, empty when there is no such file. Throws
// InterfaceNotExistException with the errno as its code when the file cannot be read to its end,
// when it is larger than 16 MiB, and for what is no file.
QV_PLATFORM_API std::string ReadConfigText(const std::string& path);

// The same for a file that somebody may be writing in place. Waits until the second of the last
// change is over, and reads again when the file changes meanwhile, a few times at most. So a later
// change has a later modification time in whole seconds, and who compares these sees it. Takes a
// little more than a second for a file that has just been changed, and a few seconds for one that
// keeps changing.
std::string ReadSettledConfigText(const std::string& path);

}  // namespace NS_REFERENCE_HOST

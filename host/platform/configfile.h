// The agent's configuration file: reading it and making items of its lines.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"

namespace NS_REFERENCE_HOST {

// A line of the file that is no item.
struct BrokenLine {
    size_t number;  // the first line is 1
    const char* reason;
};

// What a text in the form of the configuration file says: lines "key = value", comments (lines
// whose first character behind blanks is '#') and empty lines. Blanks around key and value do not
// count, nor does a carriage return at the end of a line or a byte-order mark at the start.
struct ConfigText {
    std::vector<NS_BUNDLEMGR1::NameValueStru> items;  // one for each key, with its last value
    std::vector<BrokenLine> brokenLines;
};

ConfigText ParseConfigText(const std::string& text);

// Whether the last line has its end. There is none in an empty text.
bool EndsWithNewline(const std::string& text);

// What a text says of which more may follow: its last line, whose end is missing, is a broken one.
ConfigText ParseUnfinishedConfigText(const std::string& text);

// The path of the configuration file, as the environment says at this moment.
std::string ConfigFilePath();

// The bytes of the file at `path`, empty when there is no such file. Throws
// InterfaceNotExistException, whose code is the errno, when the file cannot be read to its end.
std::string ReadConfigText(const std::string& path);

// The same for a file that somebody may be writing in place at this moment: the bytes as they stand
// once the second of the last change is over, and between two changes where that can be had.
// Whoever compares modification times in whole seconds thus sees every change that came too late
// for this reading. Takes up to a good second for a file that was changed just now, a few where it
// is changed again and again.
std::string ReadSettledConfigText(const std::string& path);

}  // namespace NS_REFERENCE_HOST

// Texts from elsewhere, made fit for a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace NS_REFERENCE_HOST {

// Whether the user's terminal shows UTF-8, as the environment says. Call before other threads.
bool TerminalShowsUtf8();

// The text without anything that a terminal could obey or that could mislead the eye: control
// characters, characters that turn the direction of writing, and bytes that are no valid UTF-8
// (or, unless `utf8`, no ASCII) become \n, \t or \xNN, a backslash becomes two. So $'...' of a
// shell makes the original of it.
std::string EscapeForTerminal(const std::string& text, bool utf8);

// The text with U+FFFD for each byte that is part of no valid character.
std::string ReplaceInvalidUtf8(const std::string& text);

// How many characters a valid text has.
std::size_t CountCharacters(const std::string& text);

}  // namespace NS_REFERENCE_HOST

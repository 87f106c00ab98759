// Makes texts safe for a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace NS_REFERENCE_HOST {

// Returns whether the user's terminal shows UTF-8, by the environment. REQUIRES: no other thread
// runs yet.
bool TerminalShowsUtf8();

// Returns the text with escapes for what a terminal could execute or show misleadingly. Control
// characters, characters that change the direction of writing, and bytes that are not valid UTF-8
// (or not ASCII, unless `utf8`) become \n, \t or \xNN. A backslash becomes two. A shell's $'...'
// restores the original.
std::string EscapeForTerminal(const std::string& text, bool utf8);

// Returns the text with U+FFFD for each byte that is not part of a valid character.
std::string ReplaceInvalidUtf8(const std::string& text);

// Returns the number of characters of a valid text.
std::size_t CountCharacters(const std::string& text);

}  // namespace NS_REFERENCE_HOST

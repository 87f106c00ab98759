// Masking as one would write it down at first: key after key, each with searches of its own. Slow,
// and therefore the measure of what MaskAsnText must do.
#pragma once

#include <string>

// The text of a message of type `typeName` as it is after masking.
std::string MaskPlainly(const std::string& typeName, std::string text);

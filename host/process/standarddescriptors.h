// Standard input, output and error that are closed.
#pragma once

namespace NS_REFERENCE_HOST {

// Opens a device for each of the three that is closed; for the output the one at `outputDevice`.
// Otherwise the next files that are opened would get their numbers, and would be read as the input
// or receive messages.
void FillStandardDescriptors(const char* outputDevice);

}  // namespace NS_REFERENCE_HOST

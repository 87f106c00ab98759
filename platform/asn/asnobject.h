// The base of the ASN messages that callers exchange with their clients.
#pragma once

#include <ostream>

#include "bundlemgr/platformapi.h"

// How deep the message that is being printed is nested at this point; print operations raise and
// lower it. Whoever starts to print a message sets it to 0 first. Not guarded: all printing in a
// process goes through one lock of the caller's.
QV_PLATFORM_API extern unsigned short indentG;

namespace NS_ASN1 {

class AsnObject {
  public:
    virtual ~AsnObject() = default;

    // Writes the message's text form to `out`, `indent` blanks deep. `format` 1: one field a line.
    virtual void Print(std::ostream& out, unsigned short indent, int format) const = 0;

    // The name of the message's type, or null when it has none. The text lives as long as the
    // message.
    virtual const char* GetTypeName() const = 0;
};

}  // namespace NS_ASN1

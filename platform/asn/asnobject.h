// The base of the ASN messages that callers exchange with their clients.
#pragma once

#include <ostream>

#include "bundlemgr/platformapi.h"

// The nesting depth at this point of the message that is being printed. Print operations raise and
// lower it. The caller sets it to 0 before it prints a message. Not guarded: the process prints one
// message at a time.
QV_PLATFORM_API extern unsigned short indentG;

namespace NS_ASN1 {

// A message that can print itself.
class AsnObject {
  public:
    virtual ~AsnObject() = default;

    // Writes the message as text to `out`, indented by `indent` blanks. `format` 1: one field a
    // line. May throw.
    virtual void Print(std::ostream& out, unsigned short indent, int format) const = 0;

    // Returns the name of the message's type, or null when it has none. The text lives as long as
    // the message.
    virtual const char* GetTypeName() const = 0;
};

}  // namespace NS_ASN1

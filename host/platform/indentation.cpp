// How deep the message that is being printed is nested.
#include "asn/asnobject.h"

unsigned short indentG = 0;

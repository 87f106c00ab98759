#include "logger/asndump.h"

#include <ace/OS_NS_stdio.h>
#include <pthread.h>

#include <cstring>

// Deprecated for its growing form; over a fixed array it is what is needed here.
#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")

#include "base/boundedstring.h"
#include "base/nodestructor.h"
#include "bundlemgr/corbaconfigitems.h"
#include "diagnostic/messages.h"
#include "masking/asnmasking.h"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr size_t kDumpSize = 4096000;
// Where the notice of a cut stands: the last bytes of the buffer.
constexpr size_t kNoticeSize = 50;

// Ends with a zero byte, unless a dump fills it to the last byte: searches must be bounded. Guarded
// by the dump's mutex, which an AsnDump holds as long as it lives: its operations need not ask.
char dumpText[kDumpSize];

// The stream over the buffer, and the lock that gives out turns at both.
struct DumpStream {
    Mutex mutex;
    std::strstream stream{dumpText, kDumpSize, std::ios::out};
    std::ios pristine{nullptr};
};

DumpStream& Dump() {
    static NoDestructor<DumpStream> dump;
    return *dump;
}

// Puts right whatever a message has done to the stream: its looks, the exceptions that it raises
// (first, so that nothing here does), its buffer, and with that its error state.
void Restore(DumpStream& dump) {
    dump.stream.copyfmt(dump.pristine);
    static_cast<std::ios&>(dump.stream).rdbuf(dump.stream.rdbuf());
}

void Rewind(DumpStream& dump) {
    Restore(dump);
    dump.stream.seekp(0);
}

size_t TextLength() {
    return strnlen(dumpText, kDumpSize);
}

}  // namespace

AsnDump::AsnDump() : turn_(Dump().mutex) {
    indentG = 0;
}

AsnDump::~AsnDump() {
    Rewind(Dump());
}

// Whatever goes wrong in the message's code, a text that is only half there, or not masked yet,
// must not be what a later call repeats.
void AsnDump::Print(const NS_ASN1::AsnObject& message) {
    try {
        PrintWhole(message);
    } catch (...) {
        dumpText[0] = '\0';
        throw;
    }
    MarkCut();
}

void AsnDump::PrintMasked(const NS_ASN1::AsnObject& message) {
    try {
        PrintWhole(message);
        const char* typeName = message.GetTypeName();
        MaskAsnText(typeName == nullptr ? "" : typeName, dumpText, TextLength());
    } catch (...) {
        dumpText[0] = '\0';
        throw;
    }
    MarkCut();
}

std::string AsnDump::Text() const {
    return std::string(dumpText, TextLength());
}

void AsnDump::Echo(const std::string& text) {
    char header[128] = {};
    if (snprintf_s(header, sizeof header, sizeof header - 1, "Thread:%d, ASN Trace:\n",
                   static_cast<int>(pthread_self())) < 0) {
        kDumpFormatFailed.Report();
    }
    ACE_OS::printf("%s%s", header, text.c_str());
}

// The text must end here even when the message has left the stream in error: what stands behind it
// belongs to an older dump, and what an older message printed behind a zero byte, or before it
// threw, was never masked.
void AsnDump::PrintWhole(const NS_ASN1::AsnObject& message) {
    DumpStream& dump = Dump();
    Rewind(dump);
    message.Print(dump.stream, 0, 1);
    Restore(dump);
    dump.stream.put('\0');
}

// A full buffer, its zero byte included, counts as cut: whether the last byte was lost cannot be
// told any more.
void AsnDump::MarkCut() {
    if (static_cast<size_t>(Dump().stream.pcount()) < kDumpSize) {
        return;
    }
    if (snprintf_s(dumpText + kDumpSize - kNoticeSize, kNoticeSize, kNoticeSize - 1,
                   "\n...More ASN not print.\n") < 0) {
        kDumpFormatFailed.Report();
    }
}

bool ReadAsnTraceFlag(LogSettings& settings) {
    static RelaxedAtomic<int> remembered{0};
    if (remembered != 0) {
        return true;
    }
    int value = remembered;
    if (!NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetIntItemInfo("bEnableAsnTrace", value)) {
        // The item goes back to its default with the report: a part of the contract with operators;
        // see docs/compatibility.md.
        kNoEnableAsnTrace.Report();
        settings.logfilesize = kDefaultLogFileSize;
    }
    remembered = value;
    return value != 0;
}

}  // namespace NS_LOG_SERVICE1

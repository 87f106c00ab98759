#include "logger/asndump.h"

#include <ace/OS_NS_stdio.h>
#include <pthread.h>

#include <cstring>

// strstream is deprecated because of its growing form. This file uses it over a fixed array.
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
// The notice of a cut takes the last bytes of the buffer.
constexpr size_t kNoticeSize = 50;

// Ends with a zero byte, unless a dump fills it to the last byte: searches must be bounded. Not
// GUARDED_BY: only AsnDump uses it, and holds the mutex as long as it lives.
char dumpText[kDumpSize];

// The stream over the buffer, and the mutex that guards both.
struct DumpStream {
    Mutex mutex;
    std::strstream stream{dumpText, kDumpSize, std::ios::out};
    std::ios pristine{nullptr};
};

DumpStream& Dump() {
    static NoDestructor<DumpStream> dump;
    return *dump;
}

// Resets what a message may have changed in the stream: the format flags and the exception mask
// (first, so that nothing here throws), the buffer, and with it the error state.
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

// A later call may repeat the buffer's text. When the message throws, the text may be incomplete or
// not masked yet, so it is removed.
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

void AsnDump::MakeStaticObjects() {
    Dump();
}

void AsnDump::AfterForkInChild() {
    Renew(Dump());
    dumpText[0] = '\0';
}

void AsnDump::Echo(const std::string& text) {
    char header[128] = {};
    if (snprintf_s(header, sizeof header, sizeof header - 1, "Thread:%d, ASN Trace:\n",
                   static_cast<int>(pthread_self())) < 0) {
        kDumpFormatFailed.Report();
    }
    ACE_OS::printf("%s%s", header, text.c_str());
}

// Ends the text even when the message has left the stream in an error state. It is followed by
// the text of an older dump, and what an older message printed after a zero byte, or before it
// threw, was never masked.
void AsnDump::PrintWhole(const NS_ASN1::AsnObject& message) {
    DumpStream& dump = Dump();
    Rewind(dump);
    message.Print(dump.stream, 0, 1);
    Restore(dump);
    dump.stream.put('\0');
}

// A buffer that is full, including the zero byte, counts as cut: it is unknown whether more was
// lost.
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

bool AsnTraceFlag::Get(LogSettings& settings) {
    if (value_.load(std::memory_order_acquire) == kNotRead) {
        const LockGuard<Mutex> guard(mutex_);
        if (value_.load(std::memory_order_relaxed) == kNotRead) {
            value_.store(ReadAsnTraceFlag(settings) ? kOn : kOff, std::memory_order_release);
        }
    }
    return value_.load(std::memory_order_relaxed) == kOn;
}

}  // namespace NS_LOG_SERVICE1

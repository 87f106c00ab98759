// A log proxy that writes diagnostics to standard error.
#include "stderrlogproxy.h"

#include <ace/OS_NS_sys_time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <map>
#include <memory>

#include "bundlemgr/logsupport.h"
#include "hostcontrol.h"
#include "nodestructor.h"

namespace NS_REFERENCE_HOST {

namespace {

// The source position of the calling thread's next diagnostic. One per thread is enough: each
// position is set right before its diagnostic. The type is trivial, so that it can be used while
// the thread ends.
struct Position {
    const NS_BUNDLEMGR1::LogProxy* proxy;  // null: no position is set
    const char* file;
    int line;
};

thread_local Position nextPosition = {nullptr, nullptr, 0};

__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format,
                                                             va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    char buffer[1024];
    const int length = std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    std::string text;
    if (length < 0) {
        text = format;
    } else if (static_cast<size_t>(length) < sizeof(buffer)) {
        text.assign(buffer, static_cast<size_t>(length));
    } else {
        text.resize(static_cast<size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

// Appends `text` as one line: escapes the control characters inside it.
void AppendOneLine(const std::string& text, std::string& line) {
    const size_t first = text.find_first_not_of("\r\n");
    if (first == std::string::npos) {
        return;
    }
    const size_t last = text.find_last_not_of("\r\n");
    for (size_t i = first; i <= last; ++i) {
        const unsigned char character = static_cast<unsigned char>(text[i]);
        if (character == '\n') {
            line += "\\n";
        } else if (character == '\r') {
            line += "\\r";
        } else if ((character < 0x20 && character != '\t') || character == 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\x%02x", character);
            line += escape;
        } else {
            line += text[i];
        }
    }
}

void WriteLine(const std::string& line) {
    const char* next = line.data();
    size_t left = line.size();
    while (left > 0) {
        const ssize_t written = write(STDERR_FILENO, next, left);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        next += written;
        left -= static_cast<size_t>(written);
    }
}

// Thread safety: any thread may call any operation.
class Provider final : public NS_BUNDLEMGR1::LogProxyProvider {
  public:
    NS_BUNDLEMGR1::LogProxy* GetLogProxy(const std::string& name) override EXCLUDES(lock_) {
        const MutexLock guard(lock_);
        std::unique_ptr<StderrLogProxy>& proxy = proxies_[name];
        if (proxy == nullptr) {
            proxy = std::make_unique<StderrLogProxy>(name, lock_);
        }
        return proxy.get();
    }

    Mutex& Lock() { return lock_; }

  private:
    Mutex lock_;
    std::map<std::string, std::unique_ptr<StderrLogProxy>> proxies_ GUARDED_BY(lock_);
};

Provider& TheProvider() {
    static const NoDestructor<Provider> provider;
    return *provider;
}

}  // namespace

StderrLogProxy::StderrLogProxy(const std::string& name, Mutex& lock)
    : lock_(lock), bundleName_(name), serviceName_("-") {}

void StderrLogProxy::Print(int level, const char* format, ...) {
    const int callersErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = FormatText(format, arguments);
        std::string line = TakeHeader(level);
        std::string converted;
        AppendOneLine(NS_BUNDLEMGR1::Convert2UTFforLog(text, converted), line);
        line += '\n';
        WriteLine(line);
    } catch (const std::bad_alloc&) {
        // Without memory for the line there is none for complaining about it either.
        nextPosition.proxy = nullptr;
    }
    va_end(arguments);
    errno = callersErrno;
}

std::string StderrLogProxy::TakeHeader(int level) {
    std::string header;
    NS_BUNDLEMGR1::GetZoneTimeStamp(ACE_OS::gettimeofday(), header);
    header += " level " + std::to_string(level) + ' ';
    {
        const MutexLock guard(lock_);
        header += bundleName_ + ' ' + serviceName_ + ' ';
    }
    if (nextPosition.proxy == this) {
        header += nextPosition.file;
        header += ':' + std::to_string(nextPosition.line) + ' ';
        nextPosition.proxy = nullptr;
    } else {
        header += "- ";
    }
    return header;
}

void StderrLogProxy::SetPosition(const char* file, int line) {
    nextPosition = {file == nullptr ? nullptr : this, file, line};
}

void StderrLogProxy::SetBundleName(const char* name) {
    const MutexLock guard(lock_);
    bundleName_ = name;
}

void StderrLogProxy::SetServiceName(const char* name) {
    const MutexLock guard(lock_);
    serviceName_ = name;
}

std::string StderrLogProxy::GetProxyName() const {
    return "StderrLogProxy";
}

NS_BUNDLEMGR1::LogProxyProvider* StderrLogProxyProvider() {
    return &TheProvider();
}

Mutex& StderrLogProxyLock() {
    return TheProvider().Lock();
}

}  // namespace NS_REFERENCE_HOST

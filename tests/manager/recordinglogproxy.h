// What the service says about itself, recorded instead of printed.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "bundlemgr/logproxy.h"
#include "platform/hostcontrol.h"

namespace NS_TEST {

// One diagnostic, with the position that was set for it.
struct RecordedDiagnostic {
    int level;
    std::string format;
    std::string text;
    std::string file;
    int line;
};

// Thread safety: any thread; positions are kept by thread.
class RecordingLogProxy : public NS_BUNDLEMGR1::LogProxy {
  public:
    std::vector<RecordedDiagnostic> All() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return diagnostics_;
    }
    void Clear() {
        const std::lock_guard<std::mutex> guard(mutex_);
        diagnostics_.clear();
        listener_ = nullptr;
    }

    // Calls `listener` with each diagnostic to come, until the next Clear.
    void SetListener(std::function<void(const RecordedDiagnostic&)> listener) {
        const std::lock_guard<std::mutex> guard(mutex_);
        listener_ = std::move(listener);
    }

    void Print(int level, const char* format, ...) override __attribute__((format(printf, 3, 4))) {
        char text[8192];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof(text), format, arguments);
        va_end(arguments);
        const std::lock_guard<std::mutex> guard(mutex_);
        diagnostics_.push_back({level, format, text, Position().file, Position().line});
        Position() = {};
        if (listener_) {
            listener_(diagnostics_.back());
        }
    }
    void SetPosition(const char* file, int line) override { Position() = {file, line}; }
    void SetBundleName(const char* name) override { names_.push_back(name); }
    void SetServiceName(const char* name) override { names_.push_back(name); }
    std::string GetProxyName() const override { return "RecordingLogProxy"; }

    // The names that were told, in their order.
    const std::vector<std::string>& Names() const { return names_; }

    void Reserved2() override {}
    void Reserved3() override {}
    void Reserved5() override {}
    int Reserved6() override { return 0; }
    int Reserved7() override { return 0; }
    int Reserved8() override { return 0; }
    int Reserved9() override { return 0; }
    int Reserved10() override { return 0; }
    void Reserved11() override {}
    int Reserved12() override { return 0; }

  private:
    struct SourcePosition {
        std::string file;
        int line = 0;
    };
    static SourcePosition& Position() {
        thread_local SourcePosition position;
        return position;
    }

    mutable std::mutex mutex_;
    std::vector<RecordedDiagnostic> diagnostics_;              // guarded by mutex_
    std::function<void(const RecordedDiagnostic&)> listener_;  // guarded by mutex_
    std::vector<std::string> names_;
};

// Gives out one proxy, or null where it is told so, and counts how often it is asked.
class RecordingProvider final : public NS_BUNDLEMGR1::LogProxyProvider {
  public:
    NS_BUNDLEMGR1::LogProxy* GetLogProxy(const std::string& name) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        asked_.push_back(name);
        return hasProxy_ ? &proxy_ : nullptr;
    }

    RecordingLogProxy& Proxy() { return proxy_; }
    void SetHasProxy(bool hasProxy) { hasProxy_ = hasProxy; }
    std::vector<std::string> Asked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return asked_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> asked_;  // guarded by mutex_
    bool hasProxy_ = true;
    RecordingLogProxy proxy_;
};

// The recorder that the service gets in this process. It keeps the proxy that it was given first
// for as long as the process lives, so this one is never destroyed.
inline RecordingLogProxy& Diagnostics() {
    static RecordingProvider& provider = *new RecordingProvider;
    NS_REFERENCE_HOST::SetLogProxyProvider(&provider);
    return provider.Proxy();
}

}  // namespace NS_TEST

// A log proxy that remembers what it was told, and the provider that gives it out.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bundlemgr/logproxy.h"
#include "platform/hostcontrol.h"

namespace NS_TEST {

// One diagnostic as it reached the proxy.
struct PrintedDiagnostic {
    int level = 0;
    std::string format;
    std::string text;  // the format with its values
    std::string file;  // empty when no position was set for this diagnostic
    int line = 0;
};

inline void PrintTo(const PrintedDiagnostic& diagnostic, std::ostream* out) {
    *out << diagnostic.file << ":" << diagnostic.line << " level " << diagnostic.level << " \""
         << diagnostic.text << '"';
}

// Matches a diagnostic of the service.
inline auto IsDiagnostic(int level, const std::string& file,
                         const testing::Matcher<std::string>& text) {
    using testing::Field;
    return testing::AllOf(Field("level", &PrintedDiagnostic::level, level),
                          Field("file", &PrintedDiagnostic::file, file),
                          Field("line", &PrintedDiagnostic::line, testing::Gt(0)),
                          Field("text", &PrintedDiagnostic::text, text));
}

// Thread safety: any thread may call any operation, and has a position of its own; `onPrint` is set
// while no other thread uses the proxy.
class RecordingLogProxy : public NS_BUNDLEMGR1::LogProxy {
  public:
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
    std::string GetProxyName() const override { return "RecordingLogProxy"; }

    void Print(int level, const char* format, ...) override __attribute__((format(printf, 3, 4))) {
        char text[8192];
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof(text), format, values);
        va_end(values);
        if (onPrint) {
            onPrint(text);
        }
        const std::lock_guard<std::mutex> guard(mutex_);
        const Position position = positions_[std::this_thread::get_id()];
        positions_.erase(std::this_thread::get_id());
        printed_.push_back({level, format, text, position.first, position.second});
        changed_.notify_all();
    }

    void SetPosition(const char* file, int line) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        positions_[std::this_thread::get_id()] = Position(file, line);
    }
    void SetBundleName(const char* name) override { AddName("bundle " + std::string(name)); }
    void SetServiceName(const char* name) override { AddName("service " + std::string(name)); }

    std::vector<PrintedDiagnostic> Printed() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return printed_;
    }

    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const PrintedDiagnostic& diagnostic : Printed()) {
            texts.push_back(diagnostic.text);
        }
        return texts;
    }

    // The names that the proxy was told, in order: "bundle B", "service S".
    std::vector<std::string> Names() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return names_;
    }

    // Waits until `text` was printed `times` times; false when that does not happen.
    bool WaitFor(const std::string& text, int times = 1) const {
        std::unique_lock<std::mutex> guard(mutex_);
        return changed_.wait_for(guard, std::chrono::seconds(60), [&] {
            return std::count_if(printed_.begin(), printed_.end(),
                                 [&](const auto& each) { return each.text == text; }) >= times;
        });
    }

    void Forget() {
        const std::lock_guard<std::mutex> guard(mutex_);
        printed_.clear();
    }

    // Called with each text before it is recorded; may throw.
    std::function<void(const std::string&)> onPrint;

  private:
    using Position = std::pair<std::string, int>;

    void AddName(const std::string& name) {
        const std::lock_guard<std::mutex> guard(mutex_);
        names_.push_back(name);
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<PrintedDiagnostic> printed_;         // guarded by mutex_
    std::map<std::thread::id, Position> positions_;  // guarded by mutex_
    std::vector<std::string> names_;                 // guarded by mutex_
};

// Thread safety: any thread.
class RecordingLogProxyProvider final : public NS_BUNDLEMGR1::LogProxyProvider {
  public:
    // `proxy` may be null.
    explicit RecordingLogProxyProvider(NS_BUNDLEMGR1::LogProxy* proxy) : proxy_(proxy) {}

    // What is given out from now on; null for nothing.
    void SetProxy(NS_BUNDLEMGR1::LogProxy* proxy) {
        const std::lock_guard<std::mutex> guard(mutex_);
        proxy_ = proxy;
    }

    NS_BUNDLEMGR1::LogProxy* GetLogProxy(const std::string& name) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        asked_.push_back(name);
        return proxy_;
    }

    // The names that proxies were asked for.
    std::vector<std::string> Asked() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return asked_;
    }

  private:
    mutable std::mutex mutex_;
    NS_BUNDLEMGR1::LogProxy* proxy_;  // guarded by mutex_
    std::vector<std::string> asked_;  // guarded by mutex_
};

// What the service says about itself in this process, from OfferDiagnostics on. The service keeps
// the proxy that it was given first for as long as the process lives, so this one is never freed.
inline RecordingLogProxy& Diagnostics() {
    static RecordingLogProxy* const proxy = new RecordingLogProxy;
    return *proxy;
}

// Lets the service have that proxy, without what it has recorded so far.
inline void OfferDiagnostics() {
    static RecordingLogProxyProvider* const provider =
        new RecordingLogProxyProvider(&Diagnostics());
    NS_REFERENCE_HOST::SetLogProxyProvider(provider);
    Diagnostics().onPrint = nullptr;
    Diagnostics().Forget();
}

}  // namespace NS_TEST

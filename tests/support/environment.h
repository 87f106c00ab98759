// Environment variables and the time zone, set for the length of a block.
#pragma once

#include <time.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace NS_TEST {

// Sets or unsets an environment variable and puts its previous state back; the time zone follows at
// once. Not for tests whose other threads read the environment at that moment.
class ScopedVariable {
  public:
    ScopedVariable(const std::string& name, const std::optional<std::string>& value) : name_(name) {
        if (const char* previous = std::getenv(name.c_str())) {
            previous_ = previous;
        }
        Set(value);
    }
    ~ScopedVariable() { Set(previous_); }

    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

    // nullopt unsets the variable.
    void Set(const std::optional<std::string>& value) {
        if (value) {
            setenv(name_.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name_.c_str());
        }
        tzset();
    }

  private:
    std::string name_;
    std::optional<std::string> previous_;
};

// POSIX rules instead of names, so that no time zone database is needed.
static const char* const UTC = "UTC0";
static const char* const BERLIN = "CET-1CEST,M3.5.0,M10.5.0/3";

// The local time zone of the process, for the length of a block.
class ScopedTimeZone : public ScopedVariable {
  public:
    explicit ScopedTimeZone(const std::string& zone) : ScopedVariable("TZ", zone) {}
};

}  // namespace NS_TEST

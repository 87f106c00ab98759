// Logging with the source position filled in. Header-only and optional.
//
//     QV_LOG(logger, NS_LOG_SERVICE1::LOG_LEVEL_1, "link is up");
//     QV_LOG_FORMAT(logger, NS_LOG_SERVICE1::LOG_LEVEL_2, "%d alarms of %s", count, name.c_str());
//
// `logger` is a LoggerIF*. When it is null, nothing is logged and the other arguments are not
// evaluated. The strings for the file and the function are built when a call site is first reached,
// and not again. They are never freed. Each macro is one statement. Throws what the operation of
// the logger throws, and std::bad_alloc when there is no memory for the strings: the operation is
// not called then, and the record is not counted.
//
// Thread safety: any thread, also while the process exits, and in a child process.
#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <string>

#include "qv_base_log/loggerif.h"
#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {

// The place of a call in the source. The file is named without its directories.
struct LogCallSite {
    // Copies the name of the file without its directories, and the function's.
    LogCallSite(const char* path, const char* functionName)
        : file(FileName(path)), function(functionName) {}

    // Returns the part of `path` after its last slash.
    static const char* FileName(const char* path) {
        const char* separator = std::strrchr(path, '/');
        return separator == nullptr ? path : separator + 1;
    }

    // Returns what `place` leads to, and makes it of the two names when that is nothing. Without a
    // lock, which would be held for ever in a child that is forked while another thread makes it:
    // of two threads that come at once, one makes it in vain. May throw std::bad_alloc.
    static const LogCallSite& At(std::atomic<const LogCallSite*>& place, const char* path,
                                 const char* functionName) {
        const LogCallSite* site = place.load(std::memory_order_acquire);
        if (site == nullptr) {
            std::unique_ptr<const LogCallSite> made(new LogCallSite(path, functionName));
            if (place.compare_exchange_strong(site, made.get(), std::memory_order_acq_rel)) {
                site = made.release();
            }
        }
        return *site;
    }

    // As a record shows them.
    const std::string file;
    const std::string function;
};

}  // namespace NS_LOG_SERVICE1

// The call site is never destroyed: a thread may log while the process destroys its static objects.
#define QV_LOG_CALL_(logger, operation, ...)                                                   \
    do {                                                                                       \
        ::NS_LOG_SERVICE1::LoggerIF* const qvLogTarget = (logger);                             \
        if (qvLogTarget != nullptr) {                                                          \
            static ::std::atomic<const ::NS_LOG_SERVICE1::LogCallSite*> qvLogPlace{nullptr};   \
            const ::NS_LOG_SERVICE1::LogCallSite& qvLogSite =                                  \
                ::NS_LOG_SERVICE1::LogCallSite::At(qvLogPlace, __FILE__, __func__);            \
            qvLogTarget->operation(qvLogSite.file, qvLogSite.function, __LINE__, __VA_ARGS__); \
        }                                                                                      \
    } while (false)

// A text. See LoggerIF::Log.
#define QV_LOG(logger, level, text) QV_LOG_CALL_(logger, Log, level, text)

// A message in printf style. See LoggerIF::LogFormat.
#define QV_LOG_FORMAT(logger, level, ...) QV_LOG_CALL_(logger, LogFormat, level, __VA_ARGS__)

// A JSON array of alarms. See LoggerIF::LogAlarm.
#define QV_LOG_ALARM(logger, alarms) QV_LOG_CALL_(logger, LogAlarm, alarms)

// An ASN message with its secrets masked. See LoggerIF::LogAsnTrace.
#define QV_LOG_ASN_TRACE(logger, message) QV_LOG_CALL_(logger, LogAsnTrace, message)

// An ASN message as it is; nothing is masked. See LoggerIF::PrintAsn.
#define QV_LOG_ASN(logger, message) QV_LOG_CALL_(logger, PrintAsn, message)

// What one process of the benchmark is asked to do.
#pragma once

#include <chrono>
#include <string>

namespace NS_BENCH {

// A value. On the command line each field is one argument, "name=value".
struct Job {
    std::string subject;    // which operation is measured: "direct", "queued", "kept" ...
    std::string way;        // which of the program's ways to do it
    std::string directory;  // an empty directory for what is written
    int threads = 1;        // that do it at once
    int categories = 1;     // that the threads are spread over
    int count = 0;          // of what the subject is about: loggers, bytes of a message ...
    int asked = 0;          // of the loggers, those that are asked for; 0: all
    std::chrono::milliseconds duration{100};  // of each phase
};

// Throws std::invalid_argument.
Job ReadJob(int argc, char** argv);

}  // namespace NS_BENCH

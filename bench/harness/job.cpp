#include "harness/job.h"

#include <stdexcept>

namespace NS_BENCH {

namespace {

bool SetText(Job& job, const std::string& name, const std::string& value) {
    std::string* const field = name == "subject"     ? &job.subject
                               : name == "way"       ? &job.way
                               : name == "directory" ? &job.directory
                                                     : nullptr;
    if (field != nullptr) {
        *field = value;
    }
    return field != nullptr;
}

bool SetNumber(Job& job, const std::string& name, const std::string& value) {
    if (name == "duration") {
        job.duration = std::chrono::milliseconds(std::stoi(value));
        return true;
    }
    int* const field = name == "threads"      ? &job.threads
                       : name == "categories" ? &job.categories
                       : name == "count"      ? &job.count
                       : name == "asked"      ? &job.asked
                                              : nullptr;
    if (field != nullptr) {
        *field = std::stoi(value);
    }
    return field != nullptr;
}

}  // namespace

Job ReadJob(int argc, char** argv) {
    Job job;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
        if (!SetText(job, name, value) && !SetNumber(job, name, value)) {
            throw std::invalid_argument("unknown argument " + argument);
        }
    }
    return job;
}

}  // namespace NS_BENCH

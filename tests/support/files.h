// Reading and writing whole files, and what lies in a directory.
#pragma once

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace NS_TEST {

// The bytes of the file. Throws std::runtime_error when it cannot be read.
inline std::string ReadFile(const std::string& path) {
    const std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    if (!in.is_open() || content.bad()) {
        throw std::runtime_error("cannot read " + path);
    }
    return content.str();
}

// The text's lines without their newlines, or what stands between other separators; what follows
// the last separator counts when it is not empty.
inline std::vector<std::string> SplitText(const std::string& text, char separator = '\n') {
    std::vector<std::string> pieces;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);) {
        pieces.push_back(piece);
    }
    return pieces;
}

// The lines of the file.
inline std::vector<std::string> ReadLines(const std::string& path) {
    return SplitText(ReadFile(path));
}

// Replaces the file's contents; directories on the way are created. Throws std::runtime_error.
inline void WriteFile(const std::string& path, const std::string& content) {
    const auto parent = std::filesystem::path(path).parent_path();
    if (!parent.empty()) {
        std::filesystem::create_directories(parent);
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

// The names in the directory, sorted; empty when there is no such directory.
inline std::vector<std::string> ListFiles(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The names of the log files of `category` in the directory, sorted. The digits of the time stamp
// tell them apart from those of a category whose name only begins the same.
inline std::vector<std::string> ListLogFiles(const std::string& directory,
                                             const std::string& category) {
    const std::string prefix = "unbi_" + category + "_";
    std::vector<std::string> names;
    for (const std::string& name : ListFiles(directory)) {
        if (name.rfind(prefix, 0) == 0 &&
            std::isdigit(static_cast<unsigned char>(name[prefix.size()])) != 0) {
            names.push_back(name);
        }
    }
    return names;
}

// The descriptors that the process has for the file of that path.
inline std::vector<int> DescriptorsOf(const std::string& path) {
    std::vector<int> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path) {
            descriptors.push_back(std::stoi(entry.path().filename()));
        }
    }
    return descriptors;
}

}  // namespace NS_TEST

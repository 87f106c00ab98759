// The program itself, on a directory of log files.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "reader/logtext.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

using ProgramResult = ChildResult;

class ReaderProgram : public DirectoryTest {
  protected:
    static LogFields Fields(int second, const std::string& detail, int level = 2,
                            const std::string& operation = "op-1") {
        LogFields fields;
        fields.second = second;
        fields.detail = detail;
        fields.level = level;
        fields.operation = operation;
        return fields;
    }

    // Two categories of one process: an operation that fails, and one that does not.
    void WriteSample() {
        WriteFile(Path(LogName("oper", 1)),
                  CreatedText(1) + LogFrame(1, Fields(10, "begin one", 1, "op-1")) +
                      LogFrame(2, Fields(20, "begin two", 1, "op-2")) +
                      LogFrame(3, Fields(40, "end two", 1, "op-2")) + ClosedText());
        WriteFile(Path(LogName("debug", 1)),
                  CreatedText(1) + ShortText(15, "tick") +
                      LogDump(2, Fields(30, "NE-7 does not answer", 0, "op-1"),
                              DumpedText(Fields(11, "asks NE-7", 3, "op-1"))) +
                      ClosedText());
    }

    static ProgramResult RunProgram(const std::vector<std::string>& words,
                                    const std::map<std::string, std::string>& variables = {}) {
        return NS_TEST::RunProgram(ChildStart{words, variables});
    }

    static ProgramResult Run(std::vector<std::string> words,
                             std::map<std::string, std::string> variables = {}) {
        words.insert(words.begin(), QVLOG);
        variables.emplace("TZ", "UTC-1");
        return RunProgram(words, variables);
    }

    // The details of what the program prints, separated by commas; with its exit code if not 0.
    std::string Details(std::vector<std::string> words) const {
        words.insert(words.end(), {"--fields", "detail", Path()});
        const ProgramResult result = Run(words);
        std::string text = result.output;
        for (char& character : text) {
            character = character == '\n' ? ',' : character;
        }
        return text + (result.exitCode == 0 ? "" : std::to_string(result.exitCode)) + result.errors;
    }
};

}  // namespace NS_TEST

// A service whose process forks, and what each process has written.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "maintenance/maintenancefixture.h"
#include "support/forkedchild.h"

namespace NS_TEST {

// Level 2 is off, so that its records are kept back.
class ProcessTest : public MaintenanceTest {
  protected:
    ProcessTest() {
        store_.Set("logswitch", "1,1,0,1");
        store_.Set("logfilesize", "2000000000");
        store_.Set("bEnableAsnLog", "1");
        store_.Set("bEnableAsnTrace", "0");
    }

    // Starts a child process that runs `child` and ends with its result.
    static pid_t Fork(const std::function<int()>& child) {
        const pid_t process = ForkChild();
        if (process == 0) {
            EndChild(child());
        }
        return process;
    }

    // The pieces that stand in the files of one process, by category. Throws when a file is torn.
    using Pieces = std::map<std::string, std::vector<ParsedPiece>>;
    Pieces PiecesOf(pid_t process) const {
        const std::string end = "_" + std::to_string(process) + ".log";
        Pieces pieces;
        for (const std::string& name : ListFiles(Path("log"))) {
            const size_t at = name.rfind(end);
            if (at != std::string::npos && at + end.size() == name.size()) {
                const size_t begin = std::string("unbi_").size();
                const std::string category =
                    name.substr(begin, at - std::string("_yyyymmdd_hhmmss").size() - begin);
                for (ParsedPiece& piece : ParseLogPieces(Path("log/" + name))) {
                    pieces[category].push_back(std::move(piece));
                }
            }
        }
        return pieces;
    }

    // The details of the process's records in the category; dumped ones behind their trigger.
    std::vector<std::string> DetailsOf(pid_t process,
                                       const std::string& category = "corbaoper") const {
        std::vector<std::string> details;
        Pieces pieces = PiecesOf(process);
        for (const ParsedPiece& piece : pieces[category]) {
            if (piece.kind != ParsedPiece::FILE_CREATED && piece.kind != ParsedPiece::FILE_CLOSED) {
                details.push_back(piece.record.detail);
            }
            for (const ParsedRecord& dumped : piece.dumped) {
                details.push_back(dumped.detail);
            }
        }
        return details;
    }
};

}  // namespace NS_TEST

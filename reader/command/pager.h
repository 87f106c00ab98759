// The program that shows long output on a terminal.
#pragma once

#include <sys/types.h>

#include "input/filedescriptor.h"

namespace NS_LOG_READER {

// Starts $PAGER, or less, and sends standard output there while it lives; then waits for it. Does
// nothing when standard output is no terminal, or there is no such program. A process has one at a
// time; SIGINT and SIGQUIT end the process when the pager has ended.
class Pager {
  public:
    explicit Pager(bool isWanted);
    ~Pager();

    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

  private:
    pid_t process_ = -1;
};

// Whether standard output is to be coloured. `when`: auto, always or never. Throws BadRequest.
bool WantsColour(const char* when);

}  // namespace NS_LOG_READER

// The signals that ask a command to stop.
#pragma once

#include <signal.h>

namespace NS_LOG_FLEET {

// SIGTERM and SIGINT call the handler while the object lives, and interrupt what the thread waits
// for. Afterwards they do nothing: the command is ending, and what the handler uses is gone.
class StopOrders {
  public:
    explicit StopOrders(void (*handler)(int)) { SetHandler(handler); }
    ~StopOrders() { SetHandler(SIG_IGN); }

    StopOrders(const StopOrders&) = delete;
    StopOrders& operator=(const StopOrders&) = delete;

  private:
    static void SetHandler(void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        ::sigaction(SIGTERM, &action, nullptr);
        ::sigaction(SIGINT, &action, nullptr);
    }
};

}  // namespace NS_LOG_FLEET

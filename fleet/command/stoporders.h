// The signals that ask a command to stop.
#pragma once

#include <signal.h>
#include <unistd.h>

namespace NS_LOG_FLEET {

// SIGTERM and SIGINT call the handler while the object lives, and interrupt what the thread waits
// for. Afterwards they do nothing: the command is ending, and what the handler uses is gone.
//
// A command that still waits for a server ten seconds later is ended with exit code 2, which it may
// be at any time: what was not acknowledged is sent or collected again by the next one.
class StopOrders {
  public:
    explicit StopOrders(void (*handler)(int)) {
        handler_ = handler;
        SetHandler(SIGALRM, &GiveUp);
        SetHandler(SIGTERM, &Take);
        SetHandler(SIGINT, &Take);
    }
    ~StopOrders() {
        SetHandler(SIGTERM, SIG_IGN);
        SetHandler(SIGINT, SIG_IGN);
        ::alarm(0);
        wasTaken_ = 0;
    }

    StopOrders(const StopOrders&) = delete;
    StopOrders& operator=(const StopOrders&) = delete;

  private:
    static constexpr unsigned kPatienceSeconds = 10;

    static void SetHandler(int signal, void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        ::sigaction(signal, &action, nullptr);
    }

    // A second order gives no more time.
    static void Take(int signal) {
        handler_(signal);
        if (wasTaken_ == 0) {
            wasTaken_ = 1;
            ::alarm(kPatienceSeconds);
        }
    }

    static void GiveUp(int) {
        constexpr char text[] = "qvlog: stopped while a server does not answer\n";
        if (::write(STDERR_FILENO, text, sizeof text - 1) < 0) {
            // Nobody is there to be told.
        }
        ::_exit(2);
    }

    inline static void (*handler_)(int) = nullptr;
    inline static volatile sig_atomic_t wasTaken_ = 0;
};

}  // namespace NS_LOG_FLEET

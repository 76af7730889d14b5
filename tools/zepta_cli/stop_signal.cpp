#include "stop_signal.h"

#include <signal.h>

#include <atomic>

namespace zepta_cli {

namespace {

std::atomic<bool> s_stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

void OnStopSignal(int) { s_stopRequested = true; }

}  // namespace

void CatchStopSignals()
{
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    // The handler is used once: the next signal takes the default action.
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() { return s_stopRequested; }

}  // namespace zepta_cli

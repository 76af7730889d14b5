// Ctrl-C and SIGTERM ask a running command to stop: it parks the device and
// closes the session. A second signal ends the program at once.
#ifndef ZEPTA_CLI_STOP_SIGNAL_H
#define ZEPTA_CLI_STOP_SIGNAL_H

namespace zepta_cli {

void CatchStopSignals();
bool StopRequested();

}  // namespace zepta_cli

#endif

// The two ways a command fails, told apart by the exit code: what the user
// typed or handed in (2), and trouble with the device or the system (1).
#ifndef ZEPTA_CLI_CLI_ERRORS_H
#define ZEPTA_CLI_CLI_ERRORS_H

#include <stdexcept>

namespace zepta_cli {

constexpr int kExitSuccess = 0;
constexpr int kExitTrouble = 1;
constexpr int kExitUsage = 2;

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct DeviceTrouble : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace zepta_cli

#endif

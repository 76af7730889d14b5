// Terminal output of the long-running commands: one live status line, and
// lines of their own (log lines, milestones) printed above it. When stdout is
// not a terminal, status lines are printed as plain lines, at most one a
// second unless marked as a milestone.
#ifndef ZEPTA_CLI_CONSOLE_H
#define ZEPTA_CLI_CONSOLE_H

#include <chrono>
#include <string>

namespace zepta_cli {

class Console {
public:
    Console();

    // Replaces the status line. A milestone is always shown.
    void Status(const std::string& text, bool milestone = false);
    // Prints text on a line of its own, above the status line.
    void Line(const std::string& text);
    // Leaves the status line as it stands and moves below it.
    void EndStatus();

private:
    void ClearStatus();

    bool terminal;
    bool statusShown = false;
    std::string status;
    std::chrono::steady_clock::time_point lastPlainStatus{};
};

// Text as it is, control and non-ASCII bytes as \xNN: device replies may be garbage.
std::string Printable(const std::string& bytes);

}  // namespace zepta_cli

#endif

// One library session as the test and play commands run it: opened with a
// neutral packet, connected with a visible progress line, its log backlog
// shown as it comes, its frames counted, and parked at its origin before it
// closes.
#ifndef ZEPTA_CLI_CLI_SESSION_H
#define ZEPTA_CLI_CLI_SESSION_H

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <utility>

#include "cli_errors.h"
#include "console.h"
#include "zepta/ZEPTA.hpp"

namespace zepta_cli {

struct SessionOptions {
    std::string serial;   // selects a LAN device by its serial number
    bool quiet = false;   // hides the library's log
};

class CliSession {
public:
    // Opens the session: the library starts looking for a device (USB first,
    // then a discovery broadcast on the LAN).
    CliSession(Console& out, const SessionOptions& options);
    ~CliSession();
    CliSession(const CliSession&) = delete;
    CliSession& operator=(const CliSession&) = delete;

    // Waits for state 8, showing searching, calibrating and connected.
    // Throws DeviceTrouble when the session ends, does not connect in time
    // or a stop signal comes first.
    void Connect();

    // The neutral packet every frame starts from: the library's defaults, with
    // both gains at 1 so that every pose channel moves the device.
    static _korve_data_packet NeutralPacket();

    void Write(const _korve_data_packet& packet);
    // Frames the session has sent since it was opened.
    long FramesSent() const;
    // Waits until more than count frames were sent; false on time-out or
    // when the session ended.
    bool WaitForFramesAbove(long count, std::chrono::milliseconds timeout);
    double FramesPerSecond();

    int State();
    bool Calibrating();
    int DeviceKind();
    bool Ended();

    // Shows what the log backlog holds now.
    void PumpLog();
    // Sends the device to its origin position, waits for that frame and
    // closes; throws DeviceTrouble when no such frame reached the device.
    void ParkAndClose();
    // A DeviceTrouble naming what went wrong, the state and the last log line.
    DeviceTrouble Trouble(const std::string& what);

private:
    void ShowConnecting(int state, int kind, double seconds);

    Console& console;
    bool quiet;
    ZEPTASDK::ZEPTA session;
    bool open = true;
    std::string phase;
    std::string partialLogLine;
    std::string lastLogLine;
    std::deque<std::pair<std::chrono::steady_clock::time_point, long>> rateSamples;
};

// What the test and play commands share around their motion: opens a session,
// waits until it connects, runs motion, then parks the device and closes the
// session. Returns motion's result: true when it ran to its end, false when a
// stop signal ended it. An exception from motion closes without parking.
bool RunParkedSession(Console& console, const SessionOptions& options,
                      const std::function<bool(CliSession&)>& motion);

}  // namespace zepta_cli

#endif

// A USB motion device in software: a pseudo-terminal published as a CDC-ACM
// device path (e.g. /dev/ttyACM0) whose other side speaks the device's text
// protocol, with every fault of a real device scriptable.
//
// The device reads ";"-terminated commands and answers with "\r\n"-terminated
// lines:
//   "d;"                      the identity line (default "KORVE-DEVICE")
//   "v;"                      the version line
//   "s;"                      the serial number (no answer when it is empty)
//   "c;"                      "KORVE-RTO-START", then after the calibration
//                             delay "KORVE-READY"
//   "n;", "p..", "q..", "a..", "aFF..", "as.."
//                             "KORVE-STATUS-<axis set, two digits>-EXT4-<code, four digits>"
//   ";" alone (what the library writes to clear a half-sent command) and
//   unknown commands get no answer.
// Answers leave in the order of the commands: a command that arrives during a
// calibration is answered after "KORVE-READY".
//
// All methods are thread-safe. Typical test use:
//
//   zepta_tools::UsbDeviceEmulator device;              // publishes /dev/ttyACM<N>
//   device.SetIdentity("KORVE6-DEVICE");
//   ... run the library ...
//   device.WaitFor([](auto& cmds) { return cmds.size() >= 5; }, 5s);
//
// The device survives the library closing and reopening the port; only
// Disconnect or destruction removes it.
#ifndef ZEPTA_TOOLS_USB_DEVICE_EMULATOR_H
#define ZEPTA_TOOLS_USB_DEVICE_EMULATOR_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/pseudo_terminal.h"

namespace zepta_tools {

// One command as the device received it.
struct ReceivedCommand {
    std::string text;                              // including its ";"
    std::chrono::steady_clock::time_point at;      // arrival of the ";"
};

// How the device answers "c;".
enum class CalibrationFault {
    None,           // "KORVE-RTO-START", then "KORVE-READY"
    CircuitError,   // "ECAN-ERROR" instead of "KORVE-RTO-START"
    ErrorReset,     // "KORVE-RTO-START", then "KORVE-ERROR-RESET"
    NoAcknowledge,  // no answer at all
    NoReady,        // "KORVE-RTO-START", then nothing
};

// The actuator positions (0..1) a position command carries: "p" with four or
// six 8-bit fields, "q" with six 12-bit fields. Empty for any other command.
std::vector<double> DecodePositionCommand(const std::string& text);

class UsbDeviceEmulator {
public:
    // The time one byte takes on a 115200-baud 8N1 line (10 bits).
    static constexpr std::chrono::nanoseconds kByteTimeAt115200{86806};

    // Called on the device's thread after each command with the lines it
    // answered (raw bytes for a ReplaceNextStatus reply). It may call the
    // emulator's methods.
    using Observer = std::function<void(const ReceivedCommand& command, const std::vector<std::string>& replies)>;
    using Condition = std::function<bool(const std::vector<ReceivedCommand>&)>;

    // Opens a pty and publishes its slave at devicePath. Throws
    // std::runtime_error when the pty cannot be created.
    explicit UsbDeviceEmulator(std::string path = NextFreeAcmPath());
    ~UsbDeviceEmulator();
    UsbDeviceEmulator(const UsbDeviceEmulator&) = delete;
    UsbDeviceEmulator& operator=(const UsbDeviceEmulator&) = delete;

    const std::string& DevicePath() const { return devicePath; }

    // ---- What the device says ------------------------------------------
    // The identity line; any text. Also picks the default axis set:
    // 15 for "KORVE-DEVICE", 63 for "KORVE6-DEVICE", 3 for any other.
    void SetIdentity(std::string line);
    void SetVersion(std::string line);
    void SetSerialNumber(std::string line);
    // Between "KORVE-RTO-START" and the end of calibration (default 0). The
    // library waits 4.4 s for it; longer delays make the calibration fail.
    void SetCalibrationDelay(std::chrono::milliseconds delay);
    // The axis set in status lines; nullopt restores the identity's own.
    void SetAxisSet(std::optional<int> set);
    // The number after "-EXT4-" (default 0).
    void SetStatusCode(int code);
    // Optional wire model (off by default): each command takes perByte per
    // byte to arrive, the device waits turnaround, and each answer appears
    // whole when its last byte would have arrived at perByte per byte.
    void SetWireModel(std::chrono::nanoseconds perByte, std::chrono::nanoseconds turnaroundTime);

    // ---- Faults ---------------------------------------------------------
    // Answers the next `commands` commands (";" alone not counted), then
    // stays silent for good. SilenceAfter(0) silences the device now.
    void SilenceAfter(std::size_t commands);
    // Applies to the next calibration only, or to every one with always.
    void SetCalibrationFault(CalibrationFault fault, bool always);
    // A locked device answers "c;" and every status request "KORVE-LOCKED".
    void SetLocked(bool isLocked);
    // Sends line (e.g. "KORVE-BUTTON", "KORVE-LOCK-OK", "KORVE-UNLOCK-OK")
    // just before the next status answer. Several lines queue up in order.
    void InjectBeforeNextStatus(std::string line);
    // Sends bytes exactly as given (no line end added) instead of the next
    // status line: "KORVE-STATUS-00\r\n", a line without end, garbage.
    void ReplaceNextStatus(std::string bytes);
    // Instead of the next status answer the device starts to babble: it sends
    // pattern over and over, for good, and answers nothing else. With a zero
    // byteInterval it floods as fast as the library reads; otherwise it
    // trickles one byte per interval. "x" streams without a line end,
    // "KORVE-BUTTON\r\n" floods interim lines. An empty pattern is ignored.
    void BabbleInsteadOfNextStatus(std::string pattern, std::chrono::microseconds byteInterval = {});
    // Closes the pty under the library and removes the device path, as when
    // the cable is pulled. The recorded commands stay readable.
    void Disconnect();

    // ---- Observation ----------------------------------------------------
    std::vector<ReceivedCommand> Received() const;
    // Waits until condition holds for the commands received so far.
    bool WaitFor(Condition condition, std::chrono::milliseconds timeout) const;
    void ClearReceived();
    void SetObserver(Observer commandObserver);

private:
    struct Reply {
        std::string bytes;
        std::chrono::steady_clock::time_point due;
    };
    struct Answer {
        std::vector<std::string> lines;  // as shown to the observer
        std::vector<Reply> replies;
    };
    struct Babble {
        std::string pattern;
        std::chrono::microseconds byteInterval{0};
    };

    void Run();
    void HandleInput(const char* bytes, std::size_t count);
    void HandleCommand(const std::string& text);
    Answer AnswerTo(const std::string& text, std::chrono::steady_clock::time_point at);
    void AnswerCalibration(Answer& answer, std::chrono::steady_clock::time_point at);
    void AnswerStatus(Answer& answer, std::chrono::steady_clock::time_point at);
    void AddLine(Answer& answer, const std::string& line, std::chrono::steady_clock::time_point at,
                 std::chrono::nanoseconds extraDelay = std::chrono::nanoseconds(0));
    void AddBytes(Answer& answer, const std::string& bytes, std::chrono::steady_clock::time_point at,
                  std::chrono::nanoseconds extraDelay);
    bool TakeAnswerBudget();
    std::string StatusLine() const;
    bool WaitForEvents();
    std::optional<std::chrono::steady_clock::time_point> NextDeadline() const;
    void WriteDueReplies();
    void SendBabble();
    void CloseDevice();
    void Wake();

    const std::string devicePath;
    std::unique_ptr<PseudoTerminal> pty;  // touched only by the device thread after start
    int wakeRead = -1;
    int wakeWrite = -1;
    // Device thread only:
    std::string partialCommand;
    std::deque<Reply> outgoing;
    std::chrono::steady_clock::time_point lastDue;
    bool writeBlocked = false;
    std::optional<Babble> babble;
    std::size_t babbleOffset = 0;
    std::chrono::steady_clock::time_point nextBabbleByte;

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    // Guarded by mutex:
    std::string identity;
    std::string version;
    std::string serialNumber;
    std::chrono::milliseconds calibrationDelay{0};
    std::optional<int> axisSet;
    int statusCode = 0;
    std::chrono::nanoseconds byteTime{0};
    std::chrono::nanoseconds turnaround{0};
    std::optional<std::size_t> answersLeft;
    CalibrationFault calibrationFault = CalibrationFault::None;
    bool calibrationFaultAlways = false;
    bool locked = false;
    std::deque<std::string> injectedLines;
    std::deque<std::string> statusReplacements;
    std::optional<Babble> pendingBabble;
    std::vector<ReceivedCommand> received;
    Observer observer;
    bool stopRequested = false;
    bool disconnectRequested = false;
    bool disconnected = false;

    std::thread thread;
};

}  // namespace zepta_tools

#endif

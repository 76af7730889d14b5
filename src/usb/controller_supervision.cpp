// Calibration and the supervision of the device's replies to commands.
#include <cstdlib>

#include "log/log_messages.h"
#include "usb/controller.h"
#include "usb/messages.h"

namespace ZEPTASDK {

namespace {

const std::string kLockedPrefix = "LOCKED - ";
constexpr std::size_t kAxisSetDigits = 2;
constexpr std::size_t kStatusCodeDigits = 4;
constexpr int kDecimal = 10;
// Mismatching axis sets tolerated in a row before the actuators count as stopped.
constexpr int32_t kMaxAxisMismatches = 3;
// Button presses and lock acknowledgements tolerated ahead of one answer. A
// device that sends nothing else has lost its way, and the wait must not hold
// the frame (and with it the session's Close) for ever.
constexpr int kMaxInterimLines = 16;

// A field that is missing or not a number reads as 0.
long DecimalField(const std::string& line, std::size_t at, std::size_t digits)
{
    if (at >= line.size()) return 0;
    const std::string field = line.substr(at, digits);
    return std::strtol(field.c_str(), nullptr, kDecimal);
}

bool StartsWith(const std::string& line, const std::string& prefix)
{
    return line.compare(0, prefix.size(), prefix) == 0;
}

bool IsInterimLine(const std::string& line)
{
    return line == Message::OnPushButton || line == Message::EnableLock || line == Message::DisableLock;
}

}  // namespace

void Controller::Calibration()
{
    state = ZEPTA_STATE_CALIBRATING;
    const std::shared_ptr<Bridge> link = bridge.lock();
    if (!link) return;
    Log(Message::Log::PrepareCalibration);
    link->Write(Message::Calibration);
    ClassifyCalibrationStart(link->Read(), *link);
}

// The device first acknowledges "c;"; only then is the return to origin worth
// the long wait.
void Controller::ClassifyCalibrationStart(const std::string& reply, Bridge& link)
{
    if (reply == Message::CalibrationStart) {
        Log(Message::Log::StartCalibration);
        link.Write(Message::CalibrationWait);
        ClassifyCalibrationEnd(link.Read());
    } else if (reply == Message::CircuitError) {
        Log(Message::Log::RetryCalibration);
        state = ZEPTA_STATE_CALIBRATION_REPEAT;
    } else if (reply == Message::KorveLocked) {
        Log(kLockedPrefix + Message::Log::FailCalibration);
        state = ZEPTA_STATE_CALIBRATION_FAILED;
    } else if (reply == Message::TimeOut) {
        Log(Message::Log::TimeOut);
        state = ZEPTA_STATE_CALIBRATION_TIMED_OUT;
    } else {
        Log(Message::Log::FailCalibration);
        state = ZEPTA_STATE_CALIBRATION_FAILED;
    }
}

// Silence during the return to origin is a failed calibration, not a time-out:
// the time-out state is kept for a device that does not even acknowledge "c;".
void Controller::ClassifyCalibrationEnd(const std::string& reply)
{
    if (reply == Message::CalibrationEnd) {
        Log(Message::Log::MachineIsReady);
    } else if (reply == Message::CalibrationError || reply == Message::CircuitError) {
        Log(Message::Log::RetryCalibration);
        state = ZEPTA_STATE_CALIBRATION_REPEAT;
    } else {
        Log(Message::Log::FailCalibration);
        state = ZEPTA_STATE_CALIBRATION_FAILED;
    }
}

// Button presses and lock acknowledgements may precede the answer proper.
bool Controller::WaitZEPTA()
{
    int interimLines = 0;
    while (const std::shared_ptr<Bridge> link = bridge.lock()) {
        link->ReadLine(replyLine);
        const Reply reply = ClassifyReply(replyLine, *link, interimLines);
        if (reply != Reply::Interim) return reply == Reply::Up;
    }
    Log(Message::TimeOut);
    LoseLink(nullptr);
    return false;
}

// A circuit error while running does not stop the device; only calibration
// treats it as a start-up error.
Controller::Reply Controller::ClassifyReply(const std::string& line, Bridge& link, int& interimLines)
{
    if (line == Message::TimeOut) {
        Log(line);
        return LoseLink(&link);
    }
    if (IsInterimLine(line)) return AcceptInterimLine(line, link, interimLines);
    if (line == Message::KorveUnlocked || line == Message::CircuitError) return Resume(line);
    if (StartsWith(line, Message::StatusPrefix)) return ApplyStatusLine(line, link);
    if (line == Message::KorveLocked) {
        state = ZEPTA_STATE_STOPPED;
        return Reply::Up;
    }
    Log(Message::Log::DisConnect);
    return LoseLink(&link);
}

// Lock acknowledgements report the device running again; button presses are
// only skipped.
Controller::Reply Controller::AcceptInterimLine(const std::string& line, Bridge& link, int& interimLines)
{
    if (line != Message::OnPushButton) {
        Log(line);
        state = ZEPTA_STATE_RUNNING;
    }
    if (++interimLines <= kMaxInterimLines) return Reply::Interim;
    Log(Message::Log::DisConnect);
    return LoseLink(&link);
}

// The device answers on its own after an unlock or a circuit error.
Controller::Reply Controller::Resume(const std::string& line)
{
    Log(line);
    state = ZEPTA_STATE_RUNNING;
    mismatchCount = 0;
    return Reply::Up;
}

Controller::Reply Controller::ApplyStatusLine(const std::string& line, Bridge& link)
{
    const long axisSet = DecimalField(line, Message::StatusPrefix.size(), kAxisSetDigits);
    const std::size_t marker = line.find(Message::StatusCodeMarker);
    if (marker != std::string::npos) {
        statusCode = static_cast<int16_t>(
            DecimalField(line, marker + Message::StatusCodeMarker.size(), kStatusCodeDigits));
    }
    if (axisSet == 0) return LoseLink(&link);
    if (axisSet == static_cast<long>(axisMask)) {
        mismatchCount = 0;
        state = ZEPTA_STATE_RUNNING;
    } else {
        // Counting stops past the limit so that a long run cannot overflow.
        if (mismatchCount <= kMaxAxisMismatches) ++mismatchCount;
        state = mismatchCount <= kMaxAxisMismatches ? ZEPTA_STATE_RUNNING : ZEPTA_STATE_STOPPED;
    }
    return Reply::Up;
}

// The actuators are considered shut down; the session must build a new
// bridge and controller.
Controller::Reply Controller::LoseLink(Bridge* link)
{
    state = ZEPTA_STATE_SHUT_DOWN;
    if (link != nullptr) link->portDisable();
    return Reply::Down;
}

}  // namespace ZEPTASDK

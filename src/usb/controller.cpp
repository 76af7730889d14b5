// The connection handshake: USB check, family identification, version,
// calibration and serial number.
#include "usb/controller.h"

#include <algorithm>
#include <cctype>

#include "log/log_messages.h"
#include "usb/device_family.h"
#include "usb/messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

// Fields no encoding produces, so that the first speed command always goes out.
const std::string kUnsentSpeedFields = "XXXXXXXX";
const std::string kDeviceFoundPrefix = "USB device found: ";
// Before identification the device counts as the four-axis family.
constexpr int32_t kDefaultModel = ZEPTA_DEVICE_KORVE_4DOF;
constexpr uint32_t kDefaultAxisMask = kFourAxes;
constexpr int kMaxCalibrationRuns = 3;
// Longest serial number we accept; the session hands it to applications in a
// 64-byte buffer.
constexpr std::size_t kMaxSerialNumberLength = 32;

bool IsProtocolLine(const std::string& line)
{
    static const std::string* const kReplies[] = {
        &Message::TimeOut,          &Message::UsbEnable,     &Message::UsbDisable,
        &Message::CalibrationStart, &Message::CalibrationError, &Message::CalibrationEnd,
        &Message::CircuitError,     &Message::KorveLocked,   &Message::KorveUnlocked,
        &Message::OnPushButton,     &Message::EnableLock,    &Message::DisableLock,
    };
    for (const std::string* reply : kReplies) {
        if (line == *reply) return true;
    }
    return line.compare(0, Message::StatusPrefix.size(), Message::StatusPrefix) == 0 ||
           line.find(Message::DeviceSuffix) != std::string::npos;
}

// A serial number is a short run of visible ASCII characters that is none of
// the protocol's own lines (a device that ignores the request may still send
// a status or lock line at that moment).
bool IsPlausibleSerialNumber(const std::string& line)
{
    const bool visible = std::all_of(line.begin(), line.end(),
                                     [](unsigned char c) { return c < 0x80 && std::isgraph(c); });
    return !line.empty() && line.size() <= kMaxSerialNumberLength && visible && !IsProtocolLine(line);
}

}  // namespace

Controller::Controller(std::weak_ptr<Bridge> weakBridge, std::string name)
    : bridge(std::move(weakBridge)),
      state(ZEPTA_STATE_INITIAL),
      lastSpeedCommand(Message::SpeedAccelCommand + kUnsentSpeedFields + Message::CommandEnd),
      model(ZEPTA_DEVICE_NONE),
      logName(std::move(name)),
      statusCode(0),
      axisMask(kDefaultAxisMask),
      mismatchCount(0)
{
    const std::shared_ptr<Bridge> link = bridge.lock();
    if (!link || !CheckUsb(*link) || !IdentifyFamily(*link)) return;
    Log(Message::Log::SuccessConnect);
    LogVersion(*link);
    if (!CalibrateWithRetries()) return;
    ReadSerialNumber(*link);
    Log(kDeviceFoundPrefix + serialNumber);
    state = ZEPTA_STATE_RUNNING;
}

Controller::~Controller() = default;

// The bridge answers "usb;" itself: whether there is any port to search.
bool Controller::CheckUsb(Bridge& link)
{
    link.Write(Message::FindUsb);
    if (link.Read() != Message::UsbDisable) return true;
    state = ZEPTA_STATE_NO_USB_DEVICE;
    Log(Message::Log::NotFoundSerialPort);
    return false;
}

// A portless bridge answers "usb;" with "" and has no identity, so it ends
// here in ZEPTA_STATE_NO_DEVICE rather than ZEPTA_STATE_NO_USB_DEVICE.
bool Controller::IdentifyFamily(Bridge& link)
{
    axisMask = kDefaultAxisMask;
    model = kDefaultModel;
    const DeviceFamily* family = FindDeviceFamily(link.MotionSimGUID());
    if (family == nullptr) {
        state = ZEPTA_STATE_NO_DEVICE;
        model = ZEPTA_DEVICE_NONE;
        Log(Message::Log::FailConnect);
        link.portDisable();
        return false;
    }
    model = family->model;
    axisMask = family->axisMask;
    return true;
}

// A device that does not report its version is not an error.
void Controller::LogVersion(Bridge& link)
{
    link.Write(Message::GetDeviceVersion);
    const std::string version = link.Read();
    if (version != Message::TimeOut) Log(version);
}

// Repeats only while the device asks for a repeat; a third request for a
// repeat counts as a failure.
bool Controller::CalibrateWithRetries()
{
    for (int run = 0; run < kMaxCalibrationRuns; ++run) {
        Calibration();
        if (state != ZEPTA_STATE_CALIBRATION_REPEAT) break;
    }
    if (state == ZEPTA_STATE_CALIBRATION_REPEAT) state = ZEPTA_STATE_CALIBRATION_FAILED;
    return state != ZEPTA_STATE_CALIBRATION_FAILED && state != ZEPTA_STATE_CALIBRATION_TIMED_OUT;
}

// The device answers "s;" with its serial number as a line of its own. The
// request costs at most one command time-out; an implausible answer or
// silence leaves the number empty and the handshake goes on.
void Controller::ReadSerialNumber(Bridge& link)
{
    link.Write(Message::GetSerialNumber);
    const std::string reply = link.Read();
    if (IsPlausibleSerialNumber(reply)) serialNumber = reply;
}

void Controller::SendCommand(std::string command)
{
    if (const std::shared_ptr<Bridge> link = bridge.lock()) link->Write(command);
}

int Controller::GetState() const { return state; }

int Controller::GetZEPTA() const { return model; }

int16_t Controller::GetStatusCode() const { return statusCode; }

std::string Controller::GetZEPTASerialNumber() const { return serialNumber; }

void Controller::Log(const std::string& text) const { Debug::Log(logName, text); }

}  // namespace ZEPTASDK

#include "log/log_messages.h"

namespace ZEPTASDK {
namespace Message {
namespace Log {

const std::string NotFoundSerialPort = "ZEPTA device not found.";
const std::string FailConnect = "USB connection failed.";
const std::string SuccessConnect = "USB connection established.";
const std::string PrepareCalibration = "Preparing for calibration.";
const std::string StartCalibration = "Calibration started: returning to origin.";
const std::string RetryCalibration = "Startup error detected. Retrying calibration.";
const std::string MachineIsReady = "Device is ready.";
const std::string FailCalibration = "Calibration failed: could not reach origin.";
const std::string TimeOut = "Device not responding. Please reboot the device.";
const std::string DisConnect = "Connection lost.";
const std::string OverFlow = "Data overflow detected.";
const std::string StartThread = "ZEPTA thread started.";
const std::string EndThread = "ZEPTA thread terminated.";
const std::string LANModeStart = "LAN mode started.";
const std::string LANModeStop = "LAN mode stopped.";

namespace State {
const std::string Initial = "Device is in initial state.";
const std::string CanNotFindUsb = "No USB device detected.";
const std::string CanNotFindKorve = "No KORVE device detected.";
const std::string CanNotCalibration = "Calibration failed.";
const std::string TimeoutCalibration = "Calibration timed out.";
const std::string StopActuator = "Actuator stopped.";
const std::string ShutDownActuator = "Actuator shut down.";
}  // namespace State

std::string ComUsedLinux(const std::string& port)
{
    return "[" + port + "] is already in use or access is not permitted.";
}

}  // namespace Log
}  // namespace Message
}  // namespace ZEPTASDK

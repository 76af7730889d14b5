// The fixed texts every component logs, so that all of them use the same words.
#ifndef ZEPTA_LOG_LOG_MESSAGES_H
#define ZEPTA_LOG_LOG_MESSAGES_H

#include <string>

namespace ZEPTASDK {
namespace Message {
namespace Log {

extern const std::string NotFoundSerialPort;
extern const std::string FailConnect;
extern const std::string SuccessConnect;
extern const std::string PrepareCalibration;
extern const std::string StartCalibration;
extern const std::string RetryCalibration;
extern const std::string MachineIsReady;
extern const std::string FailCalibration;
extern const std::string TimeOut;
extern const std::string DisConnect;
extern const std::string OverFlow;
extern const std::string StartThread;
extern const std::string EndThread;
extern const std::string LANModeStart;
extern const std::string LANModeStop;

// The texts a session logs for its final device state.
namespace State {
extern const std::string Initial;
extern const std::string CanNotFindUsb;
extern const std::string CanNotFindKorve;
extern const std::string CanNotCalibration;
extern const std::string TimeoutCalibration;
extern const std::string StopActuator;
extern const std::string ShutDownActuator;
}  // namespace State

// Logged by the serial port when it cannot open a device.
std::string ComUsedLinux(const std::string& port);

}  // namespace Log
}  // namespace Message
}  // namespace ZEPTASDK

#endif

// The words of the USB serial protocol: commands the library sends, lines the
// device answers, and the answers the bridge makes up itself.
#ifndef ZEPTA_USB_MESSAGES_H
#define ZEPTA_USB_MESSAGES_H

#include <string>

namespace ZEPTASDK {
namespace Message {

// Commands. Every command ends with CommandEnd.
extern const std::string FindUsb;           // "usb;", answered by the bridge, never sent
extern const std::string Connect;           // "d;", asks for the identity line
extern const std::string Calibration;       // "c;"
extern const std::string CalibrationWait;   // "": sends nothing, arms the long read time-out
extern const std::string ShowState;         // "n;", asks for one status line
extern const std::string GetDeviceVersion;  // "v;"
extern const std::string GetSerialNumber;   // "s;"
extern const std::string CommandEnd;        // ";"

// Motion command words (followed by upper-case hex fields and CommandEnd).
extern const std::string PositionCommand;        // "p", 8-bit fields
extern const std::string Position12Command;      // "q", 12-bit fields
extern const std::string SpeedAccelCommand;      // "a", speed then acceleration
extern const std::string FullSpeedAccelCommand;  // "aFF", acceleration at full speed
extern const std::string AxisSpeedsCommand;      // "as", one speed per axis

// Answers of the bridge itself and of a silent read.
extern const std::string UsbEnable;   // "Find"
extern const std::string UsbDisable;  // "NotFind"
extern const std::string TimeOut;     // "TimeOut"

// Device lines.
extern const std::string CalibrationStart;  // "KORVE-RTO-START"
extern const std::string CalibrationError;  // "KORVE-ERROR-RESET"
extern const std::string CalibrationEnd;    // "KORVE-READY"
extern const std::string CircuitError;      // "ECAN-ERROR"
extern const std::string KorveLocked;       // "KORVE-LOCKED"
extern const std::string KorveUnlocked;     // "KORVE-UNLOCKED"
extern const std::string OnPushButton;      // "KORVE-BUTTON"
extern const std::string EnableLock;        // "KORVE-LOCK-OK"
extern const std::string DisableLock;       // "KORVE-UNLOCK-OK"
extern const std::string StatusPrefix;      // "KORVE-STATUS-", then two digits of axis set
extern const std::string StatusCodeMarker;  // "-EXT4-", then up to four digits of status code
extern const std::string DeviceSuffix;      // "-DEVICE", part of every identity line

// Identity lines of the device families.
extern const std::string KORVE4DOF_Enable;  // "KORVE-DEVICE"
extern const std::string KORVE6DOF_Enable;  // "KORVE6-DEVICE"
extern const std::string KORVE2DOF_Enable;  // "KORVE2-DEVICE"
extern const std::string NEBULO2_Enable;    // "NEBULO2-DEVICE"
extern const std::string TRAXEL_Enable;     // "KORVETL-DEVICE"
extern const std::string PLIX_Enable;       // "PLIX-DEVICE"

}  // namespace Message
}  // namespace ZEPTASDK

#endif

#include "usb/messages.h"

namespace ZEPTASDK {
namespace Message {

// Defined first: the commands below are built from it.
const std::string CommandEnd = ";";
const std::string FindUsb = "usb" + CommandEnd;
const std::string Connect = "d" + CommandEnd;
const std::string Calibration = "c" + CommandEnd;
const std::string CalibrationWait = "";
const std::string ShowState = "n" + CommandEnd;
const std::string GetDeviceVersion = "v" + CommandEnd;
const std::string GetSerialNumber = "s" + CommandEnd;

const std::string PositionCommand = "p";
const std::string Position12Command = "q";
const std::string SpeedAccelCommand = "a";
const std::string FullSpeedAccelCommand = "aFF";
const std::string AxisSpeedsCommand = "as";

const std::string UsbEnable = "Find";
const std::string UsbDisable = "NotFind";
const std::string TimeOut = "TimeOut";

const std::string CalibrationStart = "KORVE-RTO-START";
const std::string CalibrationError = "KORVE-ERROR-RESET";
const std::string CalibrationEnd = "KORVE-READY";
const std::string CircuitError = "ECAN-ERROR";
const std::string KorveLocked = "KORVE-LOCKED";
const std::string KorveUnlocked = "KORVE-UNLOCKED";
const std::string OnPushButton = "KORVE-BUTTON";
const std::string EnableLock = "KORVE-LOCK-OK";
const std::string DisableLock = "KORVE-UNLOCK-OK";
const std::string StatusPrefix = "KORVE-STATUS-";
const std::string StatusCodeMarker = "-EXT4-";
const std::string DeviceSuffix = "-DEVICE";

const std::string KORVE4DOF_Enable = "KORVE-DEVICE";
const std::string KORVE6DOF_Enable = "KORVE6-DEVICE";
const std::string KORVE2DOF_Enable = "KORVE2-DEVICE";
const std::string NEBULO2_Enable = "NEBULO2-DEVICE";
const std::string TRAXEL_Enable = "KORVETL-DEVICE";
const std::string PLIX_Enable = "PLIX-DEVICE";

}  // namespace Message
}  // namespace ZEPTASDK

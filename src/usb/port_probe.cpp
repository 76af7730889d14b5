#include "usb/port_probe.h"

#include "usb/device_family.h"
#include "usb/messages.h"

namespace ZEPTASDK {

namespace {

constexpr int kIdentityTimeoutMs = 300;
constexpr int kCommandTimeoutMs = 500;
constexpr int kCalibrationTimeoutMs = 30000;

std::string RequestVersion(IO::SerialPort& port)
{
    port.SetTimeout(ReadTimeoutFor(Message::GetDeviceVersion));
    port.Write(Message::GetDeviceVersion);
    const std::string version = port.Read();
    return version == Message::TimeOut ? std::string() : version;
}

}  // namespace

std::string RequestIdentity(IO::SerialPort& port)
{
    port.SetTimeout(kIdentityTimeoutMs);
    port.ClearBuffer();
    port.Write(Message::Connect);
    return port.Read();
}

bool IsIdentityLine(const std::string& reply)
{
    return reply != Message::TimeOut && reply.find(Message::DeviceSuffix) != std::string::npos;
}

// The empty command only arms the long wait for the end of a calibration.
int ReadTimeoutFor(const std::string& command)
{
    return command == Message::CalibrationWait ? kCalibrationTimeoutMs : kCommandTimeoutMs;
}

PortIdentity ProbePort(const std::wstring& portName)
{
    PortIdentity result;
    IO::SerialPort port(portName, false);
    if (!port.IsEnable()) {
        result.outcome = PortIdentity::Outcome::Busy;
        return result;
    }
    const std::string reply = RequestIdentity(port);
    if (reply == Message::TimeOut) return result;
    result.identity = reply;
    const DeviceFamily* family = FindDeviceFamily(reply);
    if (!IsIdentityLine(reply)) {
        result.outcome = PortIdentity::Outcome::NotADevice;
    } else if (family == nullptr) {
        result.outcome = PortIdentity::Outcome::UnknownFamily;
    } else {
        result.outcome = PortIdentity::Outcome::Identified;
        result.deviceKind = family->model;
        result.axisSet = family->axisMask;
        result.version = RequestVersion(port);
    }
    return result;
}

}  // namespace ZEPTASDK

#include "usb/port_probe.h"

#include "usb/device_bridge.h"
#include "usb/device_family.h"
#include "usb/messages.h"

namespace ZEPTASDK {

namespace {

std::string RequestVersion(IO::SerialPort& port)
{
    port.SetTimeout(ReadTimeoutFor(Message::GetDeviceVersion));
    port.Write(Message::GetDeviceVersion);
    const std::string version = ReadReply(port);
    return version == Message::TimeOut ? std::string() : version;
}

// Sorts a reply that is not silence.
void ClassifyIdentity(IO::SerialPort& port, PortIdentity& result)
{
    const DeviceFamily* family = FindDeviceFamily(result.identity);
    if (!IsIdentityLine(result.identity)) {
        result.outcome = PortIdentity::Outcome::NotADevice;
    } else if (family == nullptr) {
        result.outcome = PortIdentity::Outcome::UnknownFamily;
    } else {
        result.outcome = PortIdentity::Outcome::Identified;
        result.deviceKind = family->model;
        result.axisSet = family->axisMask;
        result.version = RequestVersion(port);
    }
}

}  // namespace

PortIdentity ProbePort(const std::wstring& portName)
{
    PortIdentity result;
    IO::SerialPort port(portName, false);
    if (!PreparePort(port)) {
        result.outcome = PortIdentity::Outcome::Busy;
        return result;
    }
    const std::string reply = RequestIdentity(port);
    if (reply == Message::TimeOut) return result;
    result.identity = reply;
    ClassifyIdentity(port, result);
    return result;
}

}  // namespace ZEPTASDK

#include "usb/device_bridge.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "usb/messages.h"

namespace ZEPTASDK {

namespace {

constexpr std::chrono::seconds kPauseBetweenPasses{1};
constexpr int kIdentityTimeoutMs = 300;
constexpr int kCommandTimeoutMs = 500;
constexpr int kCalibrationTimeoutMs = 30000;

// The port on which the last search found a device; a later bridge (of any
// session) tries it first. Sessions build bridges on their own threads.
std::mutex lastPortMutex;
std::wstring lastPort;  // guarded by lastPortMutex

std::wstring LastPort()
{
    std::lock_guard<std::mutex> lock(lastPortMutex);
    return lastPort;
}

void RememberLastPort(const std::wstring& name)
{
    std::lock_guard<std::mutex> lock(lastPortMutex);
    lastPort = name;
}

// One pass over the candidate ports; remembers the first that answers.
bool ConnectFirstAnswering(DeviceBridge& bridge, const std::vector<std::wstring>& names)
{
    for (const std::wstring& name : names) {
        if (bridge.Connect(name)) {
            RememberLastPort(name);
            return true;
        }
    }
    return false;
}

}  // namespace

bool PreparePort(IO::SerialPort& port)
{
    if (!port.IsEnable()) return false;
    port.ClearBuffer(Message::CommandEnd);
    return true;
}

void ReadReply(IO::SerialPort& port, std::string& line)
{
    if (!port.ReadLine(line)) line = Message::TimeOut;
}

std::string ReadReply(IO::SerialPort& port)
{
    std::string line;
    ReadReply(port, line);
    return line;
}

std::string RequestIdentity(IO::SerialPort& port)
{
    port.SetTimeout(kIdentityTimeoutMs);
    port.ClearBuffer(Message::CommandEnd);
    port.Write(Message::Connect);
    return ReadReply(port);
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

DeviceBridge::DeviceBridge() : hasPorts(true)
{
    const std::wstring last = LastPort();
    if (last.empty() || !Connect(last)) Search();
}

DeviceBridge::~DeviceBridge() = default;

// A device that is still booting gets a second chance after a pause.
void DeviceBridge::Search()
{
    const std::vector<std::wstring> names = IO::GetPortNames();
    if (names.empty()) {
        hasPorts = false;
        return;
    }
    if (ConnectFirstAnswering(*this, names)) return;
    std::this_thread::sleep_for(kPauseBetweenPasses);
    ConnectFirstAnswering(*this, names);
}

bool DeviceBridge::Connect(const std::wstring& portName)
{
    port = std::make_unique<IO::SerialPort>(portName, false);
    const std::string identity = PreparePort(*port) ? RequestIdentity(*port) : std::string();
    if (!IsIdentityLine(identity)) {
        port.reset();
        return false;
    }
    deviceName = identity;
    return true;
}

void DeviceBridge::Write(const std::string& command)
{
    if (command == Message::FindUsb) {
        localReply = hasPorts ? Message::UsbEnable : Message::UsbDisable;
        return;
    }
    if (!port) return;
    port->SetTimeout(ReadTimeoutFor(command));
    localReply.clear();
    if (!command.empty()) port->Write(command);
}

std::string DeviceBridge::Read()
{
    std::string line;
    ReadLine(line);
    return line;
}

std::string DeviceBridge::MotionSimGUID() { return deviceName; }

void DeviceBridge::portDisable() { port.reset(); }

void DeviceBridge::ReadLine(std::string& line)
{
    if (!port) {
        line.clear();
    } else if (!localReply.empty()) {
        line = localReply;
    } else {
        ReadReply(*port, line);
    }
}

}  // namespace ZEPTASDK

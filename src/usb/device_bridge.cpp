#include "usb/device_bridge.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "usb/messages.h"
#include "usb/port_probe.h"

namespace ZEPTASDK {

namespace {

constexpr std::chrono::seconds kPauseBetweenPasses{1};
const std::wstring kDefaultPortFile = L"korve_default_comport.txt";

// The port on which the last search found a device; a later bridge (of any
// session) tries it first. Sessions build bridges on their own threads.
std::mutex s_lastPortMutex;
std::wstring s_lastPort;  // guarded by s_lastPortMutex

std::wstring LastPort()
{
    std::lock_guard<std::mutex> lock(s_lastPortMutex);
    return s_lastPort;
}

void RememberLastPort(const std::wstring& name)
{
    std::lock_guard<std::mutex> lock(s_lastPortMutex);
    s_lastPort = name;
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

DeviceBridge::DeviceBridge() : hasPorts(true), defaultPortFile(kDefaultPortFile)
{
    const std::wstring last = LastPort();
    if (!last.empty() && Connect(last)) return;
    const std::vector<std::wstring> names = IO::GetPortNames();
    if (names.empty()) {
        hasPorts = false;
        return;
    }
    if (ConnectFirstAnswering(*this, names)) return;
    // A device that is still booting gets a second chance after a pause.
    std::this_thread::sleep_for(kPauseBetweenPasses);
    ConnectFirstAnswering(*this, names);
}

DeviceBridge::~DeviceBridge() = default;

bool DeviceBridge::Connect(const std::wstring& portName)
{
    port = std::make_unique<IO::SerialPort>(portName, false);
    if (!port->IsEnable()) {
        port.reset();
        return false;
    }
    const std::string identity = RequestIdentity(*port);
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
        port->ReadLine(line);
    }
}

}  // namespace ZEPTASDK

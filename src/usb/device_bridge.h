// The Bridge over a serial port: finds the port on which a motion device
// answers, keeps it open and chooses the read time-out for every command.
#ifndef ZEPTA_USB_DEVICE_BRIDGE_H
#define ZEPTA_USB_DEVICE_BRIDGE_H

#include <memory>
#include <string>

#include "io/serial_port.h"
#include "usb/bridge.h"
#include "zepta/export.h"

namespace ZEPTASDK {

class ZEPTA_API DeviceBridge : public Bridge {
public:
    // Searches the ports (the last good one first) and ends connected or
    // portless; never throws for a missing device.
    DeviceBridge();
    ~DeviceBridge() override;
    DeviceBridge(const DeviceBridge&) = delete;
    DeviceBridge& operator=(const DeviceBridge&) = delete;

    // Returns the same local answer to "usb;" on every call until the next
    // other command is written; "" once the port is gone.
    std::string Read() override;
    // "usb;" is answered locally and never sent. "" sends nothing and arms the
    // long wait for the end of a calibration.
    void Write(const std::string& command) override;
    std::string MotionSimGUID() override;
    void portDisable() override;
    // Read's answer without a new string for every line.
    void ReadLine(std::string& line) override;

    // Opens portName and keeps it when the device answers "d;" with a line
    // that contains "-DEVICE".
    bool Connect(const std::wstring& portName);

private:
    bool hasPorts;
    std::string localReply;
    std::unique_ptr<IO::SerialPort> port;
    // Named for applications that keep a port choice in the local store; the
    // bridge itself neither reads nor writes it.
    std::wstring defaultPortFile;
    std::string deviceName;
};

}  // namespace ZEPTASDK

#endif

// The Bridge over a serial port: finds the port on which a motion device
// answers, keeps it open and chooses the read time-out for every command.
// The steps by which it talks to a port are shared with ProbePort, so that a
// probe reports exactly what the bridge's search would find on that port.
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
    void Search();

    bool hasPorts;
    std::string localReply;
    std::unique_ptr<IO::SerialPort> port;
    std::string deviceName;
};

// Ends any half-sent command of an opened port; false when it did not open.
bool PreparePort(IO::SerialPort& port);
// Stores the next reply line of port into line, Message::TimeOut when no
// complete line came.
void ReadReply(IO::SerialPort& port, std::string& line);
std::string ReadReply(IO::SerialPort& port);
// Clears the port and sends the identity request ("d;"); the reply line, or
// Message::TimeOut after the identity time-out.
std::string RequestIdentity(IO::SerialPort& port);
// A reply by which a motion device identifies itself: it holds "-DEVICE".
bool IsIdentityLine(const std::string& reply);
// The read time-out that fits the reply to command.
int ReadTimeoutFor(const std::string& command);

}  // namespace ZEPTASDK

#endif

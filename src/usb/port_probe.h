// How the library asks a serial port who is on it. The bridge's search and
// ProbePort, the public one-port probe for tools, share these steps, so a
// probe reports exactly what a session's search would find on that port.
#ifndef ZEPTA_USB_PORT_PROBE_H
#define ZEPTA_USB_PORT_PROBE_H

#include <string>

#include "io/serial_port.h"

namespace ZEPTASDK {

// Clears the port and sends the identity request ("d;"); the reply line, or
// Message::TimeOut after the identity time-out.
std::string RequestIdentity(IO::SerialPort& port);
// A reply by which a motion device identifies itself: it holds "-DEVICE".
bool IsIdentityLine(const std::string& reply);
// The read time-out that fits the reply to command.
int ReadTimeoutFor(const std::string& command);

// What one port answered to a probe.
struct PortIdentity {
    enum class Outcome {
        Identified,     // a device of a known family
        Busy,           // the port could not be opened: held by a program, or no access
        Silent,         // no answer to the identity request
        NotADevice,     // answered with something other than an identity line
        UnknownFamily,  // an identity line of no known family
    };
    Outcome outcome = Outcome::Silent;
    std::string identity;   // the reply to the identity request, "" when silent
    int deviceKind = 0;     // the family's model code; 0 unless identified
    unsigned axisSet = 0;   // the axes the family reports, bit n for axis n + 1
    std::string version;    // the firmware version line; "" when none came
};

// Opens portName, asks for the device's identity the way the bridge's search
// does and, for a known family, for its firmware version. Sends nothing that
// moves the device and closes the port again; never throws for device trouble.
PortIdentity ProbePort(const std::wstring& portName);

}  // namespace ZEPTASDK

#endif

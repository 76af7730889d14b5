// How the command-line tool asks one serial port who is on it, by the same
// steps as the bridge's search.
#ifndef ZEPTA_USB_PORT_PROBE_H
#define ZEPTA_USB_PORT_PROBE_H

#include <string>

#include "zepta/zepta.h"

namespace ZEPTASDK {

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
    std::string identity;                   // the reply to the identity request, "" when silent
    int deviceKind = ZEPTA_DEVICE_NONE;     // the family's kind code, unless identified
    unsigned axisSet = 0;                   // the axes the family reports, bit n for axis n + 1
    std::string version;                    // the firmware version line; "" when none came
};

// Opens portName, asks for the device's identity the way the bridge's search
// does and, for a known family, for its firmware version. Sends nothing that
// moves the device and closes the port again; never throws for device trouble.
PortIdentity ProbePort(const std::wstring& portName);

}  // namespace ZEPTASDK

#endif

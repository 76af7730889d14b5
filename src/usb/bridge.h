// The byte link between the protocol controller and one USB motion device.
// The controller knows only this interface; tests put a scripted link behind it.
#ifndef ZEPTA_USB_BRIDGE_H
#define ZEPTA_USB_BRIDGE_H

#include <string>

#include "zepta/export.h"

namespace ZEPTASDK {

class ZEPTA_API Bridge {
public:
    virtual ~Bridge() = default;
    // The next reply line, Message::TimeOut after silence, "" without a port.
    virtual std::string Read() = 0;
    // Sends one command text; arms the read time-out that fits it.
    virtual void Write(const std::string& command) = 0;
    // The identity line of the connected device, "" when none answered.
    virtual std::string MotionSimGUID() = 0;
    // Closes the port for good.
    virtual void portDisable() = 0;
    // What Read returns, stored into line. A caller that keeps line from call
    // to call reuses its storage: status lines are longer than std::string's
    // inline buffer, and the frame path reads one per command without
    // touching the heap. Links without a cheaper way fall back to Read.
    virtual void ReadLine(std::string& line) { line = Read(); }
};

}  // namespace ZEPTASDK

#endif

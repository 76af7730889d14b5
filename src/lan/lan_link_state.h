// The state of a LAN link as the device's acknowledgements report it. Every
// acknowledged frame refills a budget of frames that may go unanswered; the
// link is given up when the budget runs out.
#ifndef ZEPTA_LAN_LAN_LINK_STATE_H
#define ZEPTA_LAN_LAN_LINK_STATE_H

#include <atomic>
#include <string>

#include "zepta/zepta.h"

namespace ZEPTASDK {

// Written by the update thread; Get may be called from any thread.
class LanLinkState {
public:
    // tag prefixes the log lines, as for the rest of the session.
    explicit LanLinkState(std::string tag);

    int Get() const { return state.load(); }
    // Searching, calibrating, running or stopped: frames still go out.
    bool IsUp() const { return state.load() >= ZEPTA_STATE_INITIAL; }
    void NoDevice();
    // Discovery selected a device: the budget starts full.
    void Connected();
    // The text of one datagram from the device. "NACK" stops the actuator
    // (and is logged), "CACK" means calibrating, "ACK" running; only the last
    // two refill the budget. Other texts change nothing.
    void Acknowledge(const std::string& text);
    // Spends the budget of one frame; false, after logging the time-out, once
    // more frames went unanswered than the budget allows.
    bool SpendFrame();
    // The socket closed: a link that was up shows as shut down, while a
    // refused (stopped) actuator stays visible.
    void Closed();

private:
    std::atomic<int> state{ZEPTA_STATE_INITIAL};
    int ackCountdown = 0;
    std::string logTag;
};

}  // namespace ZEPTASDK

#endif

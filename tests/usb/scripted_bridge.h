// A Bridge whose device is a script: each Read takes the next scripted reply,
// and a device with nothing left to say times out. Every command written and
// the number of reads are kept for inspection.
#ifndef ZEPTA_TESTS_USB_SCRIPTED_BRIDGE_H
#define ZEPTA_TESTS_USB_SCRIPTED_BRIDGE_H

#include <deque>
#include <string>
#include <vector>

#include "usb/bridge.h"
#include "usb/messages.h"

namespace zepta_test {

class ScriptedBridge : public ZEPTASDK::Bridge {
public:
    explicit ScriptedBridge(std::string deviceIdentity) : identity(std::move(deviceIdentity)) {}

    void Script(const std::vector<std::string>& lines) { replies.insert(replies.end(), lines.begin(), lines.end()); }

    // Like a port that was closed: reads give "", writes go nowhere.
    std::string Read() override
    {
        if (disabled) return std::string();
        ++reads;
        if (replies.empty()) return ZEPTASDK::Message::TimeOut;
        std::string reply = replies.front();
        replies.pop_front();
        return reply;
    }
    void Write(const std::string& command) override
    {
        if (!disabled) writes.push_back(command);
    }
    std::string MotionSimGUID() override { return identity; }
    void portDisable() override { disabled = true; }

    std::string identity;
    std::deque<std::string> replies;
    std::vector<std::string> writes;
    bool disabled = false;
    int reads = 0;
};

}  // namespace zepta_test

#endif

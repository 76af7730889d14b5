// A Bridge whose device is a script: each Read takes the next scripted reply,
// and a device with nothing left to say times out. Every command written is
// kept for inspection.
#ifndef ZEPTA_TESTS_USB_SCRIPTED_BRIDGE_H
#define ZEPTA_TESTS_USB_SCRIPTED_BRIDGE_H

#include <deque>
#include <string>
#include <vector>

#include "usb/bridge.h"
#include "usb/messages.h"
#include "zepta/Debug.hpp"

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

    std::size_t Unread() const { return replies.size(); }

    std::string identity;
    std::deque<std::string> replies;
    std::vector<std::string> writes;
    bool disabled = false;
    int reads = 0;
};

// The lines logged since the last call, without their line feeds.
inline std::vector<std::string> DrainLogLines()
{
    std::string text;
    char buffer[512];
    int count;
    while ((count = ZEPTASDK::Debug::GetBackLogData(buffer, sizeof buffer)) > 0) text.append(buffer, count);
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

}  // namespace zepta_test

#endif

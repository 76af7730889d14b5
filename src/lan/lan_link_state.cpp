#include "lan/lan_link_state.h"

#include <utility>

#include "log/log_messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

const std::string kNack = "NACK";
const std::string kCack = "CACK";
const std::string kAck = "ACK";
constexpr int kAckBudget = 10;

bool Contains(const std::string& text, const std::string& word) { return text.find(word) != std::string::npos; }

}  // namespace

LanLinkState::LanLinkState(std::string tag) : logTag(std::move(tag)) {}

void LanLinkState::NoDevice() { state = ZEPTA_STATE_NO_DEVICE; }

void LanLinkState::Connected() { ackCountdown = kAckBudget; }

// "NACK" and "CACK" both contain "ACK", so they are looked for first.
void LanLinkState::Acknowledge(const std::string& text)
{
    if (Contains(text, kNack)) {
        Debug::Log(logTag, Message::Log::State::ShutDownActuator);
        state = ZEPTA_STATE_STOPPED;
    } else if (Contains(text, kCack)) {
        ackCountdown = kAckBudget;
        state = ZEPTA_STATE_CALIBRATING;
    } else if (Contains(text, kAck)) {
        ackCountdown = kAckBudget;
        state = ZEPTA_STATE_RUNNING;
    }
}

bool LanLinkState::SpendFrame()
{
    if (--ackCountdown >= 0) return true;
    Debug::Log(logTag, Message::Log::TimeOut);
    return false;
}

void LanLinkState::Closed()
{
    const int current = state.load();
    if (current >= ZEPTA_STATE_INITIAL && current <= ZEPTA_STATE_RUNNING) state = ZEPTA_STATE_SHUT_DOWN;
}

}  // namespace ZEPTASDK

// Arbitrary datagrams from the device through ControllerLAN's acknowledgement
// drain, compared with a model of it: each drain consumes what has queued up
// (up to the first empty datagram, at most 1024), the last "NACK", "CACK" or
// "ACK" in a datagram's first 255 bytes (before any NUL) decides the state,
// only "CACK" and "ACK" refill the budget of 10, and the drain after the
// budget ran out closes the link.
//
// Input: lines separated by "\n", each one datagram the device sends; a line
// "=" lets the controller drain what has arrived. The end of the input ends
// the last frame.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "lan_fuzz_support.h"

namespace {

using zepta_fuzz::Require;

const std::string kFrameEnd = "=";
constexpr std::size_t kAckBytes = 255;
constexpr int kMostPerDrain = 1024;
constexpr int kBudget = 10;
constexpr int kAckWaitMs = 30;
// Few and short enough that the controller's socket never drops one.
constexpr std::size_t kMostDatagrams = 96;
constexpr std::size_t kMostDatagramBytes = 300;

// What the controller should have made of the datagrams so far.
struct AckModel {
    void Drain()
    {
        if (!open) return;
        for (int count = 0; count < kMostPerDrain && !queued.empty(); ++count) {
            const std::string datagram = queued.front();
            queued.pop_front();
            if (datagram.empty()) break;
            Classify(datagram.substr(0, kAckBytes));
        }
        if (--countdown >= 0) return;
        open = false;
        queued.clear();
        if (state != ZEPTA_STATE_STOPPED) state = ZEPTA_STATE_SHUT_DOWN;
    }

    void Classify(const std::string& cut)
    {
        const std::string text = cut.substr(0, std::strlen(cut.c_str()));
        if (text.find("NACK") != std::string::npos) {
            state = ZEPTA_STATE_STOPPED;
        } else if (text.find("CACK") != std::string::npos) {
            countdown = kBudget;
            state = ZEPTA_STATE_CALIBRATING;
        } else if (text.find("ACK") != std::string::npos) {
            countdown = kBudget;
            state = ZEPTA_STATE_RUNNING;
        }
    }

    std::deque<std::string> queued;
    int countdown = kBudget;
    int state = ZEPTA_STATE_INITIAL;
    bool open = true;
};

std::vector<std::vector<std::string>> Frames(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::vector<std::string>> frames(1);
    std::size_t datagrams = 0;
    for (const std::string& line : zepta_fuzz::InputLines(data, size)) {
        if (line == kFrameEnd) {
            frames.emplace_back();
        } else if (datagrams++ < kMostDatagrams) {
            frames.back().push_back(line.substr(0, kMostDatagramBytes));
        }
    }
    return frames;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto controller = zepta_fuzz::DiscoverWithReplies("", {"KORVE2DOF-ACKFUZZ"});
    Require(controller->HasSocket(), "the device is found");
    AckModel model;
    int frame = 0;
    for (const std::vector<std::string>& datagrams : Frames(data, size)) {
        for (const std::string& datagram : datagrams) {
            zepta_fuzz::SendToController(datagram);
            if (model.open) model.queued.push_back(datagram);
        }
        // An empty frame need not wait: nothing is on its way.
        controller->WaitAndDrainAck(datagrams.empty() ? 0 : kAckWaitMs);
        model.Drain();
        const std::string where = " after frame " + std::to_string(frame++);
        Require(controller->HasSocket() == model.open, "the link is open exactly as long as the budget lasts" + where);
        Require(controller->GetState() == model.state,
                "state " + std::to_string(controller->GetState()) + " should be " + std::to_string(model.state) + where);
    }
    zepta_fuzz::DrainLog();
    return 0;
}

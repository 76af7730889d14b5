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

using ZEPTASDK::ControllerLAN;
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
class AckModel {
public:
    void Queue(const std::string& datagram)
    {
        if (open_) queued_.push_back(datagram);
    }

    void Drain()
    {
        if (!open_) return;
        for (int count = 0; count < kMostPerDrain && !queued_.empty(); ++count) {
            const std::string datagram = queued_.front();
            queued_.pop_front();
            if (datagram.empty()) break;
            Classify(datagram.substr(0, kAckBytes));
        }
        if (--countdown_ >= 0) return;
        open_ = false;
        queued_.clear();
        if (state_ != ControllerLAN::kStateStopped) state_ = ControllerLAN::kStateClosed;
    }

    bool Open() const { return open_; }
    int State() const { return state_; }

private:
    void Classify(const std::string& cut)
    {
        const std::string text = cut.substr(0, std::strlen(cut.c_str()));
        if (text.find("NACK") != std::string::npos) {
            state_ = ControllerLAN::kStateStopped;
        } else if (text.find("CACK") != std::string::npos) {
            countdown_ = kBudget;
            state_ = ControllerLAN::kStateCalibrating;
        } else if (text.find("ACK") != std::string::npos) {
            countdown_ = kBudget;
            state_ = ControllerLAN::kStateRunning;
        }
    }

    std::deque<std::string> queued_;
    int countdown_ = kBudget;
    int state_ = ControllerLAN::kStateInitial;
    bool open_ = true;
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
            model.Queue(datagram);
        }
        // An empty frame need not wait: nothing is on its way.
        controller->WaitAndDrainAck(datagrams.empty() ? 0 : kAckWaitMs);
        model.Drain();
        const std::string where = " after frame " + std::to_string(frame++);
        Require(controller->HasSocket() == model.Open(), "the link is open exactly as long as the budget lasts" + where);
        Require(controller->GetState() == model.State(),
                "state " + std::to_string(controller->GetState()) + " should be " + std::to_string(model.State()) + where);
    }
    zepta_fuzz::DrainLog();
    return 0;
}

// Arbitrary discovery replies through ControllerLAN's discovery: the split of
// a reply into model and serial number, and the choice of one device. The
// device answers the ping with the input's datagrams and then with a known
// sentinel reply, so that discovery always ends at once. The device chosen
// must be the first reply that names a known model (with the assigned serial
// number, when one is given), otherwise the sentinel.
//
// Input: lines separated by "\n". The first line is the serial number the
// application assigns (empty: none; hyphens and NULs are dropped from it);
// every further line is one reply datagram.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_support.h"
#include "lan_fuzz_support.h"

namespace {

using zepta_fuzz::Require;

// Longer replies are cut to this many bytes by the controller.
constexpr std::size_t kReplyBytes = 128;
// Enough to exercise the choice, few enough that the socket queues them all.
constexpr std::size_t kMostReplies = 32;
constexpr std::size_t kMostAssignedLength = 64;
const std::string kSentinelModel = "KORVE2DOF";
const std::string kUnassignedSentinel = "SENTINEL";

struct Choice {
    unsigned deviceType = ZEPTA_DEVICE_NONE;
    std::string serial;
};

unsigned KnownType(const std::string& model)
{
    static const std::pair<const char*, ZEPTADeviceKind> kModels[] = {
        {"KORVE2DOF", ZEPTA_DEVICE_KORVE_2DOF},         {"KORVE4DOF", ZEPTA_DEVICE_KORVE_4DOF},
        {"KORVE6DOF", ZEPTA_DEVICE_KORVE_6DOF},         {"KORVEGRANDEQX", ZEPTA_DEVICE_GRANDE_QX},
        {"KORVEGRANDE500QX", ZEPTA_DEVICE_GRANDE_500QX}, {"MOSSPOD", ZEPTA_DEVICE_MOSSPOD},
        {"KORVEKICKBOARDQX", ZEPTA_DEVICE_KICKBOARD_QX}, {"KORVEGRANDE", ZEPTA_DEVICE_GRANDE}};
    for (const auto& known : kModels) {
        if (model == known.first) return known.second;
    }
    return ZEPTA_DEVICE_NONE;
}

// The non-empty pieces between hyphens of the reply's text, which ends at its
// first NUL or at the cut.
std::vector<std::string> Pieces(const std::string& datagram)
{
    const std::string cut = datagram.substr(0, kReplyBytes);
    const std::string text = cut.substr(0, std::strlen(cut.c_str()));
    std::vector<std::string> pieces;
    std::string piece;
    for (char c : text + "-") {
        if (c != '-') {
            piece.push_back(c);
        } else if (!piece.empty()) {
            pieces.push_back(piece);
            piece.clear();
        }
    }
    return pieces;
}

Choice ExpectedChoice(const std::string& assigned, const std::vector<std::string>& replies)
{
    for (const std::string& reply : replies) {
        const std::vector<std::string> pieces = Pieces(reply);
        if (pieces.size() < 2) continue;
        if (!assigned.empty() && pieces[1] != assigned) continue;
        const unsigned type = KnownType(pieces[0]);
        if (type != ZEPTA_DEVICE_NONE) return {type, pieces[1]};
    }
    return {};
}

std::string AssignedSerial(const std::string& line)
{
    std::string serial;
    for (char c : line.substr(0, kMostAssignedLength)) {
        if (c != '-' && c != '\0') serial.push_back(c);
    }
    return serial;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> replies = zepta_fuzz::InputLines(data, size);
    const std::string assigned = AssignedSerial(replies.front());
    replies.erase(replies.begin());
    if (replies.size() > kMostReplies) replies.resize(kMostReplies);
    replies.push_back(kSentinelModel + "-" + (assigned.empty() ? kUnassignedSentinel : assigned));

    const Choice expected = ExpectedChoice(assigned, replies);
    Require(expected.deviceType != ZEPTA_DEVICE_NONE, "the sentinel is a valid reply");
    const auto controller = zepta_fuzz::DiscoverWithReplies(assigned, replies);
    Require(controller->HasSocket() && controller->GetState() == ZEPTA_STATE_INITIAL, "discovery ends with the link up");
    Require(controller->GetDeviceType() == expected.deviceType,
            "the first suitable reply chooses the device type " + std::to_string(expected.deviceType) + ", not " +
                std::to_string(controller->GetDeviceType()));
    Require(controller->GetSerialNumber() == expected.serial, "the chosen device's serial number is kept");
    zepta_fuzz::DrainLog();
    return 0;
}

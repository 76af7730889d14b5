// The network side of the LAN fuzz targets: this thread plays the device on
// the discovery port, so that every input runs to its end before the next one
// starts and no reply of one input can reach the controller of the next.
#ifndef ZEPTA_TESTS_FUZZ_LAN_FUZZ_SUPPORT_H
#define ZEPTA_TESTS_FUZZ_LAN_FUZZ_SUPPORT_H

#include <memory>
#include <string>
#include <vector>

#include "lan/controller_lan.h"

namespace zepta_fuzz {

// Builds a ControllerLAN (its discovery runs on a helper thread) and answers
// each of its pings with replies, in order, from the discovery port. Aborts
// outside the test sandbox.
std::unique_ptr<ZEPTASDK::ControllerLAN> DiscoverWithReplies(const std::string& assignedSerial,
                                                            const std::vector<std::string>& replies);

// Sends one datagram to the controller's local port from the device's
// address, as an acknowledgement would come.
void SendToController(const std::string& datagram);

}  // namespace zepta_fuzz

#endif

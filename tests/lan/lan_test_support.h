// Shared pieces of the LAN link tests: the log backlog, emulated devices on
// their own loopback addresses, and polling with generous deadlines.
#ifndef ZEPTA_TESTS_LAN_TEST_SUPPORT_H
#define ZEPTA_TESTS_LAN_TEST_SUPPORT_H

#include <chrono>
#include <functional>
#include <string>

#include "lan_device_emulator.h"

namespace zepta_lan_test {

constexpr std::chrono::milliseconds kPatience{5000};

// Everything in the process-wide log backlog, which is emptied.
std::string DrainLog();

// An emulated device answering "<model>-<serial>" from 127.0.0.<host>.
zepta_tools::LanDeviceOptions DeviceAt(int host, const std::string& model, const std::string& serial);

// Same, but the discovery reply is the given text, verbatim.
zepta_tools::LanDeviceOptions DeviceReplying(int host, const std::string& reply);

// Polls condition until it holds or the deadline passes.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds deadline = kPatience);

}  // namespace zepta_lan_test

#endif

#include "lan_test_support.h"

#include <thread>

#include "zepta/Debug.hpp"

namespace zepta_lan_test {

std::string DrainLog()
{
    std::string all;
    char buffer[512];
    int count = 0;
    while ((count = ZEPTASDK::Debug::GetBackLogData(buffer, sizeof buffer)) > 0) {
        all.append(buffer, static_cast<std::size_t>(count));
    }
    return all;
}

zepta_tools::LanDeviceOptions DeviceAt(int host, const std::string& model, const std::string& serial)
{
    zepta_tools::LanDeviceOptions options;
    options.model = model;
    options.serial = serial;
    options.address = "127.0.0." + std::to_string(host);
    return options;
}

zepta_tools::LanDeviceOptions DeviceReplying(int host, const std::string& reply)
{
    zepta_tools::LanDeviceOptions options = DeviceAt(host, "UNUSED", "UNUSED");
    options.discovery.reply = reply;
    return options;
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds deadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace zepta_lan_test

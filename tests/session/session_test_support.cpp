#include "session_test_support.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <thread>

#include "zepta/ZEPTA.hpp"

namespace zepta_test {

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

std::string DrainLog()
{
    std::string all;
    char buffer[1024];
    // A logging thread may hold the lock for a moment: a busy read is retried
    // until the backlog has read empty three times in a row.
    for (int idle = 0; idle < 3; std::this_thread::sleep_for(1ms)) {
        const int n = zeptaGetBackLog(buffer, sizeof buffer);
        all.append(buffer, static_cast<std::size_t>(std::max(n, 0)));
        idle = n > 0 ? 0 : idle + (zeptaBackLogDataAvailable() == 0 ? 1 : 0);
    }
    return all;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

bool WaitConnected(int handle, std::chrono::milliseconds timeout)
{
    return WaitUntil([handle] { return zeptaGetState(handle) == ZEPTA_STATE_RUNNING; }, timeout);
}

bool WaitStopped(int handle, std::chrono::milliseconds timeout)
{
    return WaitUntil([handle] { return zeptaGetSystemStatus(handle) == 0; }, timeout);
}

int ThreadCount()
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

int OpenDescriptorCount()
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

_korve_data_packet NeutralPacket()
{
    return ZEPTASDK::DefaultZEPTAPacket();
}

void SessionTest::SetUp()
{
    SandboxedTest::SetUp();
    DrainLog();
}

void SessionTest::TearDown()
{
    if (handle_ >= 0) zeptaClose(handle_);
}

}  // namespace zepta_test

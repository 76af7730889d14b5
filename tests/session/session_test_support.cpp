#include "session_test_support.h"

#include <dirent.h>

#include <cstring>
#include <thread>

#include "zepta/ZEPTA.hpp"

namespace zepta_test {

namespace {

int CountEntries(const char* directory)
{
    DIR* dir = opendir(directory);
    if (dir == nullptr) return -1;
    int count = 0;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(dir);
    return count;
}

}  // namespace

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
    // A logging thread may hold the lock for a moment: retry a busy read.
    for (int idle = 0; idle < 3;) {
        int n = zeptaGetBackLog(buffer, sizeof buffer);
        if (n > 0) {
            all.append(buffer, static_cast<std::size_t>(n));
            idle = 0;
        } else {
            if (zeptaBackLogDataAvailable() == 0) ++idle;
            std::this_thread::sleep_for(1ms);
        }
    }
    return all;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

bool WaitConnected(int handle, std::chrono::milliseconds timeout)
{
    return WaitUntil([handle] { return zeptaGetState(handle) == 8; }, timeout);
}

bool WaitStopped(int handle, std::chrono::milliseconds timeout)
{
    return WaitUntil([handle] { return zeptaGetSystemStatus(handle) == 0; }, timeout);
}

int ThreadCount()
{
    return CountEntries("/proc/self/task");
}

int OpenDescriptorCount()
{
    return CountEntries("/proc/self/fd");
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

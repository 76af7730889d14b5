#include "frame_probe.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

#include "support/allocation_counter.h"
#include "session/session_table.h"

namespace zepta_bench {

namespace {

std::atomic<std::uint64_t> g_framesDone{0};
std::atomic<long> g_updateThreadId{0};
std::mutex g_recordLock;
bool g_recording = false;                       // guarded by g_recordLock
std::vector<Clock::time_point> g_frameEnds;     // guarded by g_recordLock

// Runs on the session's update thread at the end of every frame.
void OnFrameDone()
{
    zepta_test::CountAllocationsOnThisThread();
    thread_local const long threadId = syscall(SYS_gettid);
    g_updateThreadId.store(threadId, std::memory_order_relaxed);
    const Clock::time_point now = Clock::now();
    {
        std::lock_guard<std::mutex> guard(g_recordLock);
        if (g_recording && g_frameEnds.size() < g_frameEnds.capacity()) g_frameEnds.push_back(now);
    }
    g_framesDone.fetch_add(1, std::memory_order_release);
}

}  // namespace

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::microseconds pollInterval)
{
    const auto deadline = Clock::now() + timeout;
    while (!condition()) {
        if (Clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

void FrameProbe::Attach(int handle)
{
    ZEPTASDK::SessionTable::Instance().Find(handle)->SetCallbackUpdateFunction(&OnFrameDone);
}

std::uint64_t FrameProbe::FramesDone() { return g_framesDone.load(std::memory_order_acquire); }

bool FrameProbe::WaitForFrameAfter(std::uint64_t count, std::chrono::milliseconds timeout)
{
    return WaitUntil([count] { return FramesDone() > count; }, timeout);
}

void FrameProbe::StartRecording(std::size_t capacity)
{
    std::vector<Clock::time_point> buffer;
    buffer.reserve(capacity);
    std::lock_guard<std::mutex> guard(g_recordLock);
    g_frameEnds.swap(buffer);
    g_recording = true;
}

std::vector<Clock::time_point> FrameProbe::StopRecording()
{
    std::vector<Clock::time_point> ends;
    std::lock_guard<std::mutex> guard(g_recordLock);
    g_recording = false;
    ends.swap(g_frameEnds);
    return ends;
}

long FrameProbe::UpdateThreadId() { return g_updateThreadId.load(std::memory_order_relaxed); }

double ThreadCpuNs(long threadId)
{
    std::ifstream schedstat("/proc/self/task/" + std::to_string(threadId) + "/schedstat");
    double runNs = -1;
    schedstat >> runNs;
    return schedstat ? runNs : -1;
}

std::vector<double> IntervalsNs(const std::vector<Clock::time_point>& times)
{
    std::vector<double> intervals;
    for (std::size_t i = 1; i < times.size(); ++i) intervals.push_back(Nanoseconds(times[i] - times[i - 1]));
    return intervals;
}

double Nanoseconds(Clock::duration d) { return std::chrono::duration<double, std::nano>(d).count(); }

}  // namespace zepta_bench

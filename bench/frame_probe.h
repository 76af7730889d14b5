// The session's update callback, turned into a probe: it counts finished
// frames, records when each finished while asked to, and marks the update
// thread for the allocation count. A callback is a plain function pointer,
// so there is one probe per process, attached to one session at a time.
#ifndef ZEPTA_BENCH_FRAME_PROBE_H
#define ZEPTA_BENCH_FRAME_PROBE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace zepta_bench {

using Clock = std::chrono::steady_clock;

// Polls condition every pollInterval until it holds; false once timeout has
// passed without it. Sleeping between polls leaves both cores to the session
// and the emulated device.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::microseconds pollInterval = std::chrono::microseconds(50));

class FrameProbe {
public:
    // Makes the probe the update callback of the session behind handle.
    static void Attach(int handle);
    static std::uint64_t FramesDone();
    // Waits until more than `count` frames have finished.
    static bool WaitForFrameAfter(std::uint64_t count, std::chrono::milliseconds timeout);
    // Records the end time of up to capacity frames from now on. The buffer
    // is allocated here, so recording itself never allocates.
    static void StartRecording(std::size_t capacity);
    static std::vector<Clock::time_point> StopRecording();
    // The kernel's id of the thread that ran the last frame (0 before any).
    static long UpdateThreadId();
};

// CPU time a thread of this process has run so far (the scheduler's own
// account, in nanoseconds); -1 when it cannot be read.
double ThreadCpuNs(long threadId);

// Intervals between consecutive time points, in nanoseconds.
std::vector<double> IntervalsNs(const std::vector<Clock::time_point>& times);

double Nanoseconds(Clock::duration d);

}  // namespace zepta_bench

#endif

// The CPU share of the real `zepta ride`: the program runs as a child,
// receiving the emulated game's datagrams at 60 Hz on loopback (both on
// their usual ports) and putting
// out frames at its default 100 per second, and the kernel's account of its
// user and system time (all threads, start-up included) is set against the
// wall time from its start to its exit. Beside them, what the machine itself
// charges for one thread waking at the ride's rate and doing nothing else:
// with a device a ride frame wakes three threads (the ride's tick, the
// session's update thread for Write, and the same thread again for the
// device's reply), so on a machine where a wake-up is dear that sets the
// floor.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "frame_probe.h"
#include "ride_fixture.h"
#include "ride_measures.h"
#include "usb_emulator/usb_device_emulator.h"

extern char** environ;

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

const char kRideFormat[] = "forza";
const char kRideSeconds[] = "10";
const char kSixAxisIdentity[] = "KORVE6-DEVICE";
const std::string kListening = "listening";
constexpr auto kChildTimeout = 120s;
constexpr double kCpuShareTarget = 1.0;   // percent of one core
constexpr int kPollMilliseconds = 100;
constexpr int kTickerWakes = 500;
constexpr auto kTickerPeriod = 10ms;   // the ride's default 100 frames/s

std::string Text(double value) { return std::to_string(value); }

// A child process with its standard output on a pipe (or discarded).
class Child {
public:
    Child(const std::vector<std::string>& argv, bool captureOutput)
    {
        int pipeFds[2] = {-1, -1};
        if (captureOutput && pipe2(pipeFds, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (captureOutput) {
            posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
        } else {
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        }
        std::vector<char*> args;
        for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        started = Clock::now();
        const int error = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (captureOutput) close(pipeFds[1]);
        output = pipeFds[0];
        if (error != 0) {
            if (output >= 0) close(output);
            throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(error));
        }
    }

    ~Child()
    {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        if (output >= 0) close(output);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Reads the output until `text` appears, or to its end; returns all
    // read so far.
    const std::string& ReadUntil(const std::string& text)
    {
        while (read.find(text) == std::string::npos && ReadMore()) {
        }
        return read;
    }
    const std::string& ReadToEnd()
    {
        while (ReadMore()) {
        }
        return read;
    }

    // Waits for the exit; the child's CPU seconds and its wall seconds.
    void Wait(double& cpuSeconds, double& wallSeconds, int& status)
    {
        rusage usage{};
        if (wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("cannot wait for a child");
        wallSeconds = std::chrono::duration<double>(Clock::now() - started).count();
        pid = -1;
        cpuSeconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    }

private:
    // False at the end of the output or when the child takes too long.
    bool ReadMore()
    {
        const Clock::time_point deadline = started + kChildTimeout;
        for (;;) {
            if (Clock::now() >= deadline) return false;
            pollfd waiting{output, POLLIN, 0};
            if (poll(&waiting, 1, kPollMilliseconds) > 0) break;
        }
        char buffer[4096];
        const ssize_t n = ::read(output, buffer, sizeof buffer);
        if (n > 0) read.append(buffer, static_cast<std::size_t>(n));
        return n > 0;
    }

    static double Seconds(const timeval& t) { return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec); }

    pid_t pid = -1;
    int output = -1;
    std::string read;
    Clock::time_point started;
};

struct RideRun {
    double cpuSeconds = 0;
    double wallSeconds = 0;
    std::string summary;   // the ride's last line
};

RideRun RunRide(bool dryRun)
{
    std::vector<std::string> ride{ZEPTA_CLI_PATH, "ride", "--quiet", "--format", kRideFormat, "--seconds",
                                  kRideSeconds};
    if (dryRun) ride.push_back("--dry-run");
    Child rider(ride, true);
    const std::string& opening = rider.ReadUntil(kListening);
    if (opening.find(kListening) == std::string::npos) {
        throw std::runtime_error("zepta ride did not start listening:\n" + opening);
    }
    Child game({ZEPTA_GAME_EMULATOR_PATH, "--format", kRideFormat, "--rate",
                Text(kGameRateHz), "--seconds", kRideSeconds},
               false);
    const std::string output = rider.ReadToEnd();
    RideRun run;
    int status = 0;
    rider.Wait(run.cpuSeconds, run.wallSeconds, status);
    std::smatch summary;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 ||
        !std::regex_search(output, summary, std::regex("ride done: [^\n]*"))) {
        throw std::runtime_error("zepta ride failed:\n" + output);
    }
    run.summary = summary.str();
    return run;
}

Figure CpuFigure(std::string id, std::string title, const RideRun& run)
{
    Figure f(std::move(id), std::move(title), "% of one core");
    f.value = 100.0 * run.cpuSeconds / run.wallSeconds;
    f.target = "< " + FormatNumber(kCpuShareTarget);
    f.met = *f.value < kCpuShareTarget;
    f.note = FormatNumber(run.cpuSeconds * 1e3) + " ms CPU in " + FormatNumber(run.wallSeconds) + " s (" +
             run.summary + ")";
    return f;
}

double ThreadCpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

Figure IdleTicker()
{
    double cpu = 0;
    const Clock::time_point start = Clock::now();
    std::thread ticker([&cpu, start] {
        const double before = ThreadCpuSeconds();
        for (int wake = 1; wake <= kTickerWakes; ++wake) std::this_thread::sleep_until(start + wake * kTickerPeriod);
        cpu = ThreadCpuSeconds() - before;
    });
    ticker.join();
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    Figure f("reference.idle_ticker", "Reference: a thread that only wakes 100 times a second, CPU", "% of one core");
    f.value = 100.0 * cpu / wall;
    f.note = FormatNumber(cpu / kTickerWakes * 1e6) + " us of CPU per wake-up";
    return f;
}

}  // namespace

void MeasureRideCpu(Report& report)
{
    report.Add(IdleTicker());
    report.Add(CpuFigure("ride.cpu.dry_run", "Ride: zepta ride --dry-run, 60 datagrams/s in, 100 frames/s out, CPU",
                         RunRide(true)));
    zepta_tools::UsbDeviceEmulator seat;
    seat.SetIdentity(kSixAxisIdentity);
    report.Add(CpuFigure("ride.cpu.usb", "Ride: zepta ride on the emulated six-axis seat, 60 datagrams/s in, CPU",
                         RunRide(false)));
}

}  // namespace zepta_bench

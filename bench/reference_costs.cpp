// What this machine charges for the steps of a frame that are not the
// library's own code: waking a sleeping thread, a pseudo-terminal round
// trip, the lateness of a timed wake-up; and the two serial-port steps of a
// USB command that the link's line discipline fixes. The report puts
// them next to the frame figures, so that a miss can be told apart from a
// fault of ours.
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "frame_bench.h"
#include "frame_probe.h"
#include "io/serial_port.h"
#include "io/text_conversion.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kSamples = 5000;
// Long enough for the other thread to be asleep when the next sample starts.
constexpr auto kPause = 1ms;
// The wire time of one four-axis frame at 115200 baud, near enough.
constexpr auto kTimedSleep = 3300us;
const std::string kStatusLine = "KORVE-STATUS-15-EXT4-0000\r\n";
// Two commands' read time-outs; the port skips re-applying the one in force.
constexpr int kCommandTimeoutsMs[] = {500, 1000};

// A pseudo-terminal pair, neither side published under /dev.
class PtyPair {
public:
    PtyPair()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) throw std::runtime_error("posix_openpt");
        slavePath = ptsname(master);
    }
    ~PtyPair() { close(master); }
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    int Master() const { return master; }
    const std::string& SlavePath() const { return slavePath; }

private:
    int master = -1;
    std::string slavePath;
};

int OpenRawBlocking(const std::string& path)
{
    const int fd = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) throw std::runtime_error("open " + path);
    termios t{};
    tcgetattr(fd, &t);
    cfmakeraw(&t);
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    tcsetattr(fd, TCSANOW, &t);
    return fd;
}

Figure ReferenceFigure(std::string id, std::string title, std::vector<double>& ns, std::string note)
{
    Figure f = MicrosecondsFigure(std::move(id), std::move(title), ns);
    f.note = std::move(note);
    return f;
}

// notify_all while the one waiter sleeps: the system call that wakes it.
Figure WakeSleepingThread()
{
    std::mutex lock;
    std::condition_variable wakeUp;
    bool ready = false;              // guarded by lock
    std::atomic<std::size_t> woken{0};
    std::atomic<bool> stop{false};
    std::thread waiter([&] {
        std::unique_lock<std::mutex> guard(lock);
        while (!stop) {
            wakeUp.wait(guard, [&] { return ready || stop.load(); });
            ready = false;
            woken.fetch_add(1);
        }
    });
    std::vector<double> ns;
    for (std::size_t i = 0; i < kSamples; ++i) {
        std::this_thread::sleep_for(kPause);
        {
            std::lock_guard<std::mutex> guard(lock);
            ready = true;
        }
        const auto before = Clock::now();
        wakeUp.notify_all();
        ns.push_back(Nanoseconds(Clock::now() - before));
        WaitUntil([&] { return woken.load() > i; }, 5s);
    }
    {
        std::lock_guard<std::mutex> guard(lock);
        stop = true;
    }
    wakeUp.notify_all();
    waiter.join();
    return ReferenceFigure("reference.wake", "Reference: notify_all waking a sleeping thread", ns,
                           "the system call under Write when the update thread sleeps");
}

// One byte to a device thread that polls the master and echoes it.
Figure PtyRoundTrip()
{
    PtyPair pty;
    const int slave = OpenRawBlocking(pty.SlavePath());
    std::atomic<bool> stop{false};
    std::thread device([&] {
        while (!stop) {
            pollfd fd{pty.Master(), POLLIN, 0};
            if (poll(&fd, 1, 100) <= 0) continue;
            char byte = 0;
            if (read(pty.Master(), &byte, 1) == 1) {
                [[maybe_unused]] const ssize_t written = write(pty.Master(), &byte, 1);
            }
        }
    });
    std::vector<double> ns;
    for (std::size_t i = 0; i < kSamples; ++i) {
        std::this_thread::sleep_for(kPause);
        char byte = 'n';
        const auto before = Clock::now();
        if (write(slave, &byte, 1) != 1 || read(slave, &byte, 1) != 1) break;
        ns.push_back(Nanoseconds(Clock::now() - before));
    }
    stop = true;
    device.join();
    close(slave);
    return ReferenceFigure("reference.pty_round_trip", "Reference: pty round trip, both threads asleep", ns,
                           "one byte each way; every USB command costs one");
}

// How late ppoll wakes after a timed sleep, as the emulated device's wire does.
Figure TimedWakeLateness()
{
    std::vector<double> ns;
    for (std::size_t i = 0; i < kSamples / 5; ++i) {
        const auto deadline = Clock::now() + kTimedSleep;
        const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now());
        const timespec timeout{0, static_cast<long>(wait.count())};
        ppoll(nullptr, 0, &timeout, nullptr);
        ns.push_back(Nanoseconds(Clock::now() - deadline));
    }
    return ReferenceFigure("reference.timer_lateness", "Reference: lateness of a 3.3 ms timed wake-up", ns,
                           "the emulated wire's reply timer");
}

// SerialPort::ReadLine of a status line that is already waiting: one block
// read, the line then cut from the kept bytes.
Figure ReadWaitingStatusLine(ZEPTASDK::IO::SerialPort& port, int master)
{
    std::vector<double> ns;
    std::string line;
    for (std::size_t i = 0; i < kSamples; ++i) {
        if (write(master, kStatusLine.data(), kStatusLine.size()) != static_cast<ssize_t>(kStatusLine.size())) break;
        // Let the pty deliver the whole line before the read starts.
        std::this_thread::sleep_for(kPause / 10);
        const auto before = Clock::now();
        port.ReadLine(line);
        ns.push_back(Nanoseconds(Clock::now() - before));
    }
    return ReferenceFigure("serial.read_status_line", "SerialPort::ReadLine of a waiting 27-byte status line", ns,
                           "one block read");
}

Figure ArmReadTimeout(ZEPTASDK::IO::SerialPort& port)
{
    std::vector<double> ns;
    for (std::size_t i = 0; i < kSamples; ++i) {
        const auto before = Clock::now();
        port.SetTimeout(kCommandTimeoutsMs[i % 2]);
        ns.push_back(Nanoseconds(Clock::now() - before));
    }
    return ReferenceFigure("serial.set_timeout", "SerialPort::SetTimeout to another time-out (tcgetattr + tcsetattr)",
                           ns, "paid when a command's read time-out differs from the last one's; frames repeat theirs");
}

}  // namespace

void MeasureReferenceCosts(Report& report)
{
    report.Add(WakeSleepingThread());
    report.Add(PtyRoundTrip());
    report.Add(TimedWakeLateness());
    PtyPair pty;
    ZEPTASDK::IO::SerialPort port(ZEPTASDK::IO::Utf8ToWide(pty.SlavePath()), false);
    if (!port.IsEnable()) throw std::runtime_error("cannot open " + pty.SlavePath());
    report.Add(ReadWaitingStatusLine(port, pty.Master()));
    report.Add(ArmReadTimeout(port));
}

}  // namespace zepta_bench

#include "usb_emulator/usb_device_emulator.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "usb/device_family.h"
#include "usb/messages.h"

namespace zepta_tools {

namespace Message = ZEPTASDK::Message;
using Clock = std::chrono::steady_clock;

namespace {

const std::string kDefaultVersion = "FW 1.00";
const std::string kDefaultSerialNumber = "EMU00001";
const std::string kLineEnd = "\r\n";
// A device buffers only so much of a command that never ends.
constexpr std::size_t kMaxCommandLength = 4096;
constexpr std::size_t kReadChunk = 256;
constexpr std::size_t kFloodChunk = 256;

// The axes the identity's family reports; two for an identity of no family.
int FamilyAxisSet(const std::string& identity)
{
    const ZEPTASDK::DeviceFamily* family = ZEPTASDK::FindDeviceFamily(identity);
    return static_cast<int>(family != nullptr ? family->axisMask : ZEPTASDK::kTwoAxes);
}

bool StartsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

// Position, 12-bit position and every speed command ("a", "aFF", "as").
bool IsMotionCommand(const std::string& text)
{
    return StartsWith(text, Message::PositionCommand) || StartsWith(text, Message::Position12Command) ||
           StartsWith(text, Message::SpeedAccelCommand);
}

void SetNonBlocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

}  // namespace

UsbDeviceEmulator::UsbDeviceEmulator(std::string path)
    : devicePath(std::move(path)),
      pty(std::make_unique<PseudoTerminal>(devicePath)),
      identity(Message::KORVE4DOF_Enable),
      version(kDefaultVersion),
      serialNumber(kDefaultSerialNumber)
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error(std::string("pipe2: ") + std::strerror(errno));
    wakeRead = fds[0];
    wakeWrite = fds[1];
    // Replies are written without blocking, so that a library that stops
    // reading can never wedge the device thread.
    SetNonBlocking(pty->MasterFd());
    thread = std::thread(&UsbDeviceEmulator::Run, this);
}

UsbDeviceEmulator::~UsbDeviceEmulator()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopRequested = true;
    }
    Wake();
    thread.join();
    close(wakeRead);
    close(wakeWrite);
}

void UsbDeviceEmulator::SetIdentity(std::string line)
{
    std::lock_guard<std::mutex> lock(mutex);
    identity = std::move(line);
}

void UsbDeviceEmulator::SetVersion(std::string line)
{
    std::lock_guard<std::mutex> lock(mutex);
    version = std::move(line);
}

void UsbDeviceEmulator::SetSerialNumber(std::string line)
{
    std::lock_guard<std::mutex> lock(mutex);
    serialNumber = std::move(line);
}

void UsbDeviceEmulator::SetCalibrationDelay(std::chrono::milliseconds delay)
{
    std::lock_guard<std::mutex> lock(mutex);
    calibrationDelay = delay;
}

void UsbDeviceEmulator::SetAxisSet(std::optional<int> set)
{
    std::lock_guard<std::mutex> lock(mutex);
    axisSet = set;
}

void UsbDeviceEmulator::SetStatusCode(int code)
{
    std::lock_guard<std::mutex> lock(mutex);
    statusCode = code;
}

void UsbDeviceEmulator::SetWireModel(std::chrono::nanoseconds perByte, std::chrono::nanoseconds turnaroundTime)
{
    std::lock_guard<std::mutex> lock(mutex);
    byteTime = perByte;
    turnaround = turnaroundTime;
}

void UsbDeviceEmulator::SilenceAfter(std::size_t commands)
{
    std::lock_guard<std::mutex> lock(mutex);
    answersLeft = commands;
}

void UsbDeviceEmulator::SetCalibrationFault(CalibrationFault fault, bool always)
{
    std::lock_guard<std::mutex> lock(mutex);
    calibrationFault = fault;
    calibrationFaultAlways = always;
}

void UsbDeviceEmulator::SetLocked(bool isLocked)
{
    std::lock_guard<std::mutex> lock(mutex);
    locked = isLocked;
}

void UsbDeviceEmulator::InjectBeforeNextStatus(std::string line)
{
    std::lock_guard<std::mutex> lock(mutex);
    injectedLines.push_back(std::move(line));
}

void UsbDeviceEmulator::ReplaceNextStatus(std::string bytes)
{
    std::lock_guard<std::mutex> lock(mutex);
    statusReplacements.push_back(std::move(bytes));
}

void UsbDeviceEmulator::BabbleInsteadOfNextStatus(std::string pattern, std::chrono::microseconds byteInterval)
{
    if (pattern.empty()) return;
    std::lock_guard<std::mutex> lock(mutex);
    pendingBabble = Babble{std::move(pattern), byteInterval};
}

// From the device thread (an observer) this only asks for the close, which
// happens before the next command is read.
void UsbDeviceEmulator::Disconnect()
{
    std::unique_lock<std::mutex> lock(mutex);
    disconnectRequested = true;
    lock.unlock();
    Wake();
    if (std::this_thread::get_id() == thread.get_id()) return;
    lock.lock();
    changed.wait(lock, [this] { return disconnected; });
}

std::vector<ReceivedCommand> UsbDeviceEmulator::Received() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return received;
}

bool UsbDeviceEmulator::WaitFor(Condition condition, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, timeout, [&] { return condition(received); });
}

void UsbDeviceEmulator::ClearReceived()
{
    std::lock_guard<std::mutex> lock(mutex);
    received.clear();
}

void UsbDeviceEmulator::SetObserver(Observer commandObserver)
{
    std::lock_guard<std::mutex> lock(mutex);
    observer = std::move(commandObserver);
}

void UsbDeviceEmulator::Run()
{
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (stopRequested) return;
            if (disconnectRequested) break;
        }
        if (!WaitForEvents()) continue;
        char bytes[kReadChunk];
        const ssize_t count = read(pty->MasterFd(), bytes, sizeof bytes);
        if (count > 0) HandleInput(bytes, static_cast<std::size_t>(count));
        WriteDueReplies();
        SendBabble();
    }
    CloseDevice();
}

// Sleeps until input arrives, a reply or babbled byte falls due, the master
// can take more bytes, or a method wakes us. False when only the wake-up fired.
bool UsbDeviceEmulator::WaitForEvents()
{
    const bool flooding = babble && babble->byteInterval.count() == 0 && outgoing.empty();
    const short masterEvents = static_cast<short>(POLLIN | (writeBlocked || flooding ? POLLOUT : 0));
    pollfd fds[2] = {{wakeRead, POLLIN, 0}, {pty->MasterFd(), masterEvents, 0}};
    timespec timeout{};
    timespec* timeoutPtr = nullptr;
    if (const std::optional<Clock::time_point> deadline = NextDeadline()) {
        const auto wait = std::max(Clock::duration::zero(), *deadline - Clock::now());
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
        timeout.tv_sec = static_cast<time_t>(ns / 1000000000);
        timeout.tv_nsec = static_cast<long>(ns % 1000000000);
        timeoutPtr = &timeout;
    }
    ppoll(fds, 2, timeoutPtr, nullptr);
    if (fds[0].revents & POLLIN) {
        char drain[64];
        while (read(wakeRead, drain, sizeof drain) > 0) {
        }
    }
    return fds[1].revents != 0 || timeoutPtr != nullptr;
}

// The earliest moment the device has something to send on its own.
std::optional<Clock::time_point> UsbDeviceEmulator::NextDeadline() const
{
    std::optional<Clock::time_point> deadline;
    if (!outgoing.empty() && !writeBlocked) deadline = outgoing.front().due;
    if (babble && babble->byteInterval.count() > 0 && outgoing.empty()) deadline = nextBabbleByte;
    return deadline;
}

void UsbDeviceEmulator::HandleInput(const char* bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        partialCommand.push_back(bytes[i]);
        if (partialCommand.back() == Message::CommandEnd.front()) {
            HandleCommand(partialCommand);
            partialCommand.clear();
        } else if (partialCommand.size() >= kMaxCommandLength) {
            partialCommand.clear();
        }
    }
}

void UsbDeviceEmulator::HandleCommand(const std::string& text)
{
    const ReceivedCommand command{text, Clock::now()};
    Answer answer;
    Observer notify;
    {
        std::lock_guard<std::mutex> lock(mutex);
        received.push_back(command);
        answer = AnswerTo(text, command.at);
        notify = observer;
    }
    changed.notify_all();
    outgoing.insert(outgoing.end(), answer.replies.begin(), answer.replies.end());
    if (notify) notify(command, answer.lines);
}

// Called with mutex held. `at` is when the command's last byte arrived.
UsbDeviceEmulator::Answer UsbDeviceEmulator::AnswerTo(const std::string& text, Clock::time_point at)
{
    Answer answer;
    // A babbling device answers nothing any more.
    if (text == Message::CommandEnd || babble || !TakeAnswerBudget()) return answer;
    const Clock::time_point start = at + byteTime * static_cast<long>(text.size()) + turnaround;
    if (text == Message::Connect) {
        AddLine(answer, identity, start);
    } else if (text == Message::GetDeviceVersion) {
        AddLine(answer, version, start);
    } else if (text == Message::GetSerialNumber) {
        if (!serialNumber.empty()) AddLine(answer, serialNumber, start);
    } else if (text == Message::Calibration) {
        AnswerCalibration(answer, start);
    } else if (text == Message::ShowState || IsMotionCommand(text)) {
        AnswerStatus(answer, start);
    }
    return answer;
}

void UsbDeviceEmulator::AnswerCalibration(Answer& answer, Clock::time_point start)
{
    if (locked) {
        AddLine(answer, Message::KorveLocked, start);
        return;
    }
    const CalibrationFault fault = calibrationFault;
    if (!calibrationFaultAlways) calibrationFault = CalibrationFault::None;
    switch (fault) {
    case CalibrationFault::None:
        AddLine(answer, Message::CalibrationStart, start);
        AddLine(answer, Message::CalibrationEnd, start, calibrationDelay);
        break;
    case CalibrationFault::CircuitError:
        AddLine(answer, Message::CircuitError, start);
        break;
    case CalibrationFault::ErrorReset:
        AddLine(answer, Message::CalibrationStart, start);
        AddLine(answer, Message::CalibrationError, start, calibrationDelay);
        break;
    case CalibrationFault::NoAcknowledge:
        break;
    case CalibrationFault::NoReady:
        AddLine(answer, Message::CalibrationStart, start);
        break;
    }
}

void UsbDeviceEmulator::AnswerStatus(Answer& answer, Clock::time_point start)
{
    for (const std::string& line : injectedLines) AddLine(answer, line, start);
    injectedLines.clear();
    if (pendingBabble) {
        babble = std::move(pendingBabble);
        pendingBabble.reset();
        babbleOffset = 0;
        nextBabbleByte = start;
        return;
    }
    if (!statusReplacements.empty()) {
        answer.lines.push_back(statusReplacements.front());
        AddBytes(answer, statusReplacements.front(), start, std::chrono::nanoseconds(0));
        statusReplacements.pop_front();
        return;
    }
    AddLine(answer, locked ? Message::KorveLocked : StatusLine(), start);
}

void UsbDeviceEmulator::AddLine(Answer& answer, const std::string& line, Clock::time_point start,
                                std::chrono::nanoseconds extraDelay)
{
    answer.lines.push_back(line);
    AddBytes(answer, line + kLineEnd, start, extraDelay);
}

// Replies never overtake each other, whatever their delays.
void UsbDeviceEmulator::AddBytes(Answer& answer, const std::string& bytes, Clock::time_point start,
                                 std::chrono::nanoseconds extraDelay)
{
    const Clock::time_point due = std::max(lastDue, start + extraDelay + byteTime * static_cast<long>(bytes.size()));
    lastDue = due;
    answer.replies.push_back({bytes, due});
}

bool UsbDeviceEmulator::TakeAnswerBudget()
{
    if (!answersLeft) return true;
    if (*answersLeft == 0) return false;
    --*answersLeft;
    return true;
}

std::string UsbDeviceEmulator::StatusLine() const
{
    char fields[32];
    std::snprintf(fields, sizeof fields, "%02d%s%04d", axisSet.value_or(FamilyAxisSet(identity)),
                  Message::StatusCodeMarker.c_str(), statusCode);
    return Message::StatusPrefix + fields;
}

void UsbDeviceEmulator::WriteDueReplies()
{
    writeBlocked = false;
    while (!outgoing.empty() && outgoing.front().due <= Clock::now()) {
        Reply& reply = outgoing.front();
        const ssize_t written = write(pty->MasterFd(), reply.bytes.data(), reply.bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EAGAIN) {
            writeBlocked = true;
            return;
        }
        if (written > 0) reply.bytes.erase(0, static_cast<std::size_t>(written));
        if (written < 0 || reply.bytes.empty()) outgoing.pop_front();
    }
}

// Flooding writes whatever the master takes in one go; trickling writes one
// byte whenever the next one falls due. Either way the pattern repeats.
void UsbDeviceEmulator::SendBabble()
{
    if (!babble || !outgoing.empty()) return;
    const std::string& pattern = babble->pattern;
    const bool trickle = babble->byteInterval.count() > 0;
    if (trickle && Clock::now() < nextBabbleByte) return;
    std::string bytes;
    const std::size_t wanted = trickle ? 1 : kFloodChunk;
    for (std::size_t i = 0; i < wanted; ++i) bytes.push_back(pattern[(babbleOffset + i) % pattern.size()]);
    const ssize_t written = write(pty->MasterFd(), bytes.data(), bytes.size());
    if (written > 0) babbleOffset = (babbleOffset + static_cast<std::size_t>(written)) % pattern.size();
    if (trickle) nextBabbleByte = Clock::now() + babble->byteInterval;
}

void UsbDeviceEmulator::CloseDevice()
{
    pty.reset();
    outgoing.clear();
    babble.reset();
    {
        std::lock_guard<std::mutex> lock(mutex);
        disconnected = true;
    }
    changed.notify_all();
}

void UsbDeviceEmulator::Wake()
{
    const char byte = 1;
    // A full pipe already holds a wake-up; nothing is lost when this fails.
    [[maybe_unused]] const ssize_t ignored = write(wakeWrite, &byte, 1);
}

namespace {

// Fields of fieldDigits hex digits after the command letter, up to the ";".
std::vector<double> DecodeFields(const std::string& text, std::size_t fieldDigits, double fullScale)
{
    const std::size_t digits = text.size() - 2;
    if (digits % fieldDigits != 0) return {};
    std::vector<double> axes;
    for (std::size_t at = 1; at + fieldDigits < text.size(); at += fieldDigits) {
        const std::string field = text.substr(at, fieldDigits);
        if (field.find_first_not_of("0123456789ABCDEF") != std::string::npos) return {};
        axes.push_back(static_cast<double>(std::stoul(field, nullptr, 16)) / fullScale);
    }
    return axes;
}

}  // namespace

std::vector<double> DecodePositionCommand(const std::string& text)
{
    constexpr std::size_t kByteDigits = 2;
    constexpr std::size_t kWordDigits = 3;
    if (text.size() < 3 || text.back() != ';') return {};
    std::vector<double> axes;
    if (StartsWith(text, Message::PositionCommand)) axes = DecodeFields(text, kByteDigits, 255.0);
    if (StartsWith(text, Message::Position12Command)) axes = DecodeFields(text, kWordDigits, 4095.0);
    if (axes.size() != 4 && axes.size() != 6) return {};
    return axes;
}

}  // namespace zepta_tools

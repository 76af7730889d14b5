// ZEPTA's members on the application's side: lifecycle, Write, the mode
// setters and the read-outs. The update thread and the frame path live in
// update_thread.cpp.
#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "session/version.h"
#include "session/zepta_impl.h"

namespace ZEPTASDK {

namespace {

const char kVersion[] = ZEPTA_VERSION_TEXT;
constexpr std::size_t kSerialNumberBufferSize = 64;

// The text std::string itself reports for a null pointer.
const char kNullText[] = "basic_string: construction from null is not valid";

// One buffer for every session: the returned text stays valid until the next
// call on any session.
char g_serialNumber[kSerialNumberBufferSize];
std::mutex g_serialNumberLock;

std::string TextOrThrow(const char* text)
{
    if (text == nullptr) throw std::logic_error(kNullText);
    return std::string(text);
}

_korve_data_packet ZeroPacket()
{
    _korve_data_packet packet;
    std::memset(&packet, 0, sizeof packet);
    return packet;
}

}  // namespace

ZEPTA::ZEPTA() : impl(new Impl)
{
    impl->shared.latestPacket.store(ZeroPacket());
}

ZEPTA::~ZEPTA()
{
    Close();
}

void ZEPTA::Open(const char* appCode, const char* serialAssign)
{
    SessionState& s = impl->shared;
    s.appCode = TextOrThrow(appCode);
    s.serialAssign = TextOrThrow(serialAssign);
    impl->bridge.reset();
    // Cleared here rather than by the thread, so that a Close arriving before
    // the thread has started is never forgotten.
    s.stop = false;
    s.thread = std::thread(&ZEPTA::ThreadUpdate, this);
}

void ZEPTA::Open(const char* appCode)
{
    Open(appCode, "");
}

void ZEPTA::Close()
{
    SessionState& s = impl->shared;
    // Set before taking the lock too, so a thread that runs frames back to
    // back sees the request at its next turn even while we wait for the lock.
    s.stop = true;
    {
        std::lock_guard<std::mutex> guard(s.lock);
        s.stop = true;
    }
    s.wakeUp.notify_all();
    if (s.thread.joinable()) s.thread.join();
    impl->bridge.reset();
}

// Wakes the update thread without ever waiting for a frame in progress. When
// the lock is free we pass through it, so the notification cannot fall between
// the thread's check of the flag and its wait; when a frame holds it, the
// thread looks at the flag again before it waits.
static void WakeThread(SessionState& s)
{
    s.newData = true;
    if (s.lock.try_lock()) s.lock.unlock();
    s.wakeUp.notify_all();
}

int ZEPTA::Write(const _korve_data_packet* packet)
{
    if (packet == nullptr) return 0;
    impl->shared.latestPacket.store(*packet);
    impl->commandQueue.Add(*packet);
    WakeThread(impl->shared);
    return 0;
}

void ZEPTA::SetCallbackUpdateFunction(void (*callback)())
{
    std::lock_guard<std::mutex> guard(impl->shared.lock);
    impl->updateCallback = callback;
}

void ZEPTA::SetOriginMode(bool enable)
{
    impl->originMode = enable;
    WakeThread(impl->shared);
}

bool ZEPTA::GetOriginMode()
{
    return impl->originMode;
}

void ZEPTA::SetAxisProcessingMode(ZEPTAAxisMode mode)
{
    impl->axisMode = mode;
    WakeThread(impl->shared);
}

ZEPTAAxisMode ZEPTA::GetAxisProcessingMode()
{
    return static_cast<ZEPTAAxisMode>(impl->axisMode.load());
}

void ZEPTA::SetSpeedGainMode(ZEPTASpeedGain mode)
{
    impl->speedMode = mode;
}

ZEPTASpeedGain ZEPTA::GetSpeedGainMode()
{
    return static_cast<ZEPTASpeedGain>(impl->speedMode.load());
}

const char* ZEPTA::GetAppCode() const
{
    return impl->shared.appCode.c_str();
}

const char* ZEPTA::GetZEPTASerialNumber() const
{
    std::string serial;
    {
        std::lock_guard<std::mutex> guard(impl->controllersLock);
        if (impl->lanController) {
            serial = impl->lanController->GetSerialNumber();
        } else if (impl->usbController) {
            serial = impl->usbController->GetZEPTASerialNumber();
        }
    }
    std::lock_guard<std::mutex> guard(g_serialNumberLock);
    std::size_t length = std::min(serial.size(), kSerialNumberBufferSize - 1);
    std::memcpy(g_serialNumber, serial.data(), length);
    g_serialNumber[length] = '\0';
    return g_serialNumber;
}

int ZEPTA::GetState()
{
    std::lock_guard<std::mutex> guard(impl->controllersLock);
    if (impl->lanController) return impl->lanController->GetState();
    if (impl->usbController) return impl->usbController->GetState();
    return ZEPTA_STATE_INITIAL;
}

bool ZEPTA::GetZEPTAStatus()
{
    return !impl->shared.stop;
}

int ZEPTA::GetZEPTADevice()
{
    return impl->deviceKind;
}

const char* ZEPTA::GetVersion() const
{
    return kVersion;
}

bool ZEPTA::IsRunning() const
{
    if (impl->shared.stop) return false;
    std::lock_guard<std::mutex> guard(impl->controllersLock);
    if (impl->lanController) return impl->lanController->GetState() >= ZEPTA_STATE_INITIAL;
    if (impl->usbController) return impl->usbController->GetState() >= ZEPTA_STATE_INITIAL;
    return true;
}

int ZEPTA::GetStatusEXT4() const
{
    std::lock_guard<std::mutex> guard(impl->controllersLock);
    return impl->usbController ? impl->usbController->GetStatusCode() : 0;
}

}  // namespace ZEPTASDK

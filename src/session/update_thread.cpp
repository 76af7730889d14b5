// The session's update thread: it connects to the device (USB first, then the
// LAN), then runs one frame whenever the application delivers a packet, or at
// least once a second, until the session is closed or the device shuts down.
#include <chrono>
#include <exception>

#include "log/log_messages.h"
#include "session/zepta_impl.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

constexpr int kStateCalibrating = 7;
constexpr int kStateShutDown = 4;
constexpr int kUsbConnectedAbove = 6;
constexpr int kLanConnectedAbove = 5;
constexpr auto kSettleTime = std::chrono::seconds(1);
constexpr auto kIdleFrameInterval = std::chrono::seconds(1);
const std::string kCommandTerminator = ";";

bool UsesBinaryRecord(int kind)
{
    return kind == 5 || kind == 6 || kind == 101;
}

bool IsTwoAxisUsbFamily(int kind)
{
    return kind == 1 || kind == 100 || kind == 103 || kind == 104;
}

// Sends the device's rest position in place of the packet's axes.
void SendOriginPosition(Controller& controller, int kind)
{
    if (kind == 3) {
        controller.SendPositionZEPTA(0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
    } else if (IsTwoAxisUsbFamily(kind)) {
        controller.SendPositionZEPTA(0.5f, 0.5f, 0.0f, 0.0f);
    } else {
        controller.SendPositionZEPTA(1.0f, 0.0f, 0.0f, 0.5f);
    }
}

void SendAxes(Controller& controller, int kind, const _korve_data_packet& p)
{
    if (kind == 3) {
        controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6);
    } else {
        controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4);
    }
}

// Sends the queued text commands, oldest first, each with its terminator.
void DrainCommandQueue(ZEPTA::Impl& impl)
{
    std::string text;
    for (;;) {
        {
            std::lock_guard<std::mutex> guard(impl.commandQueueLock);
            if (impl.commandQueue.empty()) return;
            text = std::move(impl.commandQueue.front());
            impl.commandQueue.pop_front();
        }
        impl.usbController->SendCommand(text + kCommandTerminator);
    }
}

// Builds the bridge and runs the USB handshake; true when a device answered
// and calibrated. A controller that failed is not kept.
bool ConnectUsb(ZEPTA::Impl& impl)
{
    impl.bridge = std::make_shared<DeviceBridge>();
    auto controller = std::make_unique<Controller>(std::weak_ptr<Bridge>(impl.bridge), impl.shared.serialAssign);
    if (controller->GetState() <= kUsbConnectedAbove) return false;
    impl.deviceKind = controller->GetZEPTA();
    std::lock_guard<std::mutex> guard(impl.controllersLock);
    impl.usbController = std::move(controller);
    return true;
}

// Discovery on the LAN; true when a device was selected.
bool ConnectLan(ZEPTA::Impl& impl)
{
    auto controller = std::make_unique<ControllerLAN>(impl.shared.appCode, impl.shared.serialAssign);
    if (!controller->HasSocket() || controller->GetState() <= kLanConnectedAbove) return false;
    impl.deviceKind = static_cast<int>(controller->GetDeviceType());
    std::lock_guard<std::mutex> guard(impl.controllersLock);
    impl.lanController = std::move(controller);
    return true;
}

// Gives the device a second after connecting, then fits the conversion to it.
// Only a stop request cuts the pause short.
void Settle(ZEPTA::Impl& impl)
{
    SessionState& s = impl.shared;
    {
        std::unique_lock<std::mutex> lock(s.lock);
        s.wakeUp.wait_for(lock, kSettleTime, [&s] { return s.stop.load(); });
    }
    impl.converter.PrepareForDevice(impl.deviceKind);
}

// Waits for new data, or the idle interval on the monotonic clock, so that a
// silent application still has its last packet sent about once a second.
// False when the session was stopped meanwhile.
bool WaitForFrame(SessionState& s, std::unique_lock<std::mutex>& lock)
{
    const auto deadline = std::chrono::steady_clock::now() + kIdleFrameInterval;
    while (!s.newData) {
        s.wakeUp.wait_until(lock, deadline);
        if (std::chrono::steady_clock::now() >= deadline) break;
        if (s.stop) {
            s.newData = false;
            return false;
        }
    }
    s.newData = false;
    return !s.stop;
}

void ReleaseLanController(ZEPTA::Impl& impl)
{
    std::unique_ptr<ControllerLAN> lan;
    {
        std::lock_guard<std::mutex> guard(impl.controllersLock);
        lan = std::move(impl.lanController);
    }
    // Closing the socket logs, so it happens outside the controllers lock.
    lan.reset();
}

}  // namespace

void ZEPTA::LogError()
{
    int state;
    {
        std::lock_guard<std::mutex> guard(impl->controllersLock);
        if (impl->lanController || !impl->usbController) return;
        state = impl->usbController->GetState();
    }
    const std::string* text = nullptr;
    switch (state) {
    case 0: text = &Message::Log::State::CanNotFindUsb; break;
    case 1: text = &Message::Log::State::CanNotFindKorve; break;
    case 2: text = &Message::Log::State::CanNotCalibration; break;
    case 3: text = &Message::Log::State::TimeoutCalibration; break;
    case 4: text = &Message::Log::State::ShutDownActuator; break;
    case 6: text = &Message::Log::State::Initial; break;
    case 9: text = &Message::Log::State::StopActuator; break;
    default: return;
    }
    Debug::Log(impl->shared.serialAssign, *text);
}

void ZEPTA::Update(_korve_data_packet& packet)
{
    Controller& controller = *impl->usbController;
    SessionState& s = impl->shared;
    const bool origin = impl->originMode;
    CalcToAxisPacket(packet, controller.GetState() == kStateCalibrating || origin);
    try {
        const int kind = impl->deviceKind;
        if (origin) {
            SendOriginPosition(controller, kind);
        } else {
            SendAxes(controller, kind, packet);
        }
        if (impl->speedMode != ZEPTA_SPEED_DEFAULT || impl->converter.DerivedAxes()) {
            controller.SendSpeedZEPTA(packet.speedAxis1, packet.speedAxis2, packet.speedAxis3, packet.speedAxis4,
                                      packet.speedAxis5, packet.speedAxis6, packet.accelAxis);
        } else {
            controller.SendSpeedAccelZEPTA(packet.speedAxis1, packet.accelAxis);
        }
        if (controller.GetState() == kStateShutDown) s.stop = true;
    } catch (const std::exception&) {
        Debug::LogWarning(s.serialAssign, Message::Log::OverFlow);
    }
    DrainCommandQueue(*impl);
    if (impl->updateCallback) impl->updateCallback();
}

void ZEPTA::UpdateLAN(_korve_data_packet& packet)
{
    ControllerLAN* controller = impl->lanController.get();
    if (controller == nullptr) return;
    const bool origin = impl->originMode;
    CalcToAxisPacket(packet, controller->GetState() == kStateCalibrating || origin);
    const auto speedMode = static_cast<ZEPTASpeedGain>(impl->speedMode.load());
    // A packet the device cannot take (a non-finite value in the short JSON
    // form) costs this frame only; the thread and the process carry on.
    try {
        if (UsesBinaryRecord(impl->deviceKind)) {
            controller->SendUpdateQX(packet, speedMode, impl->converter.DerivedAxes(), origin);
        } else {
            controller->SendUpdate(packet, speedMode, static_cast<ZEPTAAxisMode>(impl->axisMode.load()), origin);
        }
    } catch (const std::exception&) {
        Debug::LogWarning(impl->shared.serialAssign, Message::Log::OverFlow);
    }
    if (impl->updateCallback) impl->updateCallback();
}

void ZEPTA::ThreadUpdate()
{
    SessionState& s = impl->shared;
    s.newData = true;
    {
        std::lock_guard<std::mutex> guard(impl->controllersLock);
        impl->usbController.reset();
        impl->lanController.reset();
    }
    Debug::Log(s.serialAssign, Message::Log::StartThread);

    // A stop requested before or during the search is honoured at each step.
    const bool usbMode = !s.stop && ConnectUsb(*impl);
    if (!usbMode) {
        // With no controller left this logs nothing: the controller has
        // already said why it failed.
        LogError();
    }
    const bool lanMode = !usbMode && !s.stop && ConnectLan(*impl);
    if (!usbMode && !lanMode) {
        Debug::Log(s.serialAssign, Message::Log::EndThread);
        s.stop = true;
        return;
    }
    Settle(*impl);

    _korve_data_packet packet;
    std::unique_lock<std::mutex> lock(s.lock);
    while (!s.stop && WaitForFrame(s, lock)) {
        packet = s.latestPacket.load();
        if (lanMode) {
            UpdateLAN(packet);
        } else {
            Update(packet);
        }
        lock.unlock();
        lock.lock();
    }
    LogError();
    lock.unlock();

    ReleaseLanController(*impl);
    Debug::Log(s.serialAssign, Message::Log::EndThread);
    s.stop = true;
}

}  // namespace ZEPTASDK

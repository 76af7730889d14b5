// The session's update thread: it connects to the device (USB first, then the
// LAN), then runs one frame whenever the application delivers a packet, or at
// least once a second, until the session is closed or the device shuts down.
// Each frame converts the packet for the device and sends it.
#include <chrono>
#include <exception>

#include "log/log_messages.h"
#include "session/zepta_impl.h"
#include "usb/messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

constexpr auto kSettleTime = std::chrono::seconds(1);
constexpr auto kIdleFrameInterval = std::chrono::seconds(1);

enum class Link { None, Usb, Lan };

bool UsesBinaryRecord(int kind)
{
    return kind == ZEPTA_DEVICE_GRANDE_QX || kind == ZEPTA_DEVICE_GRANDE_500QX || kind == ZEPTA_DEVICE_KICKBOARD_QX;
}

bool IsTwoAxisUsbFamily(int kind)
{
    return kind == ZEPTA_DEVICE_KORVE_2DOF || kind == ZEPTA_DEVICE_NEBULO_2DOF || kind == ZEPTA_DEVICE_TRAXEL ||
           kind == ZEPTA_DEVICE_PLIX;
}

// Sends the device's rest position in place of the packet's axes.
void SendOriginPosition(Controller& controller, int kind)
{
    if (kind == ZEPTA_DEVICE_KORVE_6DOF) {
        controller.SendPositionZEPTA(0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
    } else if (IsTwoAxisUsbFamily(kind)) {
        controller.SendPositionZEPTA(0.5f, 0.5f, 0.0f, 0.0f);
    } else {
        controller.SendPositionZEPTA(1.0f, 0.0f, 0.0f, 0.5f);
    }
}

void SendAxes(Controller& controller, int kind, const _korve_data_packet& p)
{
    if (kind == ZEPTA_DEVICE_KORVE_6DOF) {
        controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6);
    } else {
        controller.SendPositionZEPTA(p.axis1, p.axis2, p.axis3, p.axis4);
    }
}

// One frame's motion commands over USB: the position, then the speeds.
void SendUsbMotion(Controller& controller, ZEPTA::Impl& impl, const _korve_data_packet& p, bool origin)
{
    const int kind = impl.deviceKind;
    if (origin) {
        SendOriginPosition(controller, kind);
    } else {
        SendAxes(controller, kind, p);
    }
    if (impl.speedMode != ZEPTA_SPEED_DEFAULT || impl.converter.DerivedAxes()) {
        controller.SendSpeedZEPTA(p.speedAxis1, p.speedAxis2, p.speedAxis3, p.speedAxis4, p.speedAxis5, p.speedAxis6,
                                  p.accelAxis);
    } else {
        controller.SendSpeedAccelZEPTA(p.speedAxis1, p.accelAxis);
    }
}

// Sends the queued text commands, oldest first, each with its terminator.
void DrainCommandQueue(ZEPTA::Impl& impl)
{
    while (auto text = impl.commandQueue.Take()) {
        impl.usbController->SendCommand(*text + Message::CommandEnd);
    }
}

// The line a USB session logs for the state its device ended in; null for the
// states that are no reason to end.
const std::string* FinalStateText(int state)
{
    switch (state) {
    case ZEPTA_STATE_NO_USB_DEVICE: return &Message::Log::State::CanNotFindUsb;
    case ZEPTA_STATE_NO_DEVICE: return &Message::Log::State::CanNotFindKorve;
    case ZEPTA_STATE_CALIBRATION_FAILED: return &Message::Log::State::CanNotCalibration;
    case ZEPTA_STATE_CALIBRATION_TIMED_OUT: return &Message::Log::State::TimeoutCalibration;
    case ZEPTA_STATE_SHUT_DOWN: return &Message::Log::State::ShutDownActuator;
    case ZEPTA_STATE_INITIAL: return &Message::Log::State::Initial;
    case ZEPTA_STATE_STOPPED: return &Message::Log::State::StopActuator;
    default: return nullptr;
    }
}

}  // namespace

void ZEPTA::CalcToAxisPacket(_korve_data_packet& packet, bool reset)
{
    ConversionModes modes{impl->deviceKind, impl->axisMode, impl->speedMode};
    impl->converter.Convert(packet, reset, modes, std::chrono::system_clock::now());
}

void ZEPTA::Update(_korve_data_packet& packet)
{
    Controller& controller = *impl->usbController;
    SessionState& s = impl->shared;
    const bool origin = impl->originMode;
    CalcToAxisPacket(packet, controller.GetState() == ZEPTA_STATE_CALIBRATING || origin);
    try {
        SendUsbMotion(controller, *impl, packet, origin);
        if (controller.GetState() == ZEPTA_STATE_SHUT_DOWN) s.stop = true;
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
    CalcToAxisPacket(packet, controller->GetState() == ZEPTA_STATE_CALIBRATING || origin);
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

void ZEPTA::LogError()
{
    int state;
    {
        std::lock_guard<std::mutex> guard(impl->controllersLock);
        if (impl->lanController || !impl->usbController) return;
        state = impl->usbController->GetState();
    }
    if (const std::string* text = FinalStateText(state)) Debug::Log(impl->shared.serialAssign, *text);
}

namespace {

// Builds the bridge and runs the USB handshake; true when a device answered
// and calibrated. A controller that failed is not kept.
bool ConnectUsb(ZEPTA::Impl& impl)
{
    impl.bridge = std::make_shared<DeviceBridge>();
    auto controller = std::make_unique<Controller>(std::weak_ptr<Bridge>(impl.bridge), impl.shared.serialAssign);
    if (controller->GetState() <= ZEPTA_STATE_INITIAL) return false;
    impl.deviceKind = controller->GetZEPTA();
    std::lock_guard<std::mutex> guard(impl.controllersLock);
    impl.usbController = std::move(controller);
    return true;
}

// Discovery on the LAN; true when a device was selected.
bool ConnectLan(ZEPTA::Impl& impl)
{
    auto controller = std::make_unique<ControllerLAN>(impl.shared.appCode, impl.shared.serialAssign);
    if (!controller->HasSocket() || controller->GetState() < ZEPTA_STATE_INITIAL) return false;
    impl.deviceKind = static_cast<int>(controller->GetDeviceType());
    std::lock_guard<std::mutex> guard(impl.controllersLock);
    impl.lanController = std::move(controller);
    return true;
}

void StartThread(ZEPTA::Impl& impl)
{
    impl.shared.newData = true;
    {
        std::lock_guard<std::mutex> guard(impl.controllersLock);
        impl.usbController.reset();
        impl.lanController.reset();
    }
    Debug::Log(impl.shared.serialAssign, Message::Log::StartThread);
}

// USB first, then the LAN. A stop requested before or during the search is
// honoured at each step.
Link Connect(ZEPTA& session, ZEPTA::Impl& impl)
{
    if (impl.shared.stop) return Link::None;
    if (ConnectUsb(impl)) return Link::Usb;
    // A failed USB search keeps no controller, so this writes nothing: the
    // controller has already logged why it failed.
    session.LogError();
    if (impl.shared.stop) return Link::None;
    return ConnectLan(impl) ? Link::Lan : Link::None;
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

// Frames until the session stops, each under the session lock, which is let
// go between frames for Close and the callback setter.
void RunFrames(ZEPTA& session, ZEPTA::Impl& impl, Link link)
{
    SessionState& s = impl.shared;
    _korve_data_packet packet;
    std::unique_lock<std::mutex> lock(s.lock);
    while (!s.stop && WaitForFrame(s, lock)) {
        packet = s.latestPacket.load();
        if (link == Link::Lan) {
            session.UpdateLAN(packet);
        } else {
            session.Update(packet);
        }
        lock.unlock();
        lock.lock();
    }
    // Says why a USB device stopped. A LAN session, and a device still running,
    // calibrating or recalibrating when the application closed the session,
    // have no reason to report: nothing is written for them.
    session.LogError();
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

void FinishThread(ZEPTA::Impl& impl)
{
    Debug::Log(impl.shared.serialAssign, Message::Log::EndThread);
    impl.shared.stop = true;
}

}  // namespace

void ZEPTA::ThreadUpdate()
{
    StartThread(*impl);
    const Link link = Connect(*this, *impl);
    if (link == Link::None) {
        FinishThread(*impl);
        return;
    }
    Settle(*impl);
    RunFrames(*this, *impl, link);
    ReleaseLanController(*impl);
    FinishThread(*impl);
}

}  // namespace ZEPTASDK

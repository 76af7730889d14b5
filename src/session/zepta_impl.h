// The implementation record behind ZEPTA's one pointer.
#ifndef ZEPTA_SESSION_ZEPTA_IMPL_H
#define ZEPTA_SESSION_ZEPTA_IMPL_H

#include <atomic>
#include <memory>
#include <mutex>

#include "lan/controller_lan.h"
#include "motion/axis_converter.h"
#include "session/command_queue.h"
#include "session/session_state.h"
#include "usb/controller.h"
#include "usb/device_bridge.h"
#include "zepta/ZEPTA.hpp"

namespace ZEPTASDK {

struct ZEPTA::Impl {
    // Created and destroyed by the update thread only. The application's
    // thread reads them (GetState, IsRunning, ...) under controllersLock, and
    // the update thread takes that lock whenever it replaces a pointer.
    std::unique_ptr<Controller> usbController;
    std::unique_ptr<ControllerLAN> lanController;
    mutable std::mutex controllersLock;

    std::shared_ptr<DeviceBridge> bridge;
    SessionState shared;
    void (*updateCallback)() = nullptr;   // guarded by shared.lock

    // Plain values read by the update thread once per frame.
    std::atomic<int> deviceKind{ZEPTA_DEVICE_NONE};
    std::atomic<bool> originMode{false};
    std::atomic<int> axisMode{ZEPTA_AXIS_BASE};
    std::atomic<int> speedMode{ZEPTA_SPEED_DEFAULT};

    // Conversion state and the platform; touched by the update thread only.
    AxisConverter converter;

    CommandQueue commandQueue;
};

}  // namespace ZEPTASDK

#endif

// The USB device families: the identity line each answers to "d;", the model
// code that selects its conversion and the axes its status lines must report.
// The handshake identifies a device by it, and so does ProbePort.
#ifndef ZEPTA_USB_DEVICE_FAMILY_H
#define ZEPTA_USB_DEVICE_FAMILY_H

#include <cstdint>
#include <string>

#include "zepta/zepta.h"

namespace ZEPTASDK {

// Axis sets: bit n stands for axis n + 1.
constexpr uint32_t kFourAxes = 15;
constexpr uint32_t kSixAxes = 63;
constexpr uint32_t kTwoAxes = 3;

struct DeviceFamily {
    const std::string& identity;
    ZEPTADeviceKind model;
    uint32_t axisMask;
};

// The family whose identity line is exactly identity; null for none.
const DeviceFamily* FindDeviceFamily(const std::string& identity);

}  // namespace ZEPTASDK

#endif

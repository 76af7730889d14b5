#include "usb/device_family.h"

#include "usb/messages.h"

namespace ZEPTASDK {

// Compared in this order, each identity as a whole line.
const DeviceFamily* FindDeviceFamily(const std::string& identity)
{
    static const DeviceFamily kFamilies[] = {
        {Message::KORVE4DOF_Enable, ZEPTA_DEVICE_KORVE_4DOF, kFourAxes},
        {Message::KORVE6DOF_Enable, ZEPTA_DEVICE_KORVE_6DOF, kSixAxes},
        {Message::KORVE2DOF_Enable, ZEPTA_DEVICE_KORVE_2DOF, kTwoAxes},
        {Message::NEBULO2_Enable, ZEPTA_DEVICE_NEBULO_2DOF, kTwoAxes},
        {Message::TRAXEL_Enable, ZEPTA_DEVICE_TRAXEL, kTwoAxes},
        {Message::PLIX_Enable, ZEPTA_DEVICE_PLIX, kTwoAxes},
    };
    for (const DeviceFamily& family : kFamilies) {
        if (family.identity == identity) return &family;
    }
    return nullptr;
}

}  // namespace ZEPTASDK

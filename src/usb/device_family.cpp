#include "usb/device_family.h"

#include "usb/messages.h"

namespace ZEPTASDK {

// Compared in this order, each identity as a whole line.
const DeviceFamily* FindDeviceFamily(const std::string& identity)
{
    static const DeviceFamily kFamilies[] = {
        {Message::KORVE4DOF_Enable, 2, kFourAxes},
        {Message::KORVE6DOF_Enable, 3, kSixAxes},
        {Message::KORVE2DOF_Enable, 1, kTwoAxes},
        {Message::NEBULO2_Enable, 100, kTwoAxes},
        {Message::TRAXEL_Enable, 103, kTwoAxes},
        {Message::PLIX_Enable, 104, kTwoAxes},
    };
    for (const DeviceFamily& family : kFamilies) {
        if (family.identity == identity) return &family;
    }
    return nullptr;
}

}  // namespace ZEPTASDK

#include "motion/frame_converter.h"

#include <chrono>

namespace ZEPTASDK {

FrameConverter::FrameConverter(int kind) : deviceKind(kind)
{
    converter.PrepareForDevice(deviceKind);
}

void FrameConverter::Convert(_korve_data_packet& packet, ZEPTAAxisMode axisMode, ZEPTASpeedGain speedMode, bool reset)
{
    const ConversionModes modes{deviceKind, axisMode, speedMode};
    converter.Convert(packet, reset, modes, std::chrono::system_clock::now());
}

}  // namespace ZEPTASDK

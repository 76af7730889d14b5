#include "motion/frame_converter.h"

#include <chrono>

#include "motion/axis_converter.h"

namespace ZEPTASDK {

FrameConverter::FrameConverter(int deviceKind)
    : deviceKind_(deviceKind), converter_(std::make_unique<AxisConverter>())
{
    converter_->PrepareForDevice(deviceKind);
}

FrameConverter::~FrameConverter() = default;

void FrameConverter::Convert(_korve_data_packet& packet, ZEPTAAxisMode axisMode, ZEPTASpeedGain speedMode, bool reset)
{
    const ConversionModes modes{deviceKind_, axisMode, speedMode};
    converter_->Convert(packet, reset, modes, std::chrono::system_clock::now());
}

}  // namespace ZEPTASDK

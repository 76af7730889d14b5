#include <cstring>

#include "zepta/ZEPTA.hpp"

namespace ZEPTASDK {

namespace {
constexpr float kMidStroke = 0.5f;
constexpr float kDefaultSpeed = 0.667f;
constexpr float kDefaultAcceleration = 0.5f;
constexpr float kDefaultRotationRatio = 1.0f;
}  // namespace

_korve_data_packet DefaultZEPTAPacket()
{
    _korve_data_packet packet;
    std::memset(&packet, 0, sizeof packet);
    packet.axis1 = packet.axis2 = packet.axis3 = kMidStroke;
    packet.axis4 = packet.axis5 = packet.axis6 = kMidStroke;
    packet.speedAxis1 = packet.speedAxis2 = packet.speedAxis3 = kDefaultSpeed;
    packet.speedAxis4 = packet.speedAxis5 = packet.speedAxis6 = kDefaultSpeed;
    packet.accelAxis = kDefaultAcceleration;
    packet.rotMR = kDefaultRotationRatio;
    return packet;
}

}  // namespace ZEPTASDK

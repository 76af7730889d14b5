// Device-type codes of the models that answer LAN discovery. They select the
// form of the update datagram.
#ifndef ZEPTA_LAN_DEVICE_TYPES_H
#define ZEPTA_LAN_DEVICE_TYPES_H

namespace ZEPTASDK {
namespace LanDevice {

constexpr unsigned kNone = 0;
constexpr unsigned kKorve2Dof = 1;
constexpr unsigned kKorve4Dof = 2;
constexpr unsigned kKorve6Dof = 3;
constexpr unsigned kMossPod = 4;
constexpr unsigned kKorveGrandeQx = 5;
constexpr unsigned kKorveGrande500Qx = 6;
constexpr unsigned kKorveKickboardQx = 101;
constexpr unsigned kKorveGrande = 102;

}  // namespace LanDevice
}  // namespace ZEPTASDK

#endif

// The session's link to a motion device on the local network. Construction
// finds the device (a broadcast ping, then the first known model or the
// assigned serial number among the replies); afterwards every frame is one
// datagram, and the device's acknowledgements keep the link alive.
#ifndef ZEPTA_LAN_CONTROLLER_LAN_H
#define ZEPTA_LAN_CONTROLLER_LAN_H

#include <string>

#include "lan/lan_link_state.h"
#include "lan/udp_socket.h"
#include "zepta/export.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

// Created, used and destroyed by one session's update thread; only GetState
// may be called from other threads.
class ZEPTA_API ControllerLAN {
public:
    // Runs discovery. On success the link is up (ZEPTA_STATE_INITIAL, socket
    // non-blocking); otherwise the state is ZEPTA_STATE_NO_DEVICE and there
    // is no socket.
    ControllerLAN(std::string code, std::string serial);
    ~ControllerLAN();
    ControllerLAN(const ControllerLAN&) = delete;
    ControllerLAN& operator=(const ControllerLAN&) = delete;

    // Ends the link; a second call does nothing.
    void CloseSocket();

    // One frame as a JSON object, then the acknowledgements and the pacing
    // sleep. True while the link is up. Throws std::overflow_error, sending
    // nothing and changing nothing, when a short-object value is not finite.
    bool SendUpdate(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, ZEPTAAxisMode axisMode,
                    bool isOrigin);
    // One frame as the binary record, for the kinds that take it.
    bool SendUpdateQX(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, bool derivedAxes,
                      bool isOrigin);
    // Consumes every acknowledgement that arrives within the time-out or has
    // queued up, and spends one frame of the acknowledgement budget; closes
    // the link when the budget is exhausted.
    void WaitAndDrainAck(int timeoutMs);

    bool HasSocket() const { return udpSocket.IsOpen(); }
    int GetState() const { return link.Get(); }
    unsigned GetDeviceType() const { return deviceType; }
    std::string GetSerialNumber() const { return serialNumber; }

private:
    // Pings and listens for up to three rounds; true when a device was selected.
    bool Discovery();
    void ListenForReplies();
    void HandleDiscoveryReply(const std::string& reply);
    // Takes the device when model is known; false (and no change) otherwise.
    bool SelectDevice(const std::string& model, const std::string& serial);
    bool FinishFrame();
    void DrainAcknowledgements();

    UdpSocket udpSocket;
    Ipv4Endpoint deviceAddress;   // the sender of the reply that selected the device
    unsigned deviceType = ZEPTA_DEVICE_NONE;
    std::string serialNumber;
    std::string appCode;
    std::string assignedSerial;
    LanLinkState link;
};

}  // namespace ZEPTASDK

#endif

// The session's link to a motion device on the local network. Construction
// finds the device (a broadcast ping, then the first known model or the
// assigned serial number among the replies); afterwards every frame is one
// datagram, and the device's acknowledgements keep the link alive.
#ifndef ZEPTA_LAN_CONTROLLER_LAN_H
#define ZEPTA_LAN_CONTROLLER_LAN_H

#include <atomic>
#include <string>

#include "lan/udp_socket.h"
#include "zepta/export.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

// Created, used and destroyed by one session's update thread; only GetState
// may be called from other threads.
class ZEPTA_API ControllerLAN {
public:
    // Link status values held in state, numbered like the session's states.
    // Above kStateUpLimit the link is up.
    static constexpr int kStateNoDevice = 1;
    static constexpr int kStateClosed = 4;
    static constexpr int kStateUpLimit = 5;
    static constexpr int kStateInitial = 6;
    static constexpr int kStateCalibrating = 7;
    static constexpr int kStateRunning = 8;
    static constexpr int kStateStopped = 9;

    // Runs discovery. On success the link is up (state 6, socket
    // non-blocking); otherwise state is 1 and there is no socket.
    ControllerLAN(std::string appCode, std::string assignedSerial);
    ~ControllerLAN();
    ControllerLAN(const ControllerLAN&) = delete;
    ControllerLAN& operator=(const ControllerLAN&) = delete;

    // Pings and listens for up to three rounds; true when a device was selected.
    bool Discovery();
    // Takes the device when model is known; false (and no change) otherwise.
    bool SelectDevice(const std::string& model, const std::string& serial);
    // Ends the link; a second call does nothing.
    void CloseSocket();

    // One frame as a JSON object, then the acknowledgements and the pacing
    // sleep. True while the link is up. Throws std::overflow_error, sending
    // nothing and changing nothing, when a short-object value is not finite.
    bool SendUpdate(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, ZEPTAAxisMode axisMode,
                    bool isOrigin);
    // One frame as the binary record, for the types that take it.
    bool SendUpdateQX(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, bool derivedAxes,
                      bool isOrigin);
    // Consumes every acknowledgement that arrives within the time-out or has
    // queued up, and spends one unit of the acknowledgement budget; closes the
    // link when the budget is exhausted.
    void WaitAndDrainAck(int timeoutMs);

    bool HasSocket() const { return udpSocket.IsOpen(); }
    int GetState() const { return state.load(); }
    unsigned GetDeviceType() const { return deviceType; }
    std::string GetSerialNumber() const { return serialNumber; }

private:
    void ListenForReplies();
    void HandleDiscoveryReply(const std::string& reply);
    void DrainAcknowledgements();
    void ClassifyAcknowledgement(const std::string& text);
    void SpendAcknowledgementBudget();
    bool FinishFrame();

    UdpSocket udpSocket;
    Ipv4Endpoint bindAddress;
    Ipv4Endpoint deviceAddress;   // the sender of the reply that selected the device
    int ackCountdown = 0;
    std::atomic<int> state{kStateInitial};   // written by the update thread, read by the application's
    unsigned deviceType = 0;
    std::string serialNumber;
    std::string appCode;
    std::string assignedSerial;
};

}  // namespace ZEPTASDK

#endif

// libzepta C++ interface: one ZEPTA object is one session with one motion device.
#ifndef ZEPTA_ZEPTA_HPP
#define ZEPTA_ZEPTA_HPP

#include <memory>

#include "zepta/zepta.h"

namespace ZEPTASDK {

// The packet with the library's neutral defaults: axes 0.5, speeds 0.667,
// acceleration 0.5, rotMR 1.0, everything else zero.
ZEPTA_API _korve_data_packet DefaultZEPTAPacket();

class ZEPTA_API ZEPTA {
public:
    ZEPTA();
    ~ZEPTA();
    ZEPTA(const ZEPTA&) = delete;
    ZEPTA& operator=(const ZEPTA&) = delete;

    // Starts the update thread, which finds the device and streams frames.
    // Returns at once. A null text throws std::logic_error.
    void Open(const char* appCode, const char* serialAssign);
    void Open(const char* appCode);
    // Stops and joins the update thread. Harmless when nothing runs.
    void Close();

    // Hands one frame to the update thread (newest wins). Always returns 0.
    int Write(const _korve_data_packet* packet);

    void SetCallbackUpdateFunction(void (*callback)());
    void SetOriginMode(bool enable);
    bool GetOriginMode();
    void SetAxisProcessingMode(ZEPTAAxisMode mode);
    ZEPTAAxisMode GetAxisProcessingMode();
    void SetSpeedGainMode(ZEPTASpeedGain mode);
    ZEPTASpeedGain GetSpeedGainMode();

    const char* GetAppCode() const;
    // Shared 64-byte process-wide buffer: valid until the next call on any session.
    const char* GetZEPTASerialNumber() const;
    int GetState();
    bool GetZEPTAStatus();
    int GetZEPTADevice();
    const char* GetVersion() const;
    bool IsRunning() const;
    int GetStatusEXT4() const;

    // The frame path; public for the library's own use.
    void LogError();
    void Update(_korve_data_packet& packet);
    void UpdateLAN(_korve_data_packet& packet);
    void ThreadUpdate();
    void CalcToAxisPacket(_korve_data_packet& packet, bool reset);

    struct Impl;

private:
    std::unique_ptr<Impl> impl;
};

}  // namespace ZEPTASDK

#endif

// The text protocol of a USB motion device: the connection handshake with
// family identification and calibration, the supervision of the device's
// status lines, and the encoding of the motion commands.
#ifndef ZEPTA_USB_CONTROLLER_H
#define ZEPTA_USB_CONTROLLER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "usb/bridge.h"
#include "zepta/export.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

class ZEPTA_API Controller {
public:
    // Runs the whole handshake; the outcome is in GetState, nothing throws for
    // device trouble. Every log line carries name as its tag.
    Controller(std::weak_ptr<Bridge> weakBridge, std::string name);
    ~Controller();
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    // Writes command through the bridge if it still exists; reads nothing.
    void SendCommand(std::string command);

    // A ZEPTAState; safe to call from any thread.
    int GetState() const;
    // The ZEPTADeviceKind of the device family (ZEPTA_DEVICE_NONE until identified).
    int GetZEPTA() const;
    // The last number a status line reported after "-EXT4-".
    int16_t GetStatusCode() const;
    // To be called once the handshake is over.
    std::string GetZEPTASerialNumber() const;

    // One calibration run: leaves ZEPTA_STATE_CALIBRATING (ready),
    // ZEPTA_STATE_CALIBRATION_REPEAT, _FAILED or _TIMED_OUT.
    void Calibration();
    // Reads the device's answer to a command and moves the state; false when
    // the link is lost (ZEPTA_STATE_SHUT_DOWN, port closed).
    bool WaitZEPTA();

    // value + 0.5 truncated; negative and NaN give 0, values from 2^31 on
    // give INT32_MAX.
    int ToByte(float value) const;
    int ToWORD(float value) const;
    // value clamped to 0..1 and scaled to two (8-bit) or three (12-bit)
    // upper-case hex digits.
    std::string FloatToHex(float value) const;
    std::string Float12ToHex(float value) const;

    // Motion commands; each waits for the device's answer and returns WaitZEPTA.
    bool SendPositionZEPTA(float a1, float a2, float a3, float a4);
    bool SendPositionZEPTA(float a1, float a2, float a3, float a4, float a5, float a6);
    bool SendPositionZEPTA12(float a1, float a2, float a3, float a4, float a5, float a6);
    // Sent only when it differs from the last speed command (true otherwise).
    bool SendSpeedAccelZEPTA(float speed, float accel);
    bool SendSpeedZEPTA(float s1, float s2, float s3, float s4, float s5, float s6, float accel);

private:
    // What one reply line means to the wait for an answer.
    enum class Reply { Up, Down, Interim };

    bool CheckUsb(Bridge& link);
    bool IdentifyFamily(Bridge& link);
    void LogVersion(Bridge& link);
    bool CalibrateWithRetries();
    void ReadSerialNumber(Bridge& link);
    void ClassifyCalibrationStart(const std::string& reply, Bridge& link);
    void ClassifyCalibrationEnd(const std::string& reply);
    Reply ClassifyReply(const std::string& line, Bridge& link, int& interimLines);
    Reply AcceptInterimLine(const std::string& line, Bridge& link, int& interimLines);
    Reply Resume(const std::string& line);
    Reply ApplyStatusLine(const std::string& line, Bridge& link);
    Reply LoseLink(Bridge* link);
    bool SendAndWait(const std::string& command);
    void Log(const std::string& text) const;

    std::weak_ptr<Bridge> bridge;
    // state, model and statusCode are read from the application's thread.
    std::atomic<int32_t> state;
    std::string lastSpeedCommand;
    std::atomic<int32_t> model;
    std::string serialNumber;
    std::string logName;
    std::atomic<int16_t> statusCode;
    uint32_t axisMask;
    int32_t mismatchCount;
    // WaitZEPTA reads every reply into this one string, so that its storage
    // is reused and the status lines of a frame never touch the heap.
    std::string replyLine;
};

}  // namespace ZEPTASDK

#endif

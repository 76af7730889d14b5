// The motion commands: a command word, fixed-width upper-case hex fields and
// ";". Values are normalised to 0..1 and clamped before encoding.
#include <cstdint>
#include <initializer_list>

#include "io/hex.h"
#include "usb/controller.h"
#include "usb/messages.h"

namespace ZEPTASDK {

namespace {

constexpr float kByteScale = 255.0f;
constexpr float kWordScale = 4095.0f;
constexpr float kRoundingOffset = 0.5f;
// Added to every axis speed before encoding, so that a speed of 0 still
// moves the actuator a little.
constexpr float kAxisSpeedOffset = 0.01f;
constexpr float kIntRange = 2147483648.0f;
constexpr unsigned kByteMask = 0xFF;
constexpr unsigned kWordMask = 0xFFFF;
constexpr unsigned char kUpperCaseBase = 'A';

// Above 1 is full scale, below 0 is zero; NaN passes both tests and ends as 0.
float ScaleClamped(float value, float scale)
{
    if (value > 1.0f) return scale;
    if (value < 0.0f) return 0.0f;
    return value * scale;
}

// Rounds half up by truncating value + 0.5; negative and NaN give 0.
int RoundToUnsigned(float value)
{
    const float shifted = value + kRoundingOffset;
    if (!(shifted > 0.0f)) return 0;
    if (shifted >= kIntRange) return INT32_MAX;
    return static_cast<int>(shifted);
}

using FieldEncoder = std::string (Controller::*)(float) const;

// The command word, one field per value in argument order, and ";".
std::string BuildCommand(const Controller& controller, FieldEncoder encode, const std::string& word,
                         std::initializer_list<float> values)
{
    std::string command = word;
    for (float value : values) command += (controller.*encode)(value);
    return command + Message::CommandEnd;
}

}  // namespace

int Controller::ToByte(float value) const { return RoundToUnsigned(value); }

int Controller::ToWORD(float value) const { return RoundToUnsigned(value); }

std::string Controller::FloatToHex(float value) const
{
    const unsigned byte = static_cast<unsigned>(ToByte(ScaleClamped(value, kByteScale))) & kByteMask;
    return Utility::ToUpperHex(static_cast<unsigned char>(byte));
}

std::string Controller::Float12ToHex(float value) const
{
    const unsigned word = static_cast<unsigned>(ToWORD(ScaleClamped(value, kWordScale))) & kWordMask;
    return Utility::ConvertWordToHex(static_cast<unsigned short>(word), kUpperCaseBase);
}

bool Controller::SendPositionZEPTA(float a1, float a2, float a3, float a4)
{
    return SendAndWait(BuildCommand(*this, &Controller::FloatToHex, Message::PositionCommand, {a1, a2, a3, a4}));
}

bool Controller::SendPositionZEPTA(float a1, float a2, float a3, float a4, float a5, float a6)
{
    return SendAndWait(BuildCommand(*this, &Controller::FloatToHex, Message::PositionCommand, {a1, a2, a3, a4, a5, a6}));
}

bool Controller::SendPositionZEPTA12(float a1, float a2, float a3, float a4, float a5, float a6)
{
    return SendAndWait(BuildCommand(*this, &Controller::Float12ToHex, Message::Position12Command, {a1, a2, a3, a4, a5, a6}));
}

// An unchanged speed command is not repeated: it spares the serial line and
// the device's answer.
bool Controller::SendSpeedAccelZEPTA(float speed, float accel)
{
    const std::string command = BuildCommand(*this, &Controller::FloatToHex, Message::SpeedAccelCommand, {speed, accel});
    if (command == lastSpeedCommand) return true;
    SendCommand(command);
    lastSpeedCommand = command;
    return WaitZEPTA();
}

// Shares lastSpeedCommand with SendSpeedAccelZEPTA, so "aFF80;" from either
// is sent once. The axis speeds go out on every call.
bool Controller::SendSpeedZEPTA(float s1, float s2, float s3, float s4, float s5, float s6, float accel)
{
    const std::string accelCommand = BuildCommand(*this, &Controller::FloatToHex, Message::FullSpeedAccelCommand, {accel});
    if (accelCommand != lastSpeedCommand) {
        SendCommand(accelCommand);
        WaitZEPTA();
        lastSpeedCommand = accelCommand;
    }
    return SendAndWait(BuildCommand(*this, &Controller::FloatToHex, Message::AxisSpeedsCommand,
                                    {s1 + kAxisSpeedOffset, s2 + kAxisSpeedOffset, s3 + kAxisSpeedOffset,
                                     s4 + kAxisSpeedOffset, s5 + kAxisSpeedOffset, s6 + kAxisSpeedOffset}));
}

// Waits also when the bridge is gone: WaitZEPTA then reports the lost link.
bool Controller::SendAndWait(const std::string& command)
{
    SendCommand(command);
    return WaitZEPTA();
}

}  // namespace ZEPTASDK

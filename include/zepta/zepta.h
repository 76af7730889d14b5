/* libzepta flat C interface: the motion packet, the two mode enumerations and
 * the twenty functions that address a session by an integer handle.
 * Compiles as C99 and as C++. */
#ifndef ZEPTA_ZEPTA_H
#define ZEPTA_ZEPTA_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "zepta/export.h"

#ifdef __cplusplus
namespace ZEPTASDK {
#endif

/* One frame of motion, handed to zeptaWrite. Its layout is part of the binary
 * interface: 356 bytes, natural alignment, no padding. */
typedef struct _korve_data_packet {
    float axis1;        /* actuator positions, 0..1 (0.5 mid-stroke) */
    float axis2;
    float axis3;
    float axis4;
    float axis5;
    float axis6;
    float speedAxis1;   /* actuator speeds, 0..1 */
    float speedAxis2;
    float speedAxis3;
    float speedAxis4;
    float speedAxis5;
    float speedAxis6;
    float accelAxis;    /* common acceleration, 0..1 */
    float roll;         /* requested pose, each -1..1 */
    float pitch;
    float yaw;
    float heave;
    float sway;
    float surge;
    float poseOffset1;  /* pivot offset for six-actuator platforms */
    float poseOffset2;
    float poseOffset3;
    float rotMR;        /* gain on roll, pitch and yaw */
    float graMR;        /* gain on heave, sway and surge */
    int32_t commandCount;      /* times commandBuffer is queued; <= 0 queues nothing */
    char commandBuffer[256];   /* NUL-terminated device command, without ";" */
} _korve_data_packet;

/* How the actuator values of a frame are obtained. */
typedef enum ZEPTAAxisMode {
    ZEPTA_AXIS_MANUAL = 0,   /* the application writes axis1..axis6 itself */
    ZEPTA_AXIS_BASE = 1,     /* derived from the pose, base coordinates (default) */
    ZEPTA_AXIS_PLATFORM = 2  /* derived from the pose, platform coordinates */
} ZEPTAAxisMode;

/* How the actuator speeds of a frame are obtained. */
typedef enum ZEPTASpeedGain {
    ZEPTA_SPEED_DEFAULT = 0,      /* derived only when the kinematics produced the axes */
    ZEPTA_SPEED_FROM_MOTION = 1,  /* derived from the change of position */
    ZEPTA_SPEED_AS_WRITTEN = 2    /* sent exactly as the application wrote them */
} ZEPTASpeedGain;

/* Session and device states, as zeptaGetState returns them. From
 * ZEPTA_STATE_INITIAL up a session counts as running; below it the update
 * thread has ended or will end, and the application must Close and Open again. */
typedef enum ZEPTAState {
    ZEPTA_STATE_NO_USB_DEVICE = 0,          /* no serial port answered */
    ZEPTA_STATE_NO_DEVICE = 1,              /* no device of the family (USB or LAN) */
    ZEPTA_STATE_CALIBRATION_FAILED = 2,
    ZEPTA_STATE_CALIBRATION_TIMED_OUT = 3,
    ZEPTA_STATE_SHUT_DOWN = 4,              /* actuator shut down, or the LAN link closed */
    ZEPTA_STATE_INITIAL = 6,                /* searching, or handshake not finished */
    ZEPTA_STATE_CALIBRATING = 7,
    ZEPTA_STATE_RUNNING = 8,                /* connected and running */
    ZEPTA_STATE_STOPPED = 9,                /* actuator stopped */
    ZEPTA_STATE_CALIBRATION_REPEAT = 10
} ZEPTAState;

/* Device kind codes, as zeptaGetDevice returns them (0 until connected). USB
 * families report 1, 2, 3, 100, 103 and 104; LAN models 1 to 6, 101 and 102. */
typedef enum ZEPTADeviceKind {
    ZEPTA_DEVICE_NONE = 0,
    ZEPTA_DEVICE_KORVE_2DOF = 1,
    ZEPTA_DEVICE_KORVE_4DOF = 2,
    ZEPTA_DEVICE_KORVE_6DOF = 3,
    ZEPTA_DEVICE_MOSSPOD = 4,
    ZEPTA_DEVICE_GRANDE_QX = 5,             /* six-actuator Stewart platform */
    ZEPTA_DEVICE_GRANDE_500QX = 6,          /* six-actuator Stewart platform */
    ZEPTA_DEVICE_NEBULO_2DOF = 100,
    ZEPTA_DEVICE_KICKBOARD_QX = 101,
    ZEPTA_DEVICE_GRANDE = 102,
    ZEPTA_DEVICE_TRAXEL = 103,
    ZEPTA_DEVICE_PLIX = 104
} ZEPTADeviceKind;

#ifdef __cplusplus
static_assert(sizeof(_korve_data_packet) == 356, "packet size is part of the ABI");
static_assert(offsetof(_korve_data_packet, axis1) == 0, "axis1 offset");
static_assert(offsetof(_korve_data_packet, axis2) == 4, "axis2 offset");
static_assert(offsetof(_korve_data_packet, axis3) == 8, "axis3 offset");
static_assert(offsetof(_korve_data_packet, axis4) == 12, "axis4 offset");
static_assert(offsetof(_korve_data_packet, axis5) == 16, "axis5 offset");
static_assert(offsetof(_korve_data_packet, axis6) == 20, "axis6 offset");
static_assert(offsetof(_korve_data_packet, speedAxis1) == 24, "speedAxis1 offset");
static_assert(offsetof(_korve_data_packet, speedAxis2) == 28, "speedAxis2 offset");
static_assert(offsetof(_korve_data_packet, speedAxis3) == 32, "speedAxis3 offset");
static_assert(offsetof(_korve_data_packet, speedAxis4) == 36, "speedAxis4 offset");
static_assert(offsetof(_korve_data_packet, speedAxis5) == 40, "speedAxis5 offset");
static_assert(offsetof(_korve_data_packet, speedAxis6) == 44, "speedAxis6 offset");
static_assert(offsetof(_korve_data_packet, accelAxis) == 48, "accelAxis offset");
static_assert(offsetof(_korve_data_packet, roll) == 52, "roll offset");
static_assert(offsetof(_korve_data_packet, pitch) == 56, "pitch offset");
static_assert(offsetof(_korve_data_packet, yaw) == 60, "yaw offset");
static_assert(offsetof(_korve_data_packet, heave) == 64, "heave offset");
static_assert(offsetof(_korve_data_packet, sway) == 68, "sway offset");
static_assert(offsetof(_korve_data_packet, surge) == 72, "surge offset");
static_assert(offsetof(_korve_data_packet, poseOffset1) == 76, "poseOffset1 offset");
static_assert(offsetof(_korve_data_packet, poseOffset2) == 80, "poseOffset2 offset");
static_assert(offsetof(_korve_data_packet, poseOffset3) == 84, "poseOffset3 offset");
static_assert(offsetof(_korve_data_packet, rotMR) == 88, "rotMR offset");
static_assert(offsetof(_korve_data_packet, graMR) == 92, "graMR offset");
static_assert(offsetof(_korve_data_packet, commandCount) == 96, "commandCount offset");
static_assert(offsetof(_korve_data_packet, commandBuffer) == 100, "commandBuffer offset");
static_assert(sizeof(ZEPTAAxisMode) == 4 && sizeof(ZEPTASpeedGain) == 4, "modes are 32-bit");
static_assert(sizeof(ZEPTAState) == 4 && sizeof(ZEPTADeviceKind) == 4, "codes are 32-bit");
} /* namespace ZEPTASDK */
using ZEPTASDK::_korve_data_packet;
using ZEPTASDK::ZEPTAAxisMode;
using ZEPTASDK::ZEPTASpeedGain;
using ZEPTASDK::ZEPTA_AXIS_MANUAL;
using ZEPTASDK::ZEPTA_AXIS_BASE;
using ZEPTASDK::ZEPTA_AXIS_PLATFORM;
using ZEPTASDK::ZEPTA_SPEED_DEFAULT;
using ZEPTASDK::ZEPTA_SPEED_FROM_MOTION;
using ZEPTASDK::ZEPTA_SPEED_AS_WRITTEN;
using ZEPTASDK::ZEPTAState;
using ZEPTASDK::ZEPTADeviceKind;
using ZEPTASDK::ZEPTA_STATE_NO_USB_DEVICE;
using ZEPTASDK::ZEPTA_STATE_NO_DEVICE;
using ZEPTASDK::ZEPTA_STATE_CALIBRATION_FAILED;
using ZEPTASDK::ZEPTA_STATE_CALIBRATION_TIMED_OUT;
using ZEPTASDK::ZEPTA_STATE_SHUT_DOWN;
using ZEPTASDK::ZEPTA_STATE_INITIAL;
using ZEPTASDK::ZEPTA_STATE_CALIBRATING;
using ZEPTASDK::ZEPTA_STATE_RUNNING;
using ZEPTASDK::ZEPTA_STATE_STOPPED;
using ZEPTASDK::ZEPTA_STATE_CALIBRATION_REPEAT;
using ZEPTASDK::ZEPTA_DEVICE_NONE;
using ZEPTASDK::ZEPTA_DEVICE_KORVE_2DOF;
using ZEPTASDK::ZEPTA_DEVICE_KORVE_4DOF;
using ZEPTASDK::ZEPTA_DEVICE_KORVE_6DOF;
using ZEPTASDK::ZEPTA_DEVICE_MOSSPOD;
using ZEPTASDK::ZEPTA_DEVICE_GRANDE_QX;
using ZEPTASDK::ZEPTA_DEVICE_GRANDE_500QX;
using ZEPTASDK::ZEPTA_DEVICE_NEBULO_2DOF;
using ZEPTASDK::ZEPTA_DEVICE_KICKBOARD_QX;
using ZEPTASDK::ZEPTA_DEVICE_GRANDE;
using ZEPTASDK::ZEPTA_DEVICE_TRAXEL;
using ZEPTASDK::ZEPTA_DEVICE_PLIX;
extern "C" {
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
_Static_assert(sizeof(_korve_data_packet) == 356, "packet size is part of the ABI");
_Static_assert(offsetof(_korve_data_packet, commandBuffer) == 100, "commandBuffer offset");
#endif

/* Sessions. An open never fails: a missing device shows in the state. */
ZEPTA_API int zeptaOpen(const char* appCode);
ZEPTA_API int zeptaOpenSerialAssign(const char* appCode, const char* serialAssign);
ZEPTA_API int zeptaClose(int handle);
ZEPTA_API int zeptaWrite(int handle, const _korve_data_packet* packet);

/* Modes. The mode arguments take the values of ZEPTAAxisMode and ZEPTASpeedGain. */
ZEPTA_API void zeptaSetOriginMode(int handle, int enable);
ZEPTA_API bool zeptaGetOriginMode(int handle);
ZEPTA_API void zeptaSetAxisProcessingMode(int handle, int mode);
ZEPTA_API int zeptaGetAxisProcessingMode(int handle);
ZEPTA_API void zeptaSetSpeedGainMode(int handle, int mode);
ZEPTA_API int zeptaGetSpeedGainMode(int handle);

/* Session and device information. */
ZEPTA_API const char* zeptaGetAppCode(int handle);
ZEPTA_API const char* zeptaGetSerialNumber(int handle);
ZEPTA_API int zeptaGetState(int handle);
ZEPTA_API int zeptaGetSystemStatus(int handle);
ZEPTA_API int zeptaGetDevice(int handle);
ZEPTA_API int zeptaGetStatusEXT4(int handle);
ZEPTA_API const char* zeptaGetVersion(int handle);
ZEPTA_API bool zeptaIsRunning(int handle);

/* The process-wide log backlog, shared by all sessions. */
ZEPTA_API int zeptaGetBackLog(char* buffer, int size);
ZEPTA_API int zeptaBackLogDataAvailable(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif

// The session's conversion, offered on copies: a tool that hands a session its
// frames can convert the same packets here to show what the session makes of
// them for the connected device kind, without touching the session.
#ifndef ZEPTA_MOTION_FRAME_CONVERTER_H
#define ZEPTA_MOTION_FRAME_CONVERTER_H

#include "motion/axis_converter.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {

class FrameConverter {
public:
    // Fitted to deviceKind exactly as a session fits its converter once that
    // kind has connected.
    explicit FrameConverter(int deviceKind);

    // Rewrites packet in place as a session's frame does with these modes.
    // Positions depend only on the packets converted so far; speeds also on
    // the time between calls, so they match a session's only roughly.
    void Convert(_korve_data_packet& packet, ZEPTAAxisMode axisMode, ZEPTASpeedGain speedMode, bool reset);

private:
    int deviceKind;
    AxisConverter converter;
};

}  // namespace ZEPTASDK

#endif

// The session's conversion, offered on copies: a tool that hands a session its
// frames can convert the same packets here to show what the session makes of
// them for the connected device kind, without touching the session.
#ifndef ZEPTA_MOTION_FRAME_CONVERTER_H
#define ZEPTA_MOTION_FRAME_CONVERTER_H

#include <memory>

#include "zepta/zepta.h"

namespace ZEPTASDK {

class AxisConverter;

class FrameConverter {
public:
    // Fitted to deviceKind exactly as a session fits its converter once that
    // kind has connected.
    explicit FrameConverter(int deviceKind);
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    // Rewrites packet in place as a session's frame does with these modes.
    // Positions depend only on the packets converted so far; speeds also on
    // the time between calls, so they match a session's only roughly.
    void Convert(_korve_data_packet& packet, ZEPTAAxisMode axisMode, ZEPTASpeedGain speedMode, bool reset);

private:
    int deviceKind_;
    std::unique_ptr<AxisConverter> converter_;
};

}  // namespace ZEPTASDK

#endif

"""libzepta from Python: sessions with motion devices, and the library's log.

    import zepta
    with zepta.Session("MYGAME") as seat:
        if seat.wait_connected():
            seat.write(pose=(0.2, -0.1, 0, 0.3))
    print("".join(zepta.backlog()))
"""

import ctypes

from ._header import HEADER_VARIABLE, AxisMode, DeviceKind, SpeedGain, State
from ._library import LIBRARY_VARIABLE, default_packet, lib
from .packet import Packet
from .session import Session

__all__ = ["AxisMode", "DeviceKind", "HEADER_VARIABLE", "LIBRARY_VARIABLE", "Packet", "Session", "SpeedGain", "State",
           "backlog", "default_packet"]

_BACKLOG_CHUNK = 1024


def backlog():
    """Yields the lines the library's log holds now, each ending in a line feed.

    The backlog is shared by all sessions of the process and bounded in size,
    so read it regularly; the generator ends when it is empty.
    """
    buffer = ctypes.create_string_buffer(_BACKLOG_CHUNK)
    pending = b""
    while True:
        count = lib.zeptaGetBackLog(buffer, _BACKLOG_CHUNK)
        if count <= 0:
            break
        pending += buffer.raw[:count]
        *lines, pending = pending.split(b"\n")
        for line in lines:
            yield line.decode("utf-8", "replace") + "\n"
    if pending:
        yield pending.decode("utf-8", "replace")

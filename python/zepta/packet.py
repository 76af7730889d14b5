"""The motion packet, laid out exactly as _korve_data_packet in zepta/zepta.h."""

import ctypes

COMMAND_BYTES = 256

_FLOAT_FIELDS = (
    "axis1", "axis2", "axis3", "axis4", "axis5", "axis6",
    "speedAxis1", "speedAxis2", "speedAxis3", "speedAxis4", "speedAxis5", "speedAxis6",
    "accelAxis",
    "roll", "pitch", "yaw", "heave", "sway", "surge",
    "poseOffset1", "poseOffset2", "poseOffset3",
    "rotMR", "graMR",
)


class Packet(ctypes.Structure):
    _fields_ = [(name, ctypes.c_float) for name in _FLOAT_FIELDS] + [
        ("commandCount", ctypes.c_int32),
        ("commandBuffer", ctypes.c_char * COMMAND_BYTES),
    ]


# The size and offsets the C header asserts (static_assert in zepta/zepta.h):
# the packet is part of the library's binary interface.
HEADER_SIZE = 356
HEADER_OFFSETS = dict({name: 4 * index for index, name in enumerate(_FLOAT_FIELDS)},
                      commandCount=96, commandBuffer=100)


def check_layout():
    """Raises ImportError when the structure differs from the C header's layout."""
    if ctypes.sizeof(Packet) != HEADER_SIZE:
        raise ImportError(f"packet is {ctypes.sizeof(Packet)} bytes, the C header says {HEADER_SIZE}")
    for name, offset in HEADER_OFFSETS.items():
        actual = getattr(Packet, name).offset
        if actual != offset:
            raise ImportError(f"packet field {name} at offset {actual}, the C header says {offset}")


check_layout()

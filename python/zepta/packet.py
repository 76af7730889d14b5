"""The motion packet, laid out exactly as _korve_data_packet in zepta/zepta.h."""

import ctypes

from ._header import PACKET_OFFSETS, PACKET_SIZE

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


def check_layout():
    """Raises ImportError when the structure differs from the layout the C
    header asserts: the packet is part of the library's binary interface."""
    if ctypes.sizeof(Packet) != PACKET_SIZE:
        raise ImportError(f"packet is {ctypes.sizeof(Packet)} bytes, the C header says {PACKET_SIZE}")
    fields = [name for name, _ in Packet._fields_]
    if sorted(PACKET_OFFSETS) != sorted(fields):
        raise ImportError(f"packet fields {fields}, the C header asserts {sorted(PACKET_OFFSETS)}")
    for name, offset in PACKET_OFFSETS.items():
        actual = getattr(Packet, name).offset
        if actual != offset:
            raise ImportError(f"packet field {name} at offset {actual}, the C header says {offset}")


check_layout()

"""What the binding takes from the C header zepta/zepta.h, so that it is
defined once: the enumerations (session states, device kinds, the two modes)
and the packet layout the header asserts. The header ships with the package;
ZEPTA_HEADER names another copy (for instance the one of a source tree)."""

import enum
import os
import re

HEADER_VARIABLE = "ZEPTA_HEADER"


def _read():
    path = os.environ.get(HEADER_VARIABLE) or os.path.join(os.path.dirname(__file__), "zepta.h")
    try:
        with open(path) as header:
            return header.read()
    except OSError as error:
        raise ImportError(f"cannot read the C header {path} ({error}); set {HEADER_VARIABLE} to its path") from error


_TEXT = _read()


def _enumeration(name, c_name, prefix, doc):
    """An IntEnum of the enumerators of the C enum c_name, named without prefix."""
    body = re.search(r"typedef enum %s \{(.*?)\}" % c_name, _TEXT, re.S)
    members = re.findall(r"\b%s(\w+) = (\d+)" % prefix, body.group(1) if body else "")
    if not members:
        raise ImportError(f"the C header defines no {c_name}")
    enumeration = enum.IntEnum(name, [(member, int(value)) for member, value in members], module="zepta")
    enumeration.__doc__ = doc
    return enumeration


State = _enumeration("State", "ZEPTAState", "ZEPTA_STATE_",
                     "ZEPTAState: a session's state; from INITIAL up the session counts as running.")
DeviceKind = _enumeration("DeviceKind", "ZEPTADeviceKind", "ZEPTA_DEVICE_",
                          "ZEPTADeviceKind: the connected device's kind code, NONE until connected.")
AxisMode = _enumeration("AxisMode", "ZEPTAAxisMode", "ZEPTA_AXIS_",
                        "ZEPTAAxisMode: how the actuator values of a frame are obtained.")
SpeedGain = _enumeration("SpeedGain", "ZEPTASpeedGain", "ZEPTA_SPEED_",
                         "ZEPTASpeedGain: how the actuator speeds of a frame are obtained.")

_SIZE = re.search(r"static_assert\(sizeof\(_korve_data_packet\) == (\d+)", _TEXT)
PACKET_SIZE = int(_SIZE.group(1)) if _SIZE else None
PACKET_OFFSETS = {field: int(offset) for field, offset in
                  re.findall(r"static_assert\(offsetof\(_korve_data_packet, (\w+)\) == (\d+)", _TEXT)}

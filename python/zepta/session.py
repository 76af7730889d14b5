"""One session with one motion device, over the library's C interface."""

import math
import numbers
import time

from ._header import AxisMode, SpeedGain, State
from ._library import default_packet, lib
from .packet import COMMAND_BYTES

POSE_CHANNELS = ("roll", "pitch", "yaw", "heave", "sway", "surge")
AXES = 6


def _number(value, what):
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError(f"{what} must be a number, not {type(value).__name__}")
    value = float(value)
    if not math.isfinite(value):
        raise ValueError(f"{what} must be finite, not {value}")
    return value


def _numbers(values, count, what):
    values = list(values)
    if len(values) > count:
        raise ValueError(f"{what} takes at most {count} values, not {len(values)}")
    return [_number(value, f"{what}[{index}]") for index, value in enumerate(values)]


def _text(value, what):
    data = value.encode("utf-8") if isinstance(value, str) else value
    if not isinstance(data, bytes):
        raise TypeError(f"{what} must be str or bytes, not {type(value).__name__}")
    if b"\0" in data:
        raise ValueError(f"{what} must not contain a NUL character")
    return data


class Session:
    """A session: opening it starts the library's search for a device.

    Use it as a context manager, or call close(). Values are handed to the
    library as they are: it clamps the pose to -1..1 and the actuator values
    to 0.02..0.98 itself. Non-finite numbers are refused here.
    """

    def __init__(self, app_code="PYTHON", serial=""):
        app = _text(app_code, "app_code")
        serial_assign = _text(serial, "serial")
        self._packet = default_packet()
        self._handle = lib.zeptaOpenSerialAssign(app, serial_assign)
        # The device holds the neutral pose until the application's first write.
        lib.zeptaWrite(self._handle, self._packet)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def close(self):
        """Stops the session's thread and frees it. Harmless when closed."""
        if self._handle is not None:
            lib.zeptaClose(self._handle)
            self._handle = None

    def _open_handle(self):
        if self._handle is None:
            raise RuntimeError("the session is closed")
        return self._handle

    def write(self, *, pose=None, axes=None, speeds=None, accel=None, rot_mix=None, gravity_mix=None,
              pose_offset=None, command=None, command_count=1, **channels):
        """Hands one frame to the session; the newest frame wins.

        pose: up to six values, roll, pitch, yaw, heave, sway, surge (-1..1);
        single channels also by name (roll=0.2). axes, speeds: up to six
        actuator values (0..1). accel, rot_mix (rotMR), gravity_mix (graMR):
        numbers. pose_offset: up to three values. command: a device command
        without ";", sent command_count times. Fields not given keep the value
        of the previous write (at first the library's defaults).
        """
        unknown = set(channels) - set(POSE_CHANNELS)
        if unknown:
            raise TypeError(f"write() got unexpected keyword arguments: {', '.join(sorted(unknown))}")
        handle = self._open_handle()
        packet = type(self._packet).from_buffer_copy(self._packet)
        if pose is not None:
            for name, value in zip(POSE_CHANNELS, _numbers(pose, len(POSE_CHANNELS), "pose")):
                setattr(packet, name, value)
        for name, value in channels.items():
            setattr(packet, name, _number(value, name))
        self._set_series(packet, "axis", axes, AXES, "axes")
        self._set_series(packet, "speedAxis", speeds, AXES, "speeds")
        self._set_series(packet, "poseOffset", pose_offset, 3, "pose_offset")
        for field, value, what in (("accelAxis", accel, "accel"), ("rotMR", rot_mix, "rot_mix"),
                                   ("graMR", gravity_mix, "gravity_mix")):
            if value is not None:
                setattr(packet, field, _number(value, what))
        if command is not None:
            self._set_command(packet, command, command_count)
        lib.zeptaWrite(handle, packet)
        packet.commandCount = 0
        self._packet = packet

    @staticmethod
    def _set_series(packet, prefix, values, count, what):
        if values is not None:
            for index, value in enumerate(_numbers(values, count, what)):
                setattr(packet, f"{prefix}{index + 1}", value)

    @staticmethod
    def _set_command(packet, command, count):
        text = _text(command, "command")
        if len(text) >= COMMAND_BYTES:
            raise ValueError(f"command is {len(text)} bytes; at most {COMMAND_BYTES - 1} fit")
        if isinstance(count, bool) or not isinstance(count, int):
            raise TypeError("command_count must be an int")
        packet.commandBuffer = text
        packet.commandCount = max(-2**31, min(count, 2**31 - 1))

    def wait_connected(self, timeout=30.0):
        """Waits for State.RUNNING; False on time-out or when the session ended."""
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if self.state == State.RUNNING:
                return True
            if not self.status:
                return False
            time.sleep(0.02)
        return self.state == State.RUNNING

    @property
    def state(self):
        """The state number, a State: RUNNING when connected and running, INITIAL while searching, ..."""
        return lib.zeptaGetState(self._open_handle())

    @property
    def status(self):
        """False once the session stopped: closed, no device found, or the device shut down."""
        return lib.zeptaGetSystemStatus(self._open_handle()) == 1

    @property
    def running(self):
        return lib.zeptaIsRunning(self._open_handle())

    @property
    def device_kind(self):
        """The device kind code, a DeviceKind; NONE until a device is connected."""
        return lib.zeptaGetDevice(self._open_handle())

    @property
    def serial_number(self):
        return (lib.zeptaGetSerialNumber(self._open_handle()) or b"").decode("utf-8", "replace")

    @property
    def app_code(self):
        return (lib.zeptaGetAppCode(self._open_handle()) or b"").decode("utf-8", "replace")

    @property
    def version(self):
        return lib.zeptaGetVersion(self._open_handle()).decode("ascii")

    @property
    def status_ext4(self):
        """The USB device's extended status number; 0 on the LAN."""
        return lib.zeptaGetStatusEXT4(self._open_handle())

    @property
    def origin_mode(self):
        return lib.zeptaGetOriginMode(self._open_handle())

    @origin_mode.setter
    def origin_mode(self, enable):
        lib.zeptaSetOriginMode(self._open_handle(), 1 if enable else 0)

    @property
    def axis_mode(self):
        return AxisMode(lib.zeptaGetAxisProcessingMode(self._open_handle()))

    @axis_mode.setter
    def axis_mode(self, mode):
        lib.zeptaSetAxisProcessingMode(self._open_handle(), int(AxisMode(mode)))

    @property
    def speed_mode(self):
        return SpeedGain(lib.zeptaGetSpeedGainMode(self._open_handle()))

    @speed_mode.setter
    def speed_mode(self, mode):
        lib.zeptaSetSpeedGainMode(self._open_handle(), int(SpeedGain(mode)))

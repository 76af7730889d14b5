"""Loads libzepta and declares the C functions the binding calls."""

import ctypes
import os

from .packet import Packet

LIBRARY_VARIABLE = "ZEPTA_LIBRARY"
SONAME = "libzepta.so.5"
# ZEPTASDK::DefaultZEPTAPacket(), the library's neutral packet.
_DEFAULT_PACKET_SYMBOL = "_ZN8ZEPTASDK18DefaultZEPTAPacketEv"

_PROTOTYPES = {
    "zeptaOpen": (ctypes.c_int, [ctypes.c_char_p]),
    "zeptaOpenSerialAssign": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_char_p]),
    "zeptaClose": (ctypes.c_int, [ctypes.c_int]),
    "zeptaWrite": (ctypes.c_int, [ctypes.c_int, ctypes.POINTER(Packet)]),
    "zeptaSetOriginMode": (None, [ctypes.c_int, ctypes.c_int]),
    "zeptaGetOriginMode": (ctypes.c_bool, [ctypes.c_int]),
    "zeptaSetAxisProcessingMode": (None, [ctypes.c_int, ctypes.c_int]),
    "zeptaGetAxisProcessingMode": (ctypes.c_int, [ctypes.c_int]),
    "zeptaSetSpeedGainMode": (None, [ctypes.c_int, ctypes.c_int]),
    "zeptaGetSpeedGainMode": (ctypes.c_int, [ctypes.c_int]),
    "zeptaGetAppCode": (ctypes.c_char_p, [ctypes.c_int]),
    "zeptaGetSerialNumber": (ctypes.c_char_p, [ctypes.c_int]),
    "zeptaGetState": (ctypes.c_int, [ctypes.c_int]),
    "zeptaGetSystemStatus": (ctypes.c_int, [ctypes.c_int]),
    "zeptaGetDevice": (ctypes.c_int, [ctypes.c_int]),
    "zeptaGetStatusEXT4": (ctypes.c_int, [ctypes.c_int]),
    "zeptaGetVersion": (ctypes.c_char_p, [ctypes.c_int]),
    "zeptaIsRunning": (ctypes.c_bool, [ctypes.c_int]),
    "zeptaGetBackLog": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_int]),
    "zeptaBackLogDataAvailable": (ctypes.c_int, []),
    _DEFAULT_PACKET_SYMBOL: (Packet, []),
}


def _load():
    path = os.environ.get(LIBRARY_VARIABLE) or SONAME
    try:
        library = ctypes.CDLL(path)
    except OSError as error:
        raise ImportError(
            f"cannot load {path} ({error}); install libzepta or set {LIBRARY_VARIABLE} to its path"
        ) from error
    for name, (restype, argtypes) in _PROTOTYPES.items():
        function = getattr(library, name)
        function.restype = restype
        function.argtypes = argtypes
    return library


lib = _load()


def default_packet():
    """The library's neutral packet (axes 0.5, speeds 0.667, acceleration 0.5, rotMR 1)."""
    return getattr(lib, _DEFAULT_PACKET_SYMBOL)()

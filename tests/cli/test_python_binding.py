"""The Python binding end to end: sessions against the USB and the LAN
emulator, bad input, and the packet layout against the C header."""

import ctypes
import math
import os
import re
import unittest

import zepta
from zepta_test_support import DeviceTestCase, wait_until


class PacketLayout(unittest.TestCase):

    def test_structure_matches_the_c_header(self):
        with open(os.environ["ZEPTA_HEADER"]) as header:
            text = header.read()
        size = int(re.search(r"static_assert\(sizeof\(_korve_data_packet\) == (\d+)", text).group(1))
        offsets = dict(re.findall(r"offsetof\(_korve_data_packet, (\w+)\) == (\d+)", text))
        self.assertEqual(len(offsets), len(zepta.Packet._fields_))
        self.assertEqual(ctypes.sizeof(zepta.Packet), size)
        for name, offset in offsets.items():
            self.assertEqual(getattr(zepta.Packet, name).offset, int(offset), name)


class Sessions(DeviceTestCase):

    def assert_connected(self, session):
        if not session.wait_connected():
            self.fail(f"no connection (state {session.state}): {''.join(zepta.backlog())}")

    def test_usb_session(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        with zepta.Session("PYTEST") as session:
            self.assert_connected(session)
            self.assertEqual((session.device_kind, session.serial_number, session.app_code), (3, "EMU00001", "PYTEST"))
            self.assertTrue(session.running)
            session.axis_mode = zepta.AxisMode.MANUAL
            self.assertEqual(session.axis_mode, zepta.AxisMode.MANUAL)
            session.write(axes=(0.25, 0.75, 5.0, -3.0, 0.5, 0.5))
            self.assertTrue(wait_until(lambda: seat.positions() and seat.positions()[-1]["axis1"] == "0.2510"))
            # Out of range: clamped by the library, as for any application.
            self.assertEqual([seat.positions()[-1][f"axis{i}"] for i in (2, 3, 4)], ["0.7490", "0.9804", "0.0196"])
            session.origin_mode = True
            self.assertTrue(wait_until(lambda: seat.positions()[-1]["axis1"] == "0.0000"))
        self.assertIn("USB device found: EMU00001\n", list(zepta.backlog()))
        with self.assertRaises(RuntimeError):
            session.state

    def test_lan_session_selects_the_assigned_serial(self):
        self.lan_device("KORVE6DOF", "OTHER1", "127.0.0.2")
        platform = self.lan_device("KORVE6DOF", "WANTED", "127.0.0.3")
        with zepta.Session("PYTEST", serial="WANTED") as session:
            self.assert_connected(session)
            self.assertEqual((session.device_kind, session.serial_number, session.status_ext4), (3, "WANTED", 0))
            session.write(pose=(0.4, 0, 0, 0, 0, 0))
            self.assertTrue(wait_until(lambda: any(row["axis1"] != "0.5000" for row in platform.positions())))

    def test_bad_input_is_refused_before_it_reaches_the_library(self):
        with zepta.Session("PYTEST") as session:
            cases = [
                (ValueError, dict(pose=(math.nan,))),
                (ValueError, dict(roll=math.inf)),
                (ValueError, dict(axes=[0.5] * 7)),
                (ValueError, dict(command="x" * 256)),
                (ValueError, dict(command="a\0b")),
                (TypeError, dict(axes=("half",))),
                (TypeError, dict(accel=True)),
                (TypeError, dict(rol=0.1)),
                (TypeError, dict(command=3)),
            ]
            for error, arguments in cases:
                with self.subTest(arguments=arguments), self.assertRaises(error):
                    session.write(**arguments)
            with self.assertRaises(ValueError):
                session.axis_mode = 7
        with self.assertRaises(ValueError):
            zepta.Session("A\0B")


if __name__ == "__main__":
    unittest.main()

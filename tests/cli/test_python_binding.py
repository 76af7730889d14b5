"""The Python binding end to end (importing it reads the enumerations and checks the packet layout)."""

import math

import zepta
from zepta_test_support import DeviceTestCase, wait_until


class Sessions(DeviceTestCase):

    def test_usb_session(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        last = lambda axis: seat.positions()[-1][f"axis{axis}"]
        with zepta.Session("PYTEST") as session:
            self.assertTrue(session.wait_connected())
            self.assertEqual((session.device_kind, session.serial_number, session.app_code, session.running),
                             (zepta.DeviceKind.KORVE_6DOF, "EMU00001", "PYTEST", True))
            session.axis_mode = zepta.AxisMode.MANUAL
            # Out of range: clamped by the library, as for any application.
            session.write(axes=(0.25, 0.75, 5.0, -3.0, 0.5, 0.5))
            self.assertTrue(wait_until(lambda: seat.positions() and last(1) == "0.2510"))
            self.assertEqual([last(axis) for axis in (2, 3, 4)], ["0.7490", "0.9804", "0.0196"])
            session.origin_mode = True
            self.assertTrue(wait_until(lambda: last(1) == "0.0000"))
        self.assertIn("USB device found: EMU00001\n", list(zepta.backlog()))
        with self.assertRaises(RuntimeError):
            session.state

    def test_bad_input_is_refused_before_it_reaches_the_library(self):
        with zepta.Session("PYTEST") as session:
            for error, arguments in [(ValueError, dict(pose=(math.nan,))), (ValueError, dict(axes=[0.5] * 7)),
                                     (ValueError, dict(roll=math.inf)), (ValueError, dict(command="x" * 256)),
                                     (ValueError, dict(command="a\0b")), (TypeError, dict(axes=("half",))),
                                     (TypeError, dict(accel=True)), (TypeError, dict(rol=0.1)),
                                     (TypeError, dict(command=3))]:
                with self.subTest(arguments=arguments), self.assertRaises(error):
                    session.write(**arguments)
            with self.assertRaises(ValueError):
                session.axis_mode = 7
        with self.assertRaises(ValueError):
            zepta.Session("A\0B")

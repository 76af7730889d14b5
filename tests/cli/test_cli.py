"""The zepta tool end to end: each command against emulated devices, run as a
user runs it, judged by its exit code, its output and what the devices got."""

import math
import os
import signal
import subprocess
import unittest

from zepta_test_support import DeviceTestCase, read_rows, wait_until

ZEPTA = os.environ.get("ZEPTA_CLI", "zepta")
# One step of the 8-bit position field, plus rounding of the record's four decimals.
USB_TOLERANCE = 1 / 255 + 1e-4
AXES = [f"axis{i}" for i in range(1, 7)]


def zepta(*arguments, timeout=60):
    return subprocess.run([ZEPTA, *arguments], capture_output=True, text=True, timeout=timeout)


def write_motion(path, samples=25, step=0.04):
    """A short drive over all six pose channels, with a column play ignores."""
    with open(path, "w") as file:
        file.write("time,roll,pitch,yaw,heave,sway,surge,note\n")
        for i in range(samples):
            wave = [0.5 * math.sin(i / 4 + phase) for phase in range(6)]
            file.write(f"{100 + i * step:.3f}," + ",".join(f"{v:.4f}" for v in wave) + ",x\n")


class Commands(DeviceTestCase):

    def test_ports_identifies_two_families_and_reports_a_silent_port(self):
        self.usb_device(0, "KORVE6-DEVICE", "--version", "FW 6.01")
        self.usb_device(1, "NEBULO2-DEVICE")
        self.usb_device(2, "KORVE-DEVICE", "--after", "0:silence")
        result = zepta("ports")
        self.assertEqual(result.returncode, 0, result.stderr)
        lines = {line.split()[0]: line for line in result.stdout.splitlines() if line.startswith("/dev/")}
        self.assertRegex(lines["/dev/ttyACM0"], r'"KORVE6-DEVICE"\s+kind 3\s+axes 1,2,3,4,5,6\s+firmware "FW 6.01"')
        self.assertRegex(lines["/dev/ttyACM1"], r'"NEBULO2-DEVICE"\s+kind 100\s+axes 1,2\s')
        self.assertIn("silent", lines["/dev/ttyACM2"])
        self.assertIn("2 motion device(s) on 3 port(s)", result.stdout)

    def test_discover_lists_every_device_that_answers(self):
        self.lan_device("KORVE6DOF", "SEATA1", "127.0.0.2")
        self.lan_device("KORVEGRANDE500QX", "QX500B", "127.0.0.3")
        result = zepta("discover", "--timeout", "1")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("Broadcasting", result.stdout)
        rows = [line.split() for line in result.stdout.splitlines()[2:] if "127.0.0." in line]
        self.assertCountEqual(rows, [["KORVE6DOF", "3", "SEATA1", "127.0.0.2"],
                                     ["KORVEGRANDE500QX", "6", "QX500B", "127.0.0.3"]])

    def test_test_connects_moves_and_parks(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        result = zepta("test", "--pattern", "sine", "--seconds", "2", "--quiet")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("connected: device kind 3", result.stdout)
        self.assertIn("test done", result.stdout)
        self.assertIn("returned to origin (parked)", result.stdout)
        positions = seat.positions()
        self.assertTrue(any(abs(float(row["axis1"]) - 0.5) > 0.05 for row in positions), "the seat never moved")
        self.assertEqual([float(positions[-1][axis]) for axis in AXES], [0.0] * 6, "the seat is not at its origin")

    def test_ctrl_c_parks_and_closes(self):
        seat = self.usb_device(0, "KORVE-DEVICE")
        output = self.path("test.out")
        with open(output, "w") as out:
            test = subprocess.Popen([ZEPTA, "test", "--seconds", "60", "--quiet"], stdout=out, stderr=out)
        try:
            self.assertTrue(wait_until(lambda: "moving" in open(output).read()), open(output).read())
            test.send_signal(signal.SIGINT)
            self.assertEqual(test.wait(10), 0, open(output).read())
        finally:
            test.kill()
        self.assertIn("interrupted", open(output).read())
        last = seat.positions()[-1]
        self.assertEqual([float(last[axis]) for axis in AXES[:4]], [1.0, 0.0, 0.0, 0.502])

    def assert_trace_matches_device(self, trace, positions, tolerance):
        """Each trace row is one frame: the device received exactly one position command between it and the
        next row, and that command carried the row's actuator values."""
        self.assertGreater(len(trace), 10)
        times = [float(row["time"]) for row in trace] + [math.inf]
        for i, row in enumerate(trace):
            received = [p for p in positions if times[i] <= float(p["time"]) < times[i + 1]]
            if i + 1 < len(trace):
                self.assertEqual(len(received), 1, f"frame {i}")
            for axis in AXES:
                if received[0][axis]:
                    self.assertAlmostEqual(float(row[axis]), float(received[0][axis]), delta=tolerance,
                                           msg=f"frame {i} {axis}")

    def test_play_traces_exactly_what_a_usb_seat_received(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        write_motion(self.path("drive.csv"))
        result = zepta("play", self.path("drive.csv"), "--trace", self.path("trace.csv"), "--quiet")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("ignoring columns: note", result.stdout)
        trace = read_rows(self.path("trace.csv"))
        self.assertEqual(float(trace[3]["roll"]), round(0.5 * math.sin(3 / 4), 4))
        self.assert_trace_matches_device(trace, seat.positions(), USB_TOLERANCE)

    def test_play_traces_a_stewart_platform_through_its_kinematics(self):
        platform = self.lan_device("KORVEGRANDE500QX", "QX500C")
        write_motion(self.path("drive.csv"))
        result = zepta("play", self.path("drive.csv"), "--rate", "25", "--trace", self.path("trace.csv"), "--quiet")
        self.assertEqual(result.returncode, 0, result.stderr)
        # The binary record carries positions in steps of 1/10000.
        self.assert_trace_matches_device(read_rows(self.path("trace.csv")), platform.positions(), 2e-4)

    def test_plot_writes_a_png(self):
        trace = self.path("trace.csv")
        with open(trace, "w") as file:
            file.write("time,roll,pitch,yaw,heave,sway,surge,axis1,axis2,axis3,axis4,axis5,axis6\n")
            for i in range(5):
                file.write(f"{i * 0.1},0.{i},0,0,0,0,0,0.5,0.5,0.5,0.5,0.5,0.{i + 1}\n")
        result = zepta("plot", trace, "-o", self.path("trace.png"))
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(self.path("trace.png"), "rb") as png:
            self.assertEqual(png.read(8), b"\x89PNG\r\n\x1a\n")

    def test_bad_arguments_give_exit_code_2_and_one_line(self):
        with open(self.path("nan.csv"), "w") as file:
            file.write("time,roll\n0,0.1\n0.1,nan\n")
        with open(self.path("pose.csv"), "w") as file:
            file.write("time,roll\n0,0.1\n")
        cases = [
            [],
            ["test", "--pattern", "zigzag"],
            ["test", "--seconds", "-1"],
            ["discover", "--timeout", "0"],
            ["play", self.path("missing.csv")],
            ["play", self.path("nan.csv")],
            ["plot", self.path("pose.csv"), "-o", self.path("out.png")],
            ["emulate", "serial"],
        ]
        for arguments in cases:
            with self.subTest(arguments=arguments):
                result = zepta(*arguments)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
                self.assertTrue(result.stderr.startswith("zepta: "), result.stderr)
        self.assertIn("nan.csv:3: roll is not a finite number", zepta("play", self.path("nan.csv")).stderr)

    def test_no_device_gives_exit_code_1_with_state_and_log(self):
        result = zepta("test", "--seconds", "1", "--quiet")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"^zepta: no device connected \(state 6\); last log line: .+\n$")


if __name__ == "__main__":
    unittest.main()

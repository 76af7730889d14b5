"""The zepta tool and the emulator programs end to end, judged by exit code, output and what the devices got."""

import math
import os
import re
import signal
import socket
import subprocess

from zepta_test_support import DeviceTestCase, read_rows, wait_until

ZEPTA = os.environ.get("ZEPTA_CLI", "zepta")
AXES = [f"axis{i}" for i in range(1, 7)]


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=60)


class Commands(DeviceTestCase):

    def test_ports_tells_each_outcome_and_asks_nothing_but_identity_and_version(self):
        seat = self.usb_device(0, "KORVE6-DEVICE", "--version", "FW 6.01")
        for device, identity, *options in [(1, "NEBULO2-DEVICE", "--after", "1:silence"), (2, "HELLO"),
                                           (3, "KORVE-DEVICE", "--after", "0:silence"), (4, "KORVE9-DEVICE")]:
            self.usb_device(device, identity, *options)
        os.symlink("/nonexistent", "/dev/ttyACM5")
        self.addCleanup(os.unlink, "/dev/ttyACM5")
        result = run(ZEPTA, "ports")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertRegex(result.stdout, "".join(f"/dev/ttyACM{port} +{line}.*\n" for port, line in enumerate([
            r'"KORVE6-DEVICE" +kind 3 +axes 1,2,3,4,5,6 +firmware "FW 6.01"',
            r'"NEBULO2-DEVICE" +kind 100 +axes 1,2 +firmware \(no answer\)', 'not a motion device: answered "HELLO"',
            "silent: ", 'unknown family: "KORVE9-DEVICE"', "busy: "])) + r"2 motion device\(s\) on 6 port\(s\)\n$")
        self.assertEqual(re.findall(r"\] ([^;\s]+;)", seat.text()), ["d;", "v;"])  # and bare ";" to clear the line

    def test_discover_lists_each_answering_device_once(self):
        self.lan_device("KORVE6DOF", "SEATA1", "127.0.0.2")
        self.lan_device("KORVEGRANDE500QX", "QX500B", "127.0.0.3")
        self.lan_device("TOASTER", "T1", "127.0.0.4")
        result = run(ZEPTA, "discover", "--timeout", "1")
        self.assertEqual(sorted(line.split()[:4] for line in result.stdout.splitlines() if "127.0.0." in line),
                         [["KORVE6DOF", "3", "SEATA1", "127.0.0.2"], ["KORVEGRANDE500QX", "6", "QX500B", "127.0.0.3"],
                          ["TOASTER", "-", "T1", "127.0.0.4"]])
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("0.0.0.0", 33552))
            result = run(ZEPTA, "discover")
        self.assertEqual((result.returncode, result.stderr), (1, "zepta: cannot listen on UDP port 33552: it is in "
                                                                 "use (is a session searching right now?)\n"))

    def test_ctrl_c_ends_the_test_motion_and_parks(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        test = subprocess.Popen([ZEPTA, "test", "--seconds", "60", "--quiet"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(test.kill)
        self.assertTrue(wait_until(lambda: any(abs(float(row["axis1"]) - 0.5) > 0.05 for row in seat.positions())))
        test.send_signal(signal.SIGINT)
        self.assertEqual(test.wait(10), 0)
        self.assertRegex(test.stdout.read(), r"connected: device kind 3[^\0]*\ninterrupted: \d+ frames sent; returned "
                                             r"to origin \(parked\) and closed the session\n$")
        self.assertEqual([float(seat.positions()[-1][axis]) for axis in AXES], [0.0] * 6)

    def test_play_traces_exactly_what_a_stewart_platform_received_and_plot_draws_the_trace(self):
        platform = self.lan_device("KORVEGRANDE500QX", "QX500C")
        with open(self.path("drive.csv"), "w") as file:
            file.write("time,roll,pitch,yaw,heave,sway,surge,note\n")
            for i in range(25):
                file.write(f"{i * 0.04},{','.join(f'{0.5 * math.sin(i / 4 + c):.4f}' for c in range(6))},x\n")
        trace = self.path("trace.csv")
        result = run(ZEPTA, "play", self.path("drive.csv"), "--rate", "25", "--trace", trace, "--quiet")
        self.assertIn("ignoring columns: note", result.stdout, result.stderr)
        # Each trace row is one frame: one update before the next row, with its actuator values (steps of 1/10000).
        rows, updates = read_rows(trace), platform.positions()
        for row, end in zip(rows, rows[1:]):
            received = [p for p in updates if float(row["time"]) <= float(p["time"]) < float(end["time"])]
            self.assertEqual(len(received), 1, row["time"])
            self.assertEqual([round(float(received[0][a]) - float(row[a]), 3) for a in AXES], [0] * 6)
        self.assertEqual(run(ZEPTA, "plot", trace, "-o", self.path("trace.png")).returncode, 0)
        with open(self.path("trace.png"), "rb") as png:
            self.assertEqual(png.read(8), b"\x89PNG\r\n\x1a\n")

    def test_usage_errors_give_exit_code_2_and_one_line(self):
        with open(self.path("pose.csv"), "w") as file:
            file.write("time,roll\n0,nan\n")
        cases = [[], ["test", "--pattern", "zigzag"], ["discover", "--timeout", "0"],
                 ["play", self.path("missing.csv")], ["play", self.path("pose.csv")], ["emulate", "serial"],
                 ["plot", self.path("pose.csv"), "-o", self.path("out.png")], ["emulate", "usb", "--after", "3"]]
        for command in [[ZEPTA, *arguments] for arguments in cases] + [
                [os.environ["ZEPTA_USB_EMULATOR"], "--calibration-fault", "no-ack:often"],
                [os.environ["ZEPTA_LAN_EMULATOR"], "--flood", "-1"]]:
            result = run(*command)
            self.assertEqual(result.returncode, 2, command)
            self.assertRegex(result.stderr, r"^zepta(-usb-emulator|-lan-emulator)?: [^\n]+\n$")
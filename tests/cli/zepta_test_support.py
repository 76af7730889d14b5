"""Shared by the end-to-end tests of the zepta tool, the Python binding and zepta ride."""

import csv
import os
import shutil
import subprocess
import tempfile
import time
import unittest


def in_sandbox():
    # scripts/sandbox.sh runs its commands in a network namespace other than the one it was made from.
    try:
        with open("/dev/.zepta-sandbox") as marker:
            outer = marker.readline().strip()
        return os.environ.get("ZEPTA_SANDBOX") == "1" and bool(outer) and os.readlink("/proc/self/ns/net") != outer
    except OSError:
        return False


def wait_until(condition, timeout=10.0):
    deadline = time.monotonic() + timeout
    while not condition() and time.monotonic() < deadline:
        time.sleep(0.02)
    return condition()


def read_rows(path):
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


class Emulator(subprocess.Popen):
    """An emulator program, run as a user runs it: its output goes to a file, what it received to a record."""
    def __init__(self, program, arguments, output):
        self.output, self.record = output + ".log", output + ".csv"
        with open(self.output, "w") as out:
            super().__init__([program, *arguments, "--record", self.record], stdout=out)
        # Each program prints one line once it is ready.
        if not wait_until(lambda: "\n" in self.text() or self.poll() is not None) or self.poll() is not None:
            raise RuntimeError(f"{program} did not start")

    def text(self):
        with open(self.output, errors="replace") as output:
            return output.read()

    def positions(self):
        return read_rows(self.record)


class DeviceTestCase(unittest.TestCase):
    """A test with emulated devices; outside the sandbox, where broadcasts reach a real network, it fails."""
    def setUp(self):
        self.assertTrue(in_sandbox(), "refusing to run outside the test sandbox: run it through scripts/sandbox.sh")
        self.directory = tempfile.mkdtemp(prefix="zepta-test-")
        self.addCleanup(shutil.rmtree, self.directory)

    def path(self, name):
        return os.path.join(self.directory, name)

    def usb_device(self, device, identity, *options):
        return self._start("ZEPTA_USB_EMULATOR", f"usb{device}", "--device", f"/dev/ttyACM{device}",
                           "--identity", identity, "--calibration-delay", "0", *options)

    def lan_device(self, model, serial, address="127.0.0.2", *options):
        return self._start("ZEPTA_LAN_EMULATOR", serial, "--model", model, "--serial", serial, "--address", address,
                           *options)

    def _start(self, variable, name, *arguments):
        emulator = Emulator(os.environ[variable], arguments, self.path(name))
        self.addCleanup(emulator.wait, 10)
        self.addCleanup(emulator.terminate)
        return emulator

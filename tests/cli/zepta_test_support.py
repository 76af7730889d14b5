"""Helpers for the end-to-end tests of the zepta tool and the Python binding:
the sandbox check and the emulated devices, run as the programs a user runs.

The programs are named by the environment (set by CTest): ZEPTA_CLI,
ZEPTA_USB_EMULATOR, ZEPTA_LAN_EMULATOR; ZEPTA_LIBRARY names libzepta.
"""

import csv
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

PATIENCE = 10.0
SANDBOX_MARKER = "/dev/.zepta-sandbox"
REFUSAL = ("refusing to run outside the test sandbox: this test opens serial ports or sockets and "
           "the library broadcasts to 255.255.255.255. Run it through scripts/sandbox.sh "
           "(the README's test command does).")


def in_sandbox():
    """True inside scripts/sandbox.sh: a network namespace other than the one it was made from."""
    if os.environ.get("ZEPTA_SANDBOX") != "1":
        return False
    try:
        with open(SANDBOX_MARKER) as marker:
            outer = marker.readline().strip()
        return bool(outer) and os.readlink("/proc/self/ns/net") != outer
    except OSError:
        return False


def wait_until(condition, timeout=PATIENCE):
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() >= deadline:
            return condition()
        time.sleep(0.02)
    return True


def read_rows(path):
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


class Emulator:
    """One emulator program; its output goes to a file, its positions to a record."""

    def __init__(self, program, arguments, directory, name):
        self.output = os.path.join(directory, name + ".log")
        self.record = os.path.join(directory, name + "-record.csv")
        with open(self.output, "w") as output:
            self.process = subprocess.Popen([program, *arguments, "--record", self.record],
                                            stdout=output, stderr=subprocess.STDOUT)
        # Both programs print one line once they are ready.
        if not wait_until(lambda: self._printed() or self.process.poll() is not None):
            raise RuntimeError(f"{name} did not start")
        if self.process.poll() is not None:
            raise RuntimeError(f"{name} ended: {self._text()}")

    def _text(self):
        with open(self.output, errors="replace") as output:
            return output.read()

    def _printed(self):
        return "\n" in self._text()

    def positions(self):
        """The rows of the record: time, command and axis1..axis6 as received."""
        return read_rows(self.record)

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


class DeviceTestCase(unittest.TestCase):
    """A test with emulated devices; it fails at once outside the sandbox."""

    def setUp(self):
        if not in_sandbox():
            self.fail(REFUSAL)
        self.directory = tempfile.mkdtemp(prefix="zepta-test-")
        self.emulators = []

    def tearDown(self):
        for emulator in self.emulators:
            emulator.stop()
        shutil.rmtree(self.directory, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.directory, name)

    def usb_device(self, device, identity, *options):
        """An emulated USB device at /dev/ttyACM<device>; calibration is instant."""
        arguments = ["--device", f"/dev/ttyACM{device}", "--identity", identity, "--calibration-delay", "0",
                     *options]
        return self._start(os.environ["ZEPTA_USB_EMULATOR"], arguments, f"usb{device}")

    def lan_device(self, model, serial, address="127.0.0.2", *options):
        arguments = ["--model", model, "--serial", serial, "--address", address, *options]
        return self._start(os.environ["ZEPTA_LAN_EMULATOR"], arguments, f"lan-{serial}")

    def _start(self, program, arguments, name):
        emulator = Emulator(program, arguments, self.directory, name)
        self.emulators.append(emulator)
        return emulator

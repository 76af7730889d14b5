"""zepta ride end to end: an emulated game drives laps, zepta ride moves an
emulated six-axis seat through libzepta, and the seat's record shows braking
and cornering in the right direction, then a park once the game stops; every
game format is recognised and cued the right way round."""

import json
import os
import re
import subprocess

from zepta_test_support import DeviceTestCase, read_rows, wait_until

ZEPTA = os.environ.get("ZEPTA_CLI", "zepta")
SIX_AXIS_PROFILE = os.environ["SIX_AXIS_PROFILE"]
# One step of the 8-bit position field, plus rounding of the record's four decimals.
USB_TOLERANCE = 1 / 255 + 1e-4
AXES = [f"axis{i}" for i in range(1, 7)]


def zepta(*arguments, timeout=60):
    return subprocess.run([ZEPTA, *arguments], capture_output=True, text=True, timeout=timeout)


def seat_tilt(row):
    """Forward (nose down) and right-side-down tilt of the six-axis seat, from
    how it mixes pitch and roll into its actuators (kind 3)."""
    a = [float(row[axis]) for axis in AXES]
    rear_pair, side_pair, front_pair = (a[0] + a[5]) / 2, (a[1] + a[2]) / 2, (a[3] + a[4]) / 2
    return rear_pair + side_pair - 2 * front_pair, rear_pair - side_pair


def read_text(path):
    with open(path) as file:
        return file.read()


def mean(values):
    values = list(values)
    assert values, "no rows in the interval"
    return sum(values) / len(values)


class Ride(DeviceTestCase):

    def ride(self, *arguments, name="ride"):
        """Starts zepta ride; returns the process, its output file and its start (CLOCK_MONOTONIC)."""
        output = self.path(f"{name}.out")
        with open(output, "w") as out:
            process = subprocess.Popen([ZEPTA, "ride", "--quiet", *arguments], stdout=out, stderr=out)
        text = lambda: read_text(output)
        if not wait_until(lambda: "listening" in text() or process.poll() is not None, timeout=30):
            process.kill()
        self.assertIn("listening", text())
        return process, output, float(re.search(r"CLOCK_MONOTONIC ([0-9.]+) s", text()).group(1))

    def test_laps_move_the_seat_the_right_way_and_it_parks_when_the_game_stops(self):
        seat = self.usb_device(0, "KORVE6-DEVICE")
        trace, record = self.path("trace.csv"), self.path("drive.bin")
        ride, output, start = self.ride("--profile", SIX_AXIS_PROFILE, "--trace", trace, "--record", record,
                                        "--seconds", "15")
        game = subprocess.run([ZEPTA, "emulate", "game", "--format", "forza", "--scenario", "lap", "--seconds", "10"],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual(game.returncode, 0, game.stderr)
        self.assertRegex(game.stdout, r"forza lap: 600 datagrams sent")
        self.assertEqual(ride.wait(60), 0, read_text(output))
        self.assertIn("returned to origin (parked)", read_text(output))

        frames = read_rows(trace)
        wire = [row for row in seat.positions() if row["axis6"] != ""]
        # The last second of each stretch, once the cues have built up.
        braking = [float(r["time"]) + start for r in frames if float(r["accel_fwd"]) < -7.5]
        cornering = [float(r["time"]) + start for r in frames if float(r["accel_left"]) > 7.5]
        during = lambda times: [seat_tilt(r) for r in wire if max(times) - 1 <= float(r["time"]) <= max(times)]
        self.assertGreater(mean(forward for forward, _ in during(braking)), 0.1, "braking must tilt the seat forward")
        self.assertGreater(mean(right for _, right in during(cornering)), 0.1,
                           "a left corner must lower the seat's right side")

        states = [r["safety"] for r in frames]
        self.assertEqual(states[0], "parked")
        self.assertIn("live", states)
        parked = [float(r["time"]) + start for r in frames[states.index("live"):] if r["safety"] == "parked"]
        self.assertTrue(parked, "the seat never parked after the game stopped")
        self.assertEqual(states[-1], "stopping")
        for row in wire:
            if parked[0] + 0.1 <= float(row["time"]) <= parked[-1]:
                self.assertTrue(all(abs(float(row[axis]) - 0.5) <= USB_TOLERANCE for axis in AXES), row)
        self.assertEqual([float(seat.positions()[-1][axis]) for axis in AXES], [0.0] * 6, "not at its origin")

        # The recording plays back through the same pipeline without a device.
        received = re.search(r"(\d+) datagrams received", read_text(output)).group(1)
        replay = zepta("ride", "--replay", record, "--dry-run", "--quiet")
        self.assertEqual(replay.returncode, 0, replay.stderr)
        self.assertIn(f"{received} datagrams received, {received} decoded", replay.stdout)

    def test_every_format_is_recognised_and_braking_tilts_the_seat_forward(self):
        """Each game format on a port of its own, told apart by the automatic
        recognition, through the whole pipeline without a device."""
        formats = ["codemasters", "forza", "beamng", "outsim", "xplane", "f1"]
        rides = {}
        for index, name in enumerate(formats):
            port = str(42000 + index)
            trace = self.path(f"{name}.csv")
            process, output, _ = self.ride("--port", port, "--dry-run", "--trace", trace, "--seconds", "7",
                                           name=name)
            game = subprocess.Popen([ZEPTA, "emulate", "game", "--format", name, "--port", port, "--scenario", "lap",
                                     "--seconds", "6"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            rides[name] = (process, output, trace, game)
        for name, (process, output, trace, game) in rides.items():
            self.assertEqual(game.wait(60), 0, name)
            self.assertEqual(process.wait(60), 0, read_text(output))
            received, decoded = re.search(r"(\d+) datagrams received, (\d+) decoded", read_text(output)).groups()
            self.assertGreater(int(received), 300, name)
            self.assertEqual(decoded, received, name)
            frames = read_rows(trace)
            # The lap brakes hard from its third second on; the tilt builds up
            # over the stop, so its last second is looked at.
            braking = [float(r["time"]) for r in frames if float(r["accel_fwd"]) < -5]
            self.assertTrue(braking, name)
            late = [float(r["out_pitch"]) for r in frames if max(braking) - 1 <= float(r["time"]) <= max(braking)]
            self.assertGreater(mean(late), 0.05, f"{name}: braking must tilt the seat forward")

    def test_bad_files_and_options_give_exit_code_2_before_anything_opens(self):
        truncated = self.path("truncated.bin")
        with open(truncated, "wb") as file:
            file.write(b"ZRIDEDGM\x01\x00\x00\x00" + bytes(12) + b"\x05\x00")
        result = zepta("ride", "--replay", truncated, "--dry-run")
        self.assertEqual((result.returncode, result.stdout),
                         (2, ""))
        self.assertEqual(result.stderr, f"zepta: {truncated}: truncated datagram header at offset 24\n")
        profile = self.path("profile.json")
        with open(profile, "w") as file:
            file.write('{"cueing": {"surge": {"gain": "high"}}}')
        result = zepta("ride", "--profile", profile, "--dry-run")
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, r"^zepta: .*profile\.json: cueing\.surge\.gain: ")
        self.assertEqual(zepta("ride", "--format", "gta").returncode, 2)
        printed = zepta("ride", "--print-profile")
        self.assertEqual(printed.returncode, 0, printed.stderr)
        self.assertEqual(json.loads(printed.stdout)["output"]["speed"], 0.667)

    def test_without_a_device_it_exits_1(self):
        result = zepta("ride", "--seconds", "1", "--quiet", "--serial", "NOSUCHSEAT", timeout=120)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertRegex(result.stderr, r"^zepta: no device connected")

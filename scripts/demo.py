#!/usr/bin/python3
"""A minute in the life of a phone: the real daemon, on the phone board, cools a modelled phone."""

import argparse
import os
import re
import signal
import sys
import time
from contextlib import closing
from pathlib import Path

from phone.board import Board, read_items
from phone.daemon import Daemon, Record, Request
from phone.display import BOLD, DIM, GREEN, RED, Display
from phone.model import Limits, Phone
from phone.thermalctl import Thermalctl
from sandbox import Sandbox, SandboxError

ROOT = Path(__file__).resolve().parent.parent
BOARD = ROOT / "boards" / "phone"
ENVIRONMENT = BOARD / "talmor-thermal.env"
DAY = BOARD / "talmor-thermal.conf"
NIGHT = BOARD / "talmor-thermal_night.conf"

# The phone's heat is hurried so that a minute holds a quarter of an hour; the daemon is not.
PHONE_SECONDS_PER_SECOND = 15
TICK = 0.05
SECONDS = 60
TAKEN_OVER_WITHIN = 5

# What happens at which second: the workload changes, or something is asked of the daemon.
TIMELINE = (
    (5, "load", "game"),
    (20, "scenario", "game"),
    (34, "configuration", NIGHT),
    (46, "load", "idle"),
    (48, "scenario", "Default"),
)

# The case of the phone must stay below what the day's configuration answers with its last level.
CASE_LIMIT = 44.0

# The game goes on after the minute, at the phone's own pace and in virtual time.
NEXT_WORKLOAD = "game"


class Demo:
    """The daemon in its sandbox, the phone that it cools, and the same phone left alone."""

    def __init__(self, box, build, thermalctl):
        self.box = box
        self.thermalctl = thermalctl
        self.board = Board(ENVIRONMENT.read_text())
        self.items = read_items(DAY.read_text())
        self.scenario = "Default"
        self.load = "idle"
        self.phone, self.alone = Phone(), Phone()
        self.peak, self.peak_alone = {}, {}
        self.news = []
        self._install()
        record = box.base / "record"
        self.daemon = Daemon(self.board, Record(record))
        box.start(build / "talmor-thermal",
                  env={"LD_PRELOAD": str(build / "libthermal-capture.so"),
                       "THERMAL_CAPTURE": str(record)})

    def run(self, display):
        timeline = list(TIMELINE)
        start = before = time.monotonic()
        for second in range(SECONDS):
            while timeline and timeline[0][0] <= second:
                self._act(second, *timeline.pop(0)[1:])
            while (now := time.monotonic()) < start + second + 1:
                self._advance(now - before, now - start)
                before = now
                time.sleep(TICK)
            display.second(second + 1, self._shown_temperatures(), self.board.devices,
                           self.news + self.thermalctl.news() + self.daemon.news())
            self.news = []
            if not self.box.running():
                return

    def _install(self):
        self.box.env_file.write_text(ENVIRONMENT.read_text())
        self.box.conf_file.write_text(DAY.read_text())
        for node in self.board.sensor_nodes.values():
            self.box.add_node(node, "0")
        self._write_sensors()
        for device in self.board.devices.values():
            self.box.add_node(device.node)

    def _write_sensors(self):
        for sensor, node in self.board.sensor_nodes.items():
            self.box.write_node(node, str(round(1000 * self.phone.temperature[sensor])))

    def _act(self, second, what, name):
        if what == "load":
            self.load = name
            self.news.append("a game starts" if name == "game" else "screen off, phone idle")
            return
        before = self._items_in_force()
        if what == "scenario":
            what = f"scenario {name}"
            self.scenario = name
            lines = "Changing Scenario Start", f"All scenChangeDone to {name}"
            words = "scenario", name
        else:
            what = "night configuration"
            self.items = read_items(name.read_text())
            lines = "Start to apply new CONF file", "Appling new CONF file is completed"
            words = "reload", name, "--env", self.box.env_file
        request = Request(what, second, *lines, before, self._items_in_force())
        self.daemon.requests.append(request)
        self.thermalctl.ask(what, *words, "--dir", self.box.data_dir)
        self.news.append(f"asks: {what}")

    def _items_in_force(self):
        return [item for item in self.items if item.scenario == self.scenario]

    def _advance(self, elapsed, now):
        self.daemon.follow(now)
        seconds = elapsed * PHONE_SECONDS_PER_SECOND
        self.phone.advance(seconds, self.load, self._limits())
        self.alone.advance(seconds, self.load, Limits())
        self._write_sensors()
        for phone, peak in ((self.phone, self.peak), (self.alone, self.peak_alone)):
            for part, degrees in phone.temperature.items():
                peak[part] = max(peak.get(part, degrees), degrees)

    def _limits(self):
        devices = self.board.devices
        return Limits(
            little=devices["cpu_little"].fraction(),
            big=devices["cpu_big"].fraction(),
            gpu=devices["gpu"].fraction(),
            online_cpus=int(devices["hotplug"].value),
            brightness=devices["backlight"].fraction(),
            charge_amperes=int(devices["charger"].value) / 1000)

    def _shown_temperatures(self):
        """The phone's own, but of the skin what the daemon makes of them."""
        skin = self.daemon.temperature.get("skin")
        return {**self.phone.temperature, "skin": skin and skin / 1000}

    def checks(self):
        """(whether it holds, what) of everything that this minute should have shown."""
        running = self.box.running()
        yield (running, "the daemon ran to the end"
               + ("" if running else ", its last line was: " + self.daemon.last_line.strip()))
        yield (not any(device.strange_writes for device in self.board.devices.values()),
               "every write to a node was an entry of its level table")
        for request in self.daemon.requests:
            seconds = request.seconds
            yield (seconds is not None and seconds <= TAKEN_OVER_WITHIN,
                   f"{request.what} was in force "
                   + (f"{seconds:.1f} s after it was asked for" if seconds else "never"))
            yield (not request.let_go, "  and let go of "
                   + (", ".join(request.let_go) or "no device whose sensor was hot"))
        yield (not self.thermalctl.failures and not self.thermalctl.busy,
               "thermalctl saw each of them through"
               + "".join(f"; {failure}" for failure in self.thermalctl.failures))
        yield (self.peak["case"] < CASE_LIMIT < self.peak_alone["case"],
               f"the case stayed below {CASE_LIMIT:.0f} degrees, which it passes without the"
               " daemon")


def board_is_fit(display, thermalctl):
    fit, said = thermalctl.check(ENVIRONMENT, (DAY, NIGHT))
    display.say(f"thermalctl check: {said}", GREEN if fit else RED)
    display.say()
    return fit


def introduce(display):
    display.say("talmor-thermal on the phone board", BOLD)
    display.say("The daemon is real and keeps its own pace. The phone, on its charger, is a model"
                f" that warms\nand cools {PHONE_SECONDS_PER_SECOND} times faster. case is what the"
                " model knows, skin what the daemon makes of its\nsensors. Frequencies in MHz,"
                " charge in mA, light of 255, cam in frames a second.\n"
                "none let go: no device fell to level 0 while its sensor was hot.")
    display.say()


def conclude(display, demo):
    display.say("\nPeak temperatures, degrees C", BOLD)
    display.say(f"{'':10}{'with the daemon':>16}{'without':>10}", DIM)
    for part in ("case", "battery", "little", "big", "gpu"):
        display.say(f"  {part:8}{demo.peak[part]:16.1f}{demo.peak_alone[part]:10.1f}")
    report = demo.box.host_path(demo.board.report)
    if report.exists() and (lines := report.read_text()):
        display.say("\nIts report file", BOLD)
        display.say(lines.rstrip("\n"))
    display.say("\nIn this minute", BOLD)
    checks = list(demo.checks())
    for holds, what in checks:
        display.say(f"  {'yes' if holds else 'NO '}  {what}", GREEN if holds else RED)
    return 0 if all(holds for holds, _ in checks) else 1


def where_next(display):
    display.say("\nWhere to look next", BOLD)
    display.say("  boards/phone/README.md    why this board is as it is\n"
                "  docs/configuration.md     both files and both control files\n"
                "  docs/thermalctl.md        the tool that checks them and asks the daemon\n"
                "  docs/simulation.md        an hour in a second, and thresholds tuned with it\n"
                "  docs/operating-notes.md   what surprises in operation\n"
                "  scripts/test              all the tests")


def simulate_next_hour(display, demo, folder):
    """From the temperatures that the minute ended with; whether the case keeps its limit."""
    folder.mkdir(exist_ok=True)
    plant = folder / "plant.toml"
    plant.write_text(plant_from(demo.phone.temperature))
    begin = time.monotonic()
    kept, said = demo.thermalctl.simulate(
        "--board", BOARD, "--plant", plant, "--workload", NEXT_WORKLOAD, "--duration", "1h",
        "--limit", f"case={CASE_LIMIT:g}C", "--out", folder)
    seconds = time.monotonic() - begin
    display.say("\nThe next hour", BOLD)
    if not kept:
        display.say(said, RED)
        return False
    display.say(f"  thermalctl simulated an hour of {NEXT_WORKLOAD} in {seconds:.2f} s: the case"
                f" stays below {CASE_LIMIT:.0f} degrees.", GREEN)
    display.say(f"  Open {folder / 'report.html'}", BOLD)
    return True


def plant_from(temperatures):
    text = (BOARD / "plant.toml").read_text()
    for node, celsius in temperatures.items():
        text = re.sub(rf"(\[node\.{node}\]\n.*\ncelsius = ).*", rf"\g<1>{celsius:.3f}", text)
    return text


def stop_on_signals():
    def interrupt(number, _frame):
        for each in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(each, signal.SIG_IGN)  # nothing shall cut the clearing up short
        sys.exit(128 + number)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, interrupt)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build-dir", type=Path, default=ROOT / "build" / "release")
    build = parser.parse_args().build_dir
    stop_on_signals()
    display = Display()
    introduce(display)
    try:
        with closing(Thermalctl(build / "thermalctl")) as thermalctl, Sandbox() as box:
            if not board_is_fit(display, thermalctl):
                return 1
            demo = Demo(box, build, thermalctl)
            demo.run(display)
            status = conclude(display, demo)
            if not simulate_next_hour(display, demo, build / "demo"):
                return 1
            where_next(display)
            return status
    except SandboxError as error:
        print(f"The sandbox could not be built: {error}", file=sys.stderr)
        return 1
    except BrokenPipeError:  # the reader of the pipe has seen enough
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 128 + signal.SIGPIPE


if __name__ == "__main__":
    sys.exit(main())

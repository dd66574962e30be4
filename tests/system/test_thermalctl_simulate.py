"""The simulator against the real daemon, and what its command promises."""

import csv
import hashlib
import os
import re
import subprocess
import sys
import tempfile
import time
import tomllib
from pathlib import Path

import pytest

from daemon import Write

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board, read_sections  # noqa: E402

BOARD = REPOSITORY / "boards" / "phone"
NIGHT = "talmor-thermal_night.conf"
WORKLOADS = ("idle", "game", "camera", "navigation", "benchmark")


def events(out, kind):
    """The (seconds, name, value) of one kind of event in a trace."""
    with open(out / "trace.csv", newline="") as trace:
        return [(int(row["time_ms"]) / 1000, row["name"], row["value"])
                for row in csv.DictReader(trace) if row["event"] == kind]


# The real daemon in a modelled phone. The plant is computed here once more, in small steps and in
# real time, from the file that the simulator reads.

LIVE_SECONDS = 60
FASTEST, FASTEST_PERIOD = "big", 0.25
TICK = 0.004
LONGEST_STEP = 0.002

# Two bursts of work, each over before the phone finds its balance: at a balance the step item
# flutters between two levels, and how often it does in a minute is a matter of microseconds.
LIVE_WORKLOAD = """\
time,little,big,gpu,panel,charger,modem,scenario,configuration
0,0.3,0.1,0.2,1,1,0.2,,
3.1,0.6,1.0,1.0,1,1,0.2,,
11.1,0.6,0.1,1.0,1,1,0.2,,
24.6,,,,,,,game,
29.1,0.6,1.0,1.0,1,1,0.2,,
37.6,,,,,,,,talmor-thermal_night.conf
43.1,0.3,0.0,0.0,0,1,0.2,,
"""

# Workers that decide at the same moment race in the daemon, and a device may pass by a level on its
# way to the one that it gets.
ONE_MOVE = 0.1

# Where the machine has held the daemon up for longer in all, the minute says nothing about it.
STEADY = 0.5
ATTEMPTS = 3

# So that a minute sees both kinds of item going up and down: warm at the start, a big cluster that
# heats and cools faster, and no noise, which the two would not share. Where a temperature creeps
# past a threshold, a change that comes a moment earlier brings the next one much earlier.
LIVE_START = {"little": 45.0, "big": 64.0, "gpu": 58.0, "battery": 35.2, "case": 35.0}


def live_plant():
    text = re.sub(r"noise = .*\n", "", (BOARD / "plant.toml").read_text())
    for node, celsius in LIVE_START.items():
        text = replaced(rf"(\[node\.{node}\]\n.*\n)celsius = .*", rf"\1celsius = {celsius}", text)
    text = replaced(r"(\[node\.big\]\n)joules_per_kelvin = .*", r"\1joules_per_kelvin = 5.0", text)
    text = replaced(r'("big", "case"\]\n)kelvin_per_watt = .*', r"\1kelvin_per_watt = 4.1", text)
    return replaced(r"law = { a = 0\.35, b = [0-9.]+", "law = { a = 0.35, b = 1.0", text)


def replaced(pattern, replacement, text):
    text, changed = re.subn(pattern, replacement, text)
    assert changed == 1, pattern
    return text


@pytest.fixture
def ahead_of_others(monkeypatch):
    """Lets no other work on the machine hold up the plant: its files lie in memory, and its loop
    gets the processor at once. Returns what does the same to the daemon.
    """
    monkeypatch.setattr(tempfile, "tempdir", "/dev/shm")
    try:
        os.sched_setscheduler(0, os.SCHED_RR | os.SCHED_RESET_ON_FORK, os.sched_param(1))
    except PermissionError:  # an ordinary user has to hope for a quiet machine
        yield ()
        return
    yield "chrt", "--rr", "1"
    os.sched_setscheduler(0, os.SCHED_OTHER, os.sched_param(0))


class LivePlant:
    def __init__(self, text, devices):
        plant = tomllib.loads(text)
        self.devices = devices
        self.ambient = plant["ambient"]
        self.capacity = {name: node["joules_per_kelvin"] for name, node in plant["node"].items()}
        self.celsius = {name: node["celsius"] for name, node in plant["node"].items()}
        self.resistances = [(*each["between"], each["kelvin_per_watt"])
                            for each in plant["resistance"]]
        self.sources = plant["source"]
        self.load = {name: source.get("load", 0.0) for name, source in self.sources.items()}
        self.sensors = plant["sensor"]
        self.seen = {name: self.celsius[sensor["node"]] for name, sensor in self.sensors.items()}

    def advance(self, seconds):
        heat = self._heat()
        while seconds > 0:
            step = min(seconds, LONGEST_STEP)
            self._step(step, heat)
            seconds -= step

    def readings(self):
        """Millidegrees by sensor."""
        return {name: round(1000 * sensor["step"] * round(self.seen[name] / sensor["step"]))
                for name, sensor in self.sensors.items()}

    def _step(self, seconds, heat):
        flow = dict(heat)
        for a, b, resistance in self.resistances:
            watts = (self._temperature(a) - self._temperature(b)) / resistance
            flow[a] -= watts
            if b != "ambient":
                flow[b] += watts
        for name, sensor in self.sensors.items():
            behind = self.celsius[sensor["node"]] - self.seen[name]
            lag = sensor.get("lag", 0.0)
            self.seen[name] += behind * (min(1.0, seconds / lag) if lag else 1.0)
        for node, watts in flow.items():
            self.celsius[node] += watts * seconds / self.capacity[node]

    def _temperature(self, node):
        return self.ambient if node == "ambient" else self.celsius[node]

    def _heat(self):
        heat = dict.fromkeys(self.celsius, 0.0)
        for name, source in self.sources.items():
            watts = self._watts(name, source)
            for node, share in source.get("nodes", {source.get("node"): 1.0}).items():
                heat[node] += share * watts
        return heat

    def _watts(self, name, source):
        device = self.devices[source["device"]] if "device" in source else None
        if "law" in source:
            law = source["law"]
            watts = law["a"] + law["b"] * (int(device.value) / law["unit"]) ** 3
        elif device:
            watts = source["watts"][device.level]
        else:
            watts = source["watts"]
        cores = 1.0
        if "cores" in source:
            cores = source["cores"]["share"][self.devices[source["cores"]["device"]].level]
        busy = self.load[name]
        if source.get("work") and busy:
            busy = min(1.0, busy / (device.fraction() * cores)) if device.fraction() else 1.0
        return source.get("idle_watts", 0.0) + busy * cores * watts


class LivePhone:
    """The daemon on the phone board, and the plant that it cools."""

    def __init__(self, daemon, plant_text):
        self.daemon = daemon
        self.board = Board((BOARD / "talmor-thermal.env").read_text())
        self.plant = LivePlant(plant_text, self.board.devices)
        self.nodes = {}
        self.changes = []  # (seconds, device, level)
        self.stalls = []   # (seconds, how long the plant stood still before)
        self._now = 0.0
        self._followed = 0
        self._device_of_file = {Path(device.node).name: device
                                for device in self.board.devices.values() if device.table}
        for name, node in self.board.sensor_nodes.items():
            daemon.box.add_node(node, str(self.plant.readings()[name]))
        for device in self.board.devices.values():
            daemon.box.add_node(device.node)
        daemon.env_text = (BOARD / "talmor-thermal.env").read_text()
        daemon.conf_text = (BOARD / "talmor-thermal.conf").read_text()
        daemon.profile(NIGHT, (BOARD / NIGHT).read_text())

    def run(self, workload, prefix=()):
        self.daemon.started(prefix=prefix)
        self._begin = self.daemon.wait_log_start("[TalmorThermal] Sensor [").time
        rows = list(csv.DictReader(workload.splitlines()))
        while (now := time.monotonic() - self._begin) < LIVE_SECONDS:
            self.stalls.append((now, now - self._now))
            due = [row for row in rows if float(row["time"]) <= now]
            del rows[:len(due)]
            self._catch_up(now, due)
            self._write_sensors()
            time.sleep(TICK)

    def held_up(self, moment):
        """How far the machine may have made both the plant and the daemon late by then."""
        samples = [event.time - self._begin for event in
                   self.daemon.log_events(f"[TalmorThermal] Sensor [{FASTEST}], ")]
        late = sum(max(0.0, after - before - FASTEST_PERIOD)
                   for before, after in zip(samples, samples[1:]) if after <= moment)
        return late + max(stall for at, stall in self.stalls if at <= moment + FASTEST_PERIOD)

    def _catch_up(self, now, rows):
        """Takes what has happened since last time, each at its own time."""
        happened = [(float(row["time"]), lambda row=row: self._take(row)) for row in rows]
        # Looked at once: what arrives meanwhile is for the next time.
        news = self.daemon.refresh()[self._followed:]
        self._followed += len(news)
        for event in news:
            if isinstance(event, Write) and event.name in self._device_of_file:
                happened.append((event.time - self._begin,
                                 lambda event=event: self._take_write(event)))
        for at, take in sorted(happened, key=lambda each: each[0]):
            self._advance(at)
            take()
        self._advance(now)

    def _advance(self, moment):
        if moment > self._now:
            self.plant.advance(moment - self._now)
            self._now = moment

    def _take(self, row):
        for name, cell in row.items():
            if name == "time" or not cell:
                continue
            if name == "scenario":
                self.daemon.ask_scenario(cell)
            elif name == "configuration":
                self.daemon.ask_configuration(cell)
            else:
                self.plant.load[name] = float(cell)

    def _take_write(self, event):
        device = self._device_of_file[event.name]
        before = device.level
        device.follow(event.data)
        assert not device.strange_writes
        if device.level != before:
            self.changes.append((event.time - self._begin, device.name, device.level))

    def _write_sensors(self):
        for name, reading in self.plant.readings().items():
            if self.nodes.get(name) != reading:
                self.daemon.box.write_node(self.board.sensor_nodes[name], str(reading))
                self.nodes[name] = reading


def reactions():
    """Of every item of both configurations, the seconds that it may take from a crossing to the
    change: a period of its sensor until the sample, and one of its own until the decision."""
    sensors = {name: int(keys["sampling"][0]) for name, keys, _ in
               read_sections((BOARD / "talmor-thermal.env").read_text()) if "sampling" in keys}
    return {name: (sensors[keys["sensor"][0]] + int(keys["sampling"][0])) / 1000
            for file in ("talmor-thermal.conf", NIGHT)
            for name, keys, _ in read_sections((BOARD / file).read_text())}


def tolerance(out, moment):
    """The longest reaction of those who had a part in what changed at this moment."""
    if any(at == moment for kind in ("scenario", "configuration") for at, *_ in events(out, kind)):
        return 1.0
    return max(reactions()[name] for at, name, _ in events(out, "algorithm") if at == moment)


def moves(changes, name):
    """(seconds, level) of one device, those that are one move together."""
    result = []
    for at, device, level in changes:
        if device != name:
            continue
        if result and at - result[-1][0] < ONE_MOVE:
            result.pop()
        if not result or result[-1][1] != level:
            result.append((at, level))
    return result


def live_phone(new_daemon, prefix):
    """After its minute, which is repeated if the machine was too busy for it."""
    for _ in range(ATTEMPTS):
        phone = LivePhone(new_daemon(), live_plant())
        phone.run(LIVE_WORKLOAD, prefix)
        phone.daemon.box.stop()
        if phone.held_up(LIVE_SECONDS) < STEADY:
            break
    return phone


def test_the_simulated_daemon_does_what_the_real_one_does(new_daemon, ahead_of_others, simulate,
                                                          tmp_path):
    (tmp_path / "plant.toml").write_text(live_plant())
    (tmp_path / "workload.csv").write_text(LIVE_WORKLOAD)
    simulate("--board", BOARD, "--plant", tmp_path / "plant.toml",
             "--workload", tmp_path / "workload.csv", "--duration", f"{LIVE_SECONDS}s",
             "--out", tmp_path)
    levels = [(at, name, int(level)) for at, name, level in events(tmp_path, "level") if at > 0]
    phone = live_phone(new_daemon, ahead_of_others)

    for name in phone.board.devices:
        simulated, live = moves(levels, name), moves(phone.changes, name)
        told = f"{name}\nsimulated {simulated}\nlive {live}"
        assert [level for _, level in live] == [level for _, level in simulated], told
        for (at, _), (live_at, _) in zip(simulated, live):
            assert abs(live_at - at) <= tolerance(tmp_path, at) + phone.held_up(live_at), told
    moved = {name for _, name, _ in phone.changes}
    assert {"cpu_big", "cpu_little", "gpu", "charger", "backlight"} <= moved


def digest(folder):
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
            for path in folder.iterdir()}


def test_the_same_input_gives_the_same_bytes(simulate, tmp_path):
    tables = [simulate("--board", BOARD, "--workload", "game", "--duration", "20m",
                       "--conf", BOARD / "talmor-thermal.conf", "--conf", BOARD / NIGHT,
                       "--out", tmp_path / folder).out
              for folder in ("first", "second")]
    assert tables[0] == tables[1]
    first, second = digest(tmp_path / "first"), digest(tmp_path / "second")
    assert len(first) == 5
    # The page tells the command, with its folder, and the date.
    assert first.pop("report.html") != second.pop("report.html")
    assert first == second


def test_another_seed_gives_other_noise(simulate, tmp_path):
    for seed in ("1", "2"):
        simulate("--board", BOARD, "--workload", "idle", "--duration", "10s", "--seed", seed,
                 "--out", tmp_path / seed)
    assert events(tmp_path / "1", "temperature") != events(tmp_path / "2", "temperature")


@pytest.mark.parametrize("workload", WORKLOADS)
def test_the_last_threshold_holds_the_skin_in_every_ready_workload(simulate, workload):
    done = simulate("--board", BOARD, "--workload", workload, "--conf",
                    BOARD / "talmor-thermal.conf", "--conf", BOARD / NIGHT, "--limit",
                    "skin=44.5C", "--limit", "node:case=44500mC", "--limit", "battery=45C")
    assert len(re.findall(r"limit \S+ +kept +kept$", done.out, re.M)) == 4


def test_a_film_keeps_its_frames_as_long_as_the_boards_page_says(simulate, tmp_path):
    simulate("--board", BOARD, "--workload", "camera", "--conf", BOARD / "talmor-thermal.conf",
             "--out", tmp_path / "day")
    simulate("--board", BOARD, "--workload", "camera", "--conf", BOARD / NIGHT,
             "--out", tmp_path / "night")
    film = 60  # seconds, from which on it runs
    drops = {name: next(at for at, device, level in events(tmp_path / name, "level")
                        if device == "camera" and level == "1") for name in ("day", "night")}
    assert 15 * 60 <= drops["day"] - film < 16 * 60
    assert 9 * 60 <= drops["night"] - film < 10 * 60


def test_a_limit_that_is_passed_makes_the_status_1(simulate):
    done = simulate("--board", BOARD, "--workload", "game", "--limit", "skin=41C", status=1)
    assert "skin" in done.out


def test_a_limit_that_is_reached_and_not_passed_is_kept(simulate, tmp_path):
    simulate("--board", BOARD, "--workload", "game", "--duration", "20m", "--out", tmp_path)
    peak = max(int(value) for _, name, value in events(tmp_path, "temperature")
               if name == "skin")
    common = ("--board", BOARD, "--workload", "game", "--duration", "20m", "--limit")
    simulate(*common, f"skin={peak}mC")
    simulate(*common, f"skin={peak - 1}mC", status=1)


def test_everything_that_is_wrong_with_the_files_is_told_at_once(simulate, tmp_path):
    (tmp_path / "plant.toml").write_text("[node.die]\njoules_per_kelvin = -1\n")
    (tmp_path / "workload.csv").write_text("time,gpu\nsoon,1\n")
    done = simulate("--board", BOARD, "--plant", tmp_path / "plant.toml",
                    "--workload", tmp_path / "workload.csv", status=2)
    assert done.out == ""
    assert done.err.replace(f"{tmp_path}/", "") == """\
plant.toml: error: the board's sensors 'battery', 'big', 'gpu' and 'little' have no node to read: \
give each a section [sensor.NAME] with its 'node'
plant.toml:1:1: error: 'resistance' is missing: a node and "ambient", or two nodes: no node can cool
    1 | [node.die]
      | ^~~~~~~~~~
plant.toml:2:21: error: 'joules_per_kelvin' must be a number from 1e-06 to 1000000000 J/K
    2 | joules_per_kelvin = -1
      |                     ^~
workload.csv:1:6: error: the plant has no source 'gpu'
    1 | time,gpu
      |      ^~~
workload.csv:2:1: error: 'soon' is no time, such as 90 or 1m30s
    2 | soon,1
      | ^~~~
"""


def test_everything_that_is_wrong_with_the_command_is_told_at_once(simulate):
    done = simulate("--env", "a.env", "--workload", "b.csv", "--duration", "long",
                    "--limit", "skin", status=2)
    assert done.err.splitlines() == [
        "--conf: error: is missing, and there is no --board to take it from",
        "--duration long: error: must be a time above 0, such as 90s or 1h",
        "--limit skin: error: is no limit",
        "      hint: write a sensor, or node: and a node of the plant, and its temperature, such as "
        "skin=43C or node:case=45C",
        "--plant: error: is missing, and there is no --board to take it from",
    ]


def test_of_a_command_line_that_names_nothing_one_thing_is_missing(simulate):
    done = simulate(status=2)
    assert done.err.splitlines() == ["--board: error: is missing",
                                     "      hint: write --board DIR, or name each file with its option"]


def test_files_that_cannot_be_read_or_written_are_named(simulate, tmp_path):
    done = simulate("--env", tmp_path / "none.env", "--conf", tmp_path / "none.conf",
                    "--plant", tmp_path, "--workload", tmp_path / "none.csv", status=2)
    assert done.err.splitlines() == [
        f"{tmp_path}: error: cannot be read: Is a directory",
        *(f"{tmp_path}/none.{kind}: error: cannot be read: No such file or directory"
          for kind in ("conf", "csv", "env"))]
    (tmp_path / "file").write_text("")
    done = simulate("--board", BOARD, "--workload", "idle", "--out", tmp_path / "file", status=2)
    assert str(tmp_path / "file") in done.err


def test_a_long_run_shows_on_a_terminal_how_far_it_is(thermalctl):
    with thermalctl.on_terminal("simulate", "--board", BOARD, "--workload", "idle",
                                "--duration", "20d") as terminal:
        terminal.wait_for(lambda text: re.search(
            r"\r\x1b\[K0 of 1 run, \d+ %, \d+:\d\d:\d\d left", text))


def test_a_short_run_shows_the_table_alone(thermalctl):
    with thermalctl.on_terminal("simulate", "--board", BOARD, "--workload", "idle",
                                "--duration", "1s") as terminal:
        assert terminal.end() == 0
        assert "%)" not in terminal.text and "\x1b[K" not in terminal.text


def resident(thermalctl, out, *words):
    """The most kibibytes that were seen of a game that writes its traces."""
    peak = 0
    run = subprocess.Popen([*thermalctl.command, "simulate", "--board", BOARD, "--workload", "game", *words,
                            "--out", out], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while run.poll() is None:
        seen = re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{run.pid}/status").read_text())
        peak = max(peak, int(seen[1]) if seen else 0)
        time.sleep(0.002)
    assert run.returncode == 0
    return peak


def test_a_study_holds_the_figures_of_its_runs_and_no_traces(thermalctl, tmp_path):
    few, many = (resident(thermalctl, tmp_path / str(seeds), "--seed", f"1..{seeds}", "--duration", "5m",
                          "--only", "csv,results") for seeds in (20, 140))
    trace_of_one = (tmp_path / "140" / "trace.csv").stat().st_size / 140 / 1024
    assert trace_of_one > 250
    assert (many - few) / 120 < trace_of_one / 6


def test_the_trace_grows_with_the_duration_and_the_memory_does_not(thermalctl, tmp_path):
    # The page has room for every sample of two hours.
    short, long = (resident(thermalctl, tmp_path / duration, "--duration", duration) for duration in ("3h", "24h"))
    trace = "trace.csv"
    assert (tmp_path / "24h" / trace).stat().st_size > 7 * (tmp_path / "3h" / trace).stat().st_size
    assert long < 1.3 * short + 1024

"""thermalctl check against the daemon itself, on every text there is in the repository.

What the tool says of a board and a configuration, the daemon does: it ends, or makes these sensors,
devices, items and workers. Of a daemon that goes on, the log of its first moments tells: every real
sensor is sampled at once, each device whose node is not there is named, and a temperature beyond
all thresholds wakes every item in force.
"""

import json
import re
import subprocess
from pathlib import Path

import pytest

from daemon import LIMIT, Daemon, monitor, ss

TESTS = Path(__file__).resolve().parents[1]
EXAMPLES = TESTS / "thermalctl" / "examples"
CORPUS = TESTS / "fuzz" / "corpus"
PHONE = TESTS.parent / "boards" / "phone"

PLATFORM = "/sys/devices/platform"
HOT, COLD = 2**31 - 1, 1 - 2**31
# Sensors of longer periods are not waited for a second time.
PATIENCE = 2000

FAILURE = "[TalmorThermal] [CONF PARSE FAIL] "
SAMPLE = re.compile(r"\[TalmorThermal\] Sensor \[(.*)\], Scen \[Default\] temp\((-?\d+)\)", re.S)
WAKE = re.compile(r"\[TalmorThermal\] Sensor \[(.*)\] activate Algo \[(.*)\], scen \[(.*)\]", re.S)
CLOSED = re.compile(r"\[TalmorThermal\] \[TalmorThermal\] Device \[(.*)\] open failed", re.S)


# The texts: the bytes of an environment file and of a configuration.

def parts_of(path):
    """The boards of an input that also holds what then happens: each configuration with it."""
    parts = re.split(rb"(?m)^----\n", path.read_bytes())
    return [(parts[0], configuration) for configuration in parts[1::2]] or [(parts[0], b"")]


def texts():
    common = (EXAMPLES / "board.env").read_bytes()
    fuzz_board = (TESTS / "thermalctl" / "every-kind.env").read_bytes()
    for stem in sorted({path.with_suffix("") for path in EXAMPLES.glob("*/*")}):
        env, conf = (stem.with_suffix(suffix) for suffix in (".env", ".conf"))
        yield (str(stem.relative_to(EXAMPLES)), env.read_bytes() if env.exists() else common,
               conf.read_bytes() if conf.exists() else b"")
    for path in sorted((CORPUS / "environment").iterdir()):
        yield f"environment/{path.name}", path.read_bytes(), b""
    for path in sorted((CORPUS / "configuration").iterdir()):
        yield f"configuration/{path.name}", fuzz_board, path.read_bytes()
    for path in sorted((CORPUS / "board").iterdir()):
        for number, board in enumerate(parts_of(path), 1):
            yield f"board/{path.name}/{number}", *board
    for path in sorted(PHONE.glob("*.conf")):
        yield f"phone/{path.stem}", (PHONE / "talmor-thermal.env").read_bytes(), path.read_bytes()


def named_texts():
    return [pytest.param(env, conf, id=name) for name, env, conf in texts()]


class Reading(Daemon):
    """The daemon and the tool on one board and one configuration."""

    def __init__(self, build_dir):
        super().__init__(build_dir)
        self.tool = build_dir / "thermalctl"
        self.nodes = []

    def read(self, env, conf):
        self.box.env_file.write_bytes(self._with_own_nodes(env))
        self.box.conf_file.write_bytes(conf)
        self.start(write_files=False)
        return self

    def check(self):
        """What the tool says of the two files."""
        run = subprocess.run(
            [self.tool, "check", "--env", self.box.env_file, "--conf", self.box.conf_file,
             "--format", "json"], stdin=subprocess.DEVNULL, capture_output=True, timeout=LIMIT)
        assert run.stderr == b""
        said = json.loads(run.stdout)
        assert run.returncode == (1 if said["counts"]["errors"] else 0)
        return said

    def thread_count(self):
        # Listing the threads would take a second where the daemon itself is ready in an instant.
        status = Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(r"^Threads:\s*(\d+)$", status, re.M)[1])

    def heat(self, temperature):
        for node in self.nodes:
            self.box.write_node(node, str(temperature))

    def _with_own_nodes(self, env):
        """The file with other paths: the sensors' nodes are there and hot, the devices' are not."""
        lines, kind = [], b""
        for line in env.split(b"\n"):
            words = line.split()
            if not words:
                kind = b""
            elif words[0] == b"type":
                kind = words[-1]
            elif words[0] == b"node_path" and len(words) > 1:
                line = b"node_path " + self._own_node(kind, len(lines)).encode()
            lines.append(line)
        return b"\n".join(lines)

    def _own_node(self, kind, number):
        if kind != b"real":
            return f"{PLATFORM}/not-there/{number}"
        self.nodes.append(self.box.add_node(f"{PLATFORM}/sensor{number}", str(HOT)))
        return self.nodes[-1]

    def _add(self, record):
        if record["kind"] == "log":
            text = bytes.fromhex(record["data"]).decode(errors="replace")
            record = {**record, "data": text.encode().hex()}
        super()._add(record)


@pytest.fixture
def new_reading(build_dir):
    readings = []

    def make():
        readings.append(Reading(build_dir))
        return readings[-1]

    yield make
    for reading in readings:
        reading.close()


@pytest.fixture
def reading(new_reading):
    return new_reading()


@pytest.fixture(scope="module")
def idle_threads(build_dir):
    """The threads of a daemon without sensors and items, a sanitizer's own included."""
    idle = Reading(build_dir).read(b"", b"")
    idle.wait_log("[TalmorThermal] There is no scen name: Default")
    threads = idle.thread_count()
    idle.close()
    return threads


# Names may hold any bytes. The log ends them at a NUL, and each side has its own way of showing what
# is not UTF-8.

def shown(name):
    return re.sub("\ufffd+", "\ufffd", name.partition("\0")[0])


def matches(pattern, reading):
    for event in reading.log_events():
        match = pattern.fullmatch(event.text)
        if match:
            yield event, *map(shown, match.groups())


def says_that_the_daemon_ends(said):
    return any(re.search(r"\bthe daemon ends\b|, and ends because ", finding["message"])
               for finding in said["findings"])


@pytest.mark.parametrize("env, conf", named_texts())
def test_the_tool_says_what_the_daemon_does(reading, idle_threads, env, conf):
    reading.read(env, conf)
    said = reading.check()
    board = said["model"]["environment"]
    configuration, = said["model"]["configurations"]

    reading.wait_log("[TalmorThermal] EnvParse Passed!")
    assert says_that_the_daemon_ends(said) == (configuration["fatal"] is not None)
    if configuration["fatal"]:
        assert reading.wait_exit() == 0
        assert shown(reading.logs()[-1]) == shown(configuration["fatal"]["message"])
    else:
        reading.wait_log("[TalmorThermal] ConfParse Passed!")
    assert {name for _, name in matches(CLOSED, reading)} == {
        shown(device["name"]) for device in board["devices"]}
    if not configuration["fatal"]:
        check_workers(reading, idle_threads, board["sensors"], configuration["items"],
                      replaced="sensor-name-repeated" in {f["rule"] for f in said["findings"]})


def check_workers(reading, idle_threads, sensors, items, replaced):
    real = {shown(sensor["name"]): sensor["sampling"] for sensor in sensors
            if sensor["kind"] == "real"}
    reading.wait(lambda: real.keys() <= {name for _, name, _ in matches(SAMPLE, reading)},
                 f"samples of {sorted(real)}")
    # A replaced sensor is sampled on, but its name means another.
    if not replaced:
        check_sensor_workers(reading, real)
        workers = {sensor["sampling"] for sensor in sensors} | {item["worker"] for item in items}
        reading.wait(lambda: reading.thread_count() == idle_threads + len(workers),
                     f"{len(workers)} workers")
    check_items(reading, real, items)
    assert not [line for line in reading.logs() if line.startswith(FAILURE)]


def check_sensor_workers(reading, real):
    """All sensors of a period, and only those, are sampled by one thread."""
    sampled = {}
    for event, name, _ in matches(SAMPLE, reading):
        sampled.setdefault(event.thread, set()).add(name)
    of_period = {}
    for name, period in real.items():
        of_period.setdefault(period, set()).add(name)
    assert sorted(map(sorted, sampled.values())) == sorted(map(sorted, of_period.values()))


def check_items(reading, real, items):
    """Exactly the items in force wake: a sensor that is hot and then cold wakes each of its own."""
    hot = {name for _, name, temperature in matches(SAMPLE, reading) if temperature == str(HOT)}
    in_force = {(shown(item["sensor"]), shown(item["name"])) for item in items
                if item["scenario"] == "Default" and shown(item["sensor"]) in hot & real.keys()}
    soon = {(sensor, name) for sensor, name in in_force if real[sensor] <= PATIENCE}

    def woken():
        return {(sensor, name) for _, sensor, name, _ in matches(WAKE, reading) if sensor in real}

    reading.heat(COLD)
    reading.wait(lambda: soon <= woken(), f"{sorted(soon)} to wake")
    assert woken() <= in_force


def test_the_periods_are_those_of_the_daemon(reading):
    periods = {"one": 40, "two": 90, "three": 200, "four": 450}
    env = "".join(f"[{name}]\ntype real\nsampling {period}\nnode_path x\n\n"
                  for name, period in periods.items())
    env += "[gpu]\ntype gpufreq\nnode_path x\nlevel_table 3 2 1\n"
    rhythms = {"fast": 60, "slow": 300}
    conf = "SCEN Default\n" + "".join(monitor(name, sensor="one", sampling=rhythm)
                                      for name, rhythm in rhythms.items())
    reading.read(env.encode(), conf.encode())
    said = reading.check()["model"]
    sensors = {sensor["name"]: sensor["sampling"] for sensor in said["environment"]["sensors"]}
    items = {item["name"]: item["sampling"] for item in said["configurations"][0]["items"]}
    assert sensors == periods and items == rhythms
    for name, period in sensors.items():
        assert_period(reading, f"[TalmorThermal] Sensor [{name}], ", period)
    for name, period in items.items():
        assert_period(reading, f"[TalmorThermal] [TalmorThermal] Monitor [{name}] ", period)


def assert_period(reading, start, period):
    """A busy machine only lengthens the time between two lines."""
    reading.wait_log_start(start, count=6)
    times = [event.time for event in reading.log_events(start)]
    shortest = min(later - earlier for earlier, later in zip(times, times[1:]))
    assert period / 1000 <= shortest + 0.002 < 1.5 * period / 1000


def test_the_scenarios_are_those_of_the_daemon(reading):
    env = "[cpu]\ntype real\nsampling 20\nnode_path x\n\n[gpu]\ntype gpufreq\nlevel_table 3 2 1\n"
    conf = ("SCEN game\n" + monitor("a") + ss("b") + "]\n" + monitor("c")
            + "SCEN night\n" + ss("d").rstrip("\n") + "\n]\n" + monitor("e"))
    reading.read(env.encode(), conf.encode())
    said, = reading.check()["model"]["configurations"]
    reading.wait_log("[TalmorThermal] initScenario Passed!")
    assert said["scenarios"] == ["game", "night"]
    assert [item["name"] for item in said["items"]] == list("abcde")
    for scenario in ["Default", *said["scenarios"]]:
        if scenario != "Default":
            reading.switch(scenario)
        expected = {item["name"] for item in said["items"] if item["scenario"] == scenario}
        reading.wait(lambda: expected <= woken_in(reading, scenario), f"{expected} to wake")
        assert woken_in(reading, scenario) == expected


def woken_in(reading, scenario):
    return {name for _, _, name, where in matches(WAKE, reading) if where == scenario}

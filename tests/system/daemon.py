"""The daemon as a test sees it: a board and a configuration, and what is logged and written."""

import json
import os
import sys
from pathlib import Path
from typing import NamedTuple

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
from sandbox import Sandbox, wait_until  # noqa: E402

PREFIX = "[TalmorThermal] "
VERBOSE = 2

# A period in milliseconds for sensors and algorithms where the period itself is not the subject.
FAST = 20

# Far longer than anything takes, so that only what never happens runs into it.
LIMIT = 40.0


class Log(NamedTuple):
    text: str  # without its line feed
    time: float
    thread: int


class Write(NamedTuple):
    name: str  # the file's name without its directories
    data: bytes
    offset: int
    time: float
    thread: int


class Daemon:
    """Collects sections and items, starts the daemon on them, and follows its record of events."""

    def __init__(self, build_dir, emulator=None):
        """`emulator`: the command of qemu that runs programs of another processor."""
        self.box = Sandbox()
        self.binary = build_dir / "talmor-thermal"
        self.emulator = emulator
        self.preloads = [build_dir / "libthermal-capture.so"]
        self.record = self.box.base / "capture"
        self.record.touch()
        self.environment = {
            "THERMAL_CAPTURE": str(self.record),
            "ASAN_OPTIONS": "verify_asan_link_order=0",
            "UBSAN_OPTIONS": "print_stacktrace=1",
            # Each worker holds its sleepMutex while it waits with its loopMutex, and no one else
            # ever holds both: the order that the detector misses cannot lead to a deadlock.
            "TSAN_OPTIONS": "detect_deadlocks=0",
        }
        self.env_text = ""
        self.conf_text = ""
        self.events = []
        self.failures = []
        self._read_position = 0

    # The board and the configuration.

    def path(self, name):
        return self.box.nodes / name

    def node(self, name, text=""):
        return self.box.add_node(self.path(name), text)

    def env(self, text):
        """Adds text to the environment file as it stands, but for @, the directory of the nodes."""
        self.env_text += text.replace("@", str(self.box.nodes))

    def section(self, name, kind, **keys):
        self.env(_block(f"[{name}]", f"type {kind}", keys))

    def sensor(self, name, temperature=20000, sampling=FAST):
        self.node(name, str(temperature))
        self.section(name, "real", sampling=sampling, node_path=f"@/{name}")

    def device(self, name, level_table="0 1 2 3 4 5 6 7 8 9", kind="gpufreq"):
        self.section(name, kind, node_path=f"@/{name}", level_table=level_table)

    def conf(self, text):
        self.conf_text += text

    def scenario(self, name):
        self.conf(f"SCEN {name}\n")

    def monitor(self, name, **keys):
        self.conf(monitor(name, **keys))

    def ss(self, name, **keys):
        self.conf(ss(name, **keys))

    def profile(self, name, text):
        """Puts a further configuration file beside the active one."""
        (self.box.config_dir / name).write_text(text)

    # Running it.

    def write_files(self):
        self.box.env_file.write_text(self.env_text)
        self.box.conf_file.write_text(self.conf_text)

    def start(self, *args, write_files=True, prefix=(), **options):
        if write_files:
            self.write_files()
        preload = "LD_PRELOAD=" + ":".join(map(str, self.preloads))
        # Either way, what is on the way to the daemon runs as ever.
        runner = [self.emulator, "-E", preload] if self.emulator else ["env", preload]
        self.box.start(self.binary, args, self.environment, [*prefix, *runner], **options)

    def started(self, *args, **options):
        """Starts it and waits until start-up is over."""
        self.start(*args, **options)
        self.wait_log("[TalmorThermal] initScenario Passed!")
        return self

    @property
    def pid(self):
        return self.box.process.pid

    def set(self, sensor, temperature):
        self.box.write_node(self.path(sensor), str(temperature))

    def ask_scenario(self, word):
        self.box.write_control("talmor-thermal.scen", word)

    def ask_configuration(self, word):
        self.box.write_control("talmor-thermal.dconf", word)

    def scenario_file(self):
        return (self.box.data_dir / "talmor-thermal.scen").read_text()

    def request_file(self):
        return (self.box.data_dir / "talmor-thermal.dconf").read_text()

    def processor_seconds(self):
        """The processor time that all of its threads have used."""
        fields = open(f"/proc/{self.pid}/stat").read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def thread_count(self):
        """The number of its threads, once the last to start, which answers requests, has started."""
        self.wait_polls(1)
        return self._threads()

    def wait_threads(self, count):
        """Waits until it has so many threads: the kernel lists a joined one for a moment longer."""
        self.wait(lambda: self._threads() == count, f"{count} threads")

    def _threads(self):
        return len(os.listdir(f"/proc/{self.pid}/task"))

    # What it did.

    def refresh(self):
        with open(self.record, "rb") as record:
            record.seek(self._read_position)
            data = record.read()
        complete = data[:data.rfind(b"\n") + 1]
        self._read_position += len(complete)
        for line in complete.splitlines():
            self._add(json.loads(line))
        return self.events

    def mark(self):
        """A position in the record: `since` what has happened so far."""
        return len(self.refresh())

    def logs(self, start="", since=0):
        """The texts of the log, those that begin with `start` alone."""
        return [event.text for event in self._logs(since) if event.text.startswith(start)]

    def log_events(self, start="", since=0):
        return [event for event in self._logs(since) if event.text.startswith(start)]

    def write_events(self, *names, since=0):
        """The writes to these files, in order; without names, to all files."""
        return [event for event in self.refresh()[since:]
                if isinstance(event, Write) and (not names or event.name in names)]

    def writes(self, name, since=0):
        """The texts written to a node, in order."""
        return [event.data.decode() for event in self.write_events(name, since=since)]

    def wait(self, condition, what, timeout=LIMIT):
        def poll():
            result = condition()
            if not result and not self.box.running():
                pytest.fail(f"the daemon ended while waiting for {what}\n{self.story()}")
            return result
        try:
            return wait_until(poll, what, timeout, poll=0.005)
        except TimeoutError as error:
            pytest.fail(f"{error}\n{self.story()}")

    def wait_log(self, text, count=1, since=0):
        """Waits for the count-th line of exactly this text and gives its event."""
        def found():
            matches = [event for event in self._logs(since) if event.text == text]
            return len(matches) >= count and matches[count - 1]
        return self.wait(found, f"{count} x {text!r}")

    def wait_log_start(self, start, count=1, since=0):
        """Waits for the count-th line that begins so and gives its event."""
        def found():
            matches = self.log_events(start, since)
            return len(matches) >= count and matches[count - 1]
        return self.wait(found, f"{count} x {start!r}...")

    def wait_writes(self, name, texts, since=0):
        """Waits until exactly these texts have been written to the node."""
        self.wait(lambda: self.writes(name, since)[:len(texts)] == texts or
                  len(self.writes(name, since)) > len(texts), f"{texts} written to {name}")
        assert self.writes(name, since) == texts

    def wait_samples(self, sensor, count, since=None):
        """Waits for further samples of a sensor."""
        since = self.mark() if since is None else since
        return self.wait_log_start(f"[TalmorThermal] Sensor [{sensor}], ", count, since)

    def wait_decisions(self, monitor_name, count):
        """Waits for further decisions of a monitor."""
        return self.wait_log_start(monitor_line(monitor_name), count, self.mark())

    def wait_polls(self, count):
        """Waits until the control files have been polled so many times from now on.

        The answers to requests for files that are not there tell; each poll looks at the scenario
        file first.
        """
        for _ in range(count):
            mark = self.mark()
            self.ask_configuration("no-such-file")
            self.wait_log("[TalmorThermal] There is no conf file: no-such-file", since=mark)
            self.wait(lambda: self.request_file() == "PARSED", "the request to be answered")

    def wait_scenario(self, name, since=0):
        self.wait_log(f"[TalmorThermal] All scenChangeDone to {name}", since=since)

    def wait_swap(self, since=0):
        self.wait_log("[TalmorThermal] Appling new CONF file is completed", since=since)

    def switch(self, name):
        """Has a scenario put in force."""
        mark = self.mark()
        self.ask_scenario(name)
        self.wait_scenario(name, mark)
        return mark

    def swap(self, name, text=None):
        """Has a configuration file put in force, writing it first if its text is given."""
        if text is not None:
            self.profile(name, text)
        mark = self.mark()
        self.ask_configuration(name)
        self.wait_swap(mark)
        return mark

    def wait_exit(self):
        return self.box.wait(LIMIT)

    def story(self):
        lines = [repr(event) for event in self.refresh()[-40:]]
        return "\n".join([*lines, f"status: {self.box.process.poll()}", self.box.stderr()])

    def close(self):
        self.box.stop()
        self.refresh()
        stderr = self.box.stderr()
        self.box.close()
        assert self.failures == []
        assert stderr == "", stderr

    def _logs(self, since):
        return [event for event in self.refresh()[since:] if isinstance(event, Log)]

    def _add(self, record):
        data = bytes.fromhex(record["data"])
        time, thread = record["time"] / 1e9, record["thread"]
        if record["kind"] == "log":
            self._add_log(record, data.decode(), time, thread)
        else:
            self._add_write(Write(os.path.basename(record["path"]), data, record["offset"], time,
                                  thread))

    def _add_log(self, record, text, time, thread):
        if (record["priority"], record["tag"]) != (VERBOSE, "echo-service"):
            self.failures.append(f"logged otherwise than verbose by echo-service: {record}")
        if not text.startswith(PREFIX) or not text.endswith("\n"):
            self.failures.append(f"log line without its prefix or its line feed: {text!r}")
        self.events.append(Log(text[:-1], time, thread))

    def _add_write(self, event):
        # A stream may hand one text over in pieces, each directly behind the one before.
        for i in range(len(self.events) - 1, -1, -1):
            last = self.events[i]
            if isinstance(last, Write) and last.name == event.name:
                if event.offset and event.offset == last.offset + len(last.data):
                    self.events[i] = last._replace(data=last.data + event.data)
                    return
                break
        self.events.append(event)


def monitor(name, **keys):
    """A monitor's item: one threshold on "cpu" drives "gpu" to level 1, but for the keys given."""
    return _block(f"[{name}]", "algo_type monitor", {
        "sensor": "cpu", "sampling": FAST, "thresholds": "50000", "thresholds_clr": "45000",
        "actions": "gpu", "action_info": "1", **keys})


def ss(name, **keys):
    """An SS item: steps "gpu" from 40 degrees of "cpu" on, but for the keys given."""
    return _block(f"[{name}]", "algo_type ss", {
        "sensor": "cpu", "device": "gpu", "sampling": FAST, "set_point": 40000,
        "set_point_clr": 35000, **keys})


def sample_line(sensor, temperature, scenario="Default"):
    return f"[TalmorThermal] Sensor [{sensor}], Scen [{scenario}] temp({temperature})"


def virtual_line(sensor, temperature):
    return f"[TalmorThermal] Sensor[{sensor}] temp({temperature})"


def activate_line(sensor, algorithm, scenario="Default"):
    return f"[TalmorThermal] Sensor [{sensor}] activate Algo [{algorithm}], scen [{scenario}]"


def deactivate_line(sensor, algorithm, scenario):
    return f"[TalmorThermal] Sensor [{sensor}] deactivate Algo [{algorithm}], scen [{scenario}]"


def monitor_line(name, temperature=None, old=None, new=None):
    """The line of a monitor's decision, or the beginning that all of its lines share."""
    start = f"[TalmorThermal] [TalmorThermal] Monitor [{name}] "
    return start if temperature is None else f"{start}temp({temperature}) status({old} -> {new})"


def ss_line(name, before=None, now=None, request=None):
    """The line of an SS step, or the beginning that all of its lines share."""
    start = f"[TalmorThermal] [TalmorThermal] SS [{name}] "
    return start if before is None else f"{start}temp({before}->{now}) status({request})"


def ss_stop_line(name, before, now, status):
    return f"{ss_line(name)}temp({before}->{now}) status({status} -> 0)"


def _block(header, kind, keys):
    lines = [f"{key} {value}" for key, value in keys.items() if value is not None]
    return "\n".join([header, kind, *lines]) + "\n\n"

"""Nodes and files that fail, vanish or take their time, and all that goes on beside them."""

import errno
import os
import re
import signal
from pathlib import Path

import pytest

from daemon import FAST, activate_line, monitor, monitor_line, sample_line
from sandbox import replace_file

SLOW = 2.0  # seconds that a slow call takes
MONITOR = "[TalmorThermal] [TalmorThermal] Monitor"
REFUSALS = pytest.mark.parametrize("error", ["EINVAL", "EBUSY", "EPERM"])


class Faults:
    """Has calls on the daemon's files fail or take long, from the moment an order is given."""

    def __init__(self, daemon, build_dir):
        self._daemon = daemon
        self._directory = daemon.box.base / "faults"
        self._directory.mkdir()
        daemon.preloads.append(build_dir / "libthermal-faults.so")
        daemon.environment["THERMAL_FAULTS"] = str(self._directory)

    def start(self):
        return self._daemon.started()

    def once(self, operation, name, error="", seconds=0.0):
        """Concerns the next such call alone, which begins by deleting the order."""
        return self._give(f"{name}.{operation}.once", error, seconds)

    def for_good(self, operation, name, error="", seconds=0.0):
        return self._give(f"{name}.{operation}", error, seconds)

    def wait_taken(self, order):
        self._daemon.wait(lambda: not order.exists(), f"{order.name} to be obeyed")

    def _give(self, name, error, seconds):
        order = self._directory / name
        replace_file(order, f"{getattr(errno, error) if error else 0} {int(seconds * 1000)}")
        return order


@pytest.fixture
def faults(daemon, build_dir):
    return Faults(daemon, build_dir)


@pytest.fixture
def board(daemon):
    """What a test disturbs, "cpu", and what must not notice: "skin" and "lcd", of other threads."""
    daemon.sensor("cpu", 20000)
    daemon.sensor("near", 20000)  # of the same thread as "cpu"
    daemon.sensor("skin", 20000, sampling=FAST + 10)
    daemon.device("gpu")
    daemon.device("lcd")
    daemon.scenario("Default")
    daemon.monitor("warm", sensor="skin", sampling=FAST + 10, actions="lcd")
    return daemon


def check_others_go_on(board):
    mark = board.mark()
    board.set("skin", 60000)
    board.wait_writes("lcd", ["1"], mark)
    board.set("skin", 20000)
    board.wait_writes("lcd", ["1", "0"], mark)


def check_the_same_thread_goes_on(board):
    mark = board.mark()
    board.set("near", 41000)
    board.wait_log(sample_line("near", 41000), since=mark)
    board.set("near", 20000)


def remarks(board, since=0):
    """What has been logged but for the samples, what they wake and what monitors decide."""
    return [line for line in board.logs(since=since)
            if not line.startswith(("[TalmorThermal] Sensor", MONITOR))]


# A read that fails.

@pytest.mark.parametrize("lasting", ["once", "for_good"])
@pytest.mark.parametrize("error", ["EIO", "EAGAIN", "ENODEV"])
def test_a_read_that_fails_leaves_its_sensor_at_zero_and_its_device_free(board, faults, error,
                                                                         lasting):
    board.monitor("hot")
    board.set("cpu", 60000)
    faults.start()
    board.wait_writes("gpu", ["1"])
    mark = board.mark()
    getattr(faults, lasting)("read", "cpu", error)
    board.wait_log(sample_line("cpu", 0))
    board.wait_writes("gpu", ["1", "0"])
    board.set("cpu", 70000)
    zero = board.mark()
    board.wait_samples("cpu", 10, zero)
    assert set(board.logs("[TalmorThermal] Sensor [cpu]", zero)) == {sample_line("cpu", 0)}
    check_the_same_thread_goes_on(board)
    check_others_go_on(board)
    assert remarks(board, mark) == []


def test_after_a_failed_read_the_node_is_not_read_again(board, faults):
    faults.start()
    faults.once("read", "cpu", "EIO")
    board.wait_log(sample_line("cpu", 0))
    next_read = faults.once("read", "cpu", "EIO")
    board.wait_samples("cpu", 10)
    assert next_read.exists()


def test_a_sensor_whose_first_read_fails_is_at_zero_from_the_start(board, faults):
    board.set("cpu", 60000)
    faults.once("read", "cpu", "ENODEV")
    faults.start()
    board.wait_samples("cpu", 10, since=0)
    assert set(board.logs("[TalmorThermal] Sensor [cpu]")) == {sample_line("cpu", 0)}
    check_the_same_thread_goes_on(board)
    check_others_go_on(board)


# A node that disappears.

def test_a_sensor_goes_on_with_the_node_it_opened_when_that_is_deleted(board):
    board.started()
    node = os.open(board.path("cpu"), os.O_WRONLY)
    board.path("cpu").unlink()
    board.sensor("cpu", 70000)
    os.pwrite(node, b"45000", 0)
    os.close(node)
    mark = board.mark()
    board.wait_log(sample_line("cpu", 45000))
    board.wait_samples("cpu", 10, mark)
    assert sample_line("cpu", 70000) not in board.logs()


def test_a_device_goes_on_with_the_node_it_opened_when_that_is_deleted(board):
    board.monitor("hot")
    board.started()
    node = os.open(board.path("gpu"), os.O_RDONLY)
    board.path("gpu").unlink()
    board.node("gpu", "")
    board.set("cpu", 60000)
    board.wait_decisions("hot", 2)
    assert os.pread(node, 10, 0) == b"1"
    os.close(node)
    assert board.path("gpu").read_bytes() == b""


class Pair:
    """Two ends of a virtual Ethernet pair in the daemon's own network; the kernel's nodes."""

    PREFIX = ["sh", "-ec", 'ip link add probe type veth peer name knob; exec "$@"', "sh"]

    def __init__(self, board):
        self._board = board

    def start(self):
        self._board.started(prefix=self.PREFIX, network=True)

    def set(self, end, mtu):
        self._run("set", "dev", end, "mtu", str(mtu))

    def mtu(self, end):
        words = self._run("show", "dev", end).split()
        return int(words[words.index("mtu") + 1])

    def delete(self):
        self._run("delete", "dev", "probe")

    def add(self):
        self._run("add", "probe", "type", "veth", "peer", "name", "knob")

    def _run(self, *words):
        return self._board.box.run(["ip", "-o", "link", *words])


def test_a_sensor_of_a_kernel_device_that_goes_away_stays_at_zero_when_it_comes_back(board):
    board.section("probe", "real", sampling=FAST, node_path="/sys/class/net/probe/mtu")
    board.monitor("hot", sensor="probe", thresholds=2000, thresholds_clr=1900)
    pair = Pair(board)
    pair.start()
    pair.set("probe", 3000)
    board.wait_writes("gpu", ["1"])
    mark = board.mark()
    pair.delete()
    board.wait_log(sample_line("probe", 0))
    board.wait_writes("gpu", ["1", "0"])
    pair.add()
    pair.set("probe", 3000)
    back = board.mark()
    board.wait_samples("probe", 10, back)
    assert set(board.logs("[TalmorThermal] Sensor [probe]", back)) == {sample_line("probe", 0)}
    check_the_same_thread_goes_on(board)
    check_others_go_on(board)
    assert remarks(board, mark) == []


def test_a_kernel_device_that_goes_away_is_offered_nothing_when_it_comes_back(board):
    board.section("knob", "gpufreq", node_path="/sys/class/net/knob/mtu",
                  level_table="1500 1400 1300")
    ladder(board, "knob")
    pair = Pair(board)
    pair.start()
    pair.delete()
    climb(board, 1)
    pair.add()
    climb(board, 2)
    climb(board, 0)
    # Some kernels refuse the seek already, others only the write.
    offered = [event.data for event in board.write_events() if "mtu" in event.name]
    assert offered in ([], [b"1400"])
    assert pair.mtu("knob") == 1500
    check_others_go_on(board)


# A read that takes long.

def test_a_slow_read_holds_up_the_sensors_of_its_thread_alone(board, faults):
    board.monitor("hot")
    board.set("cpu", 60000)
    faults.start()
    board.wait_writes("gpu", ["1"])
    faults.wait_taken(faults.once("read", "cpu", seconds=SLOW))
    mark = board.mark()
    board.wait_samples("skin", 5, mark)
    check_others_go_on(board)
    # The algorithms of the waiting sensor go by what it read last.
    board.wait_decisions("hot", 2)
    assert board.logs("[TalmorThermal] Sensor [cpu]", mark) == []
    assert board.logs("[TalmorThermal] Sensor [near]", mark) == []
    board.wait_samples("cpu", 5, mark)
    for name in ("cpu", "near"):
        assert longest_gap(board, name) >= SLOW
    assert board.writes("gpu") == ["1"]


def test_a_switch_waits_for_a_slow_read(board, faults):
    board.monitor("hot")
    board.conf("SCEN game\n" + monitor("play", action_info=2))
    board.set("cpu", 60000)
    faults.start()
    board.wait_writes("gpu", ["1"])
    board.wait_polls(1)  # the next poll is almost a second away
    board.ask_scenario("game")
    faults.wait_taken(faults.once("read", "talmor-thermal.scen"))
    mark = board.mark()
    # The request has been read now, and is carried out a second later: amid this read.
    faults.wait_taken(faults.once("read", "cpu", seconds=SLOW))
    board.wait_scenario("game", mark)
    slow_read, first = longest_gap_events(board, "cpu")
    assert first.time - slow_read.time >= SLOW
    logs = board.log_events(since=mark)
    start, all_done = (next(event for event in logs if event.text.startswith(text)) for text in (
        "[TalmorThermal] Changing Scenario Start (Default->game)",
        "[TalmorThermal] All scenChangeDone to game"))
    assert slow_read.time < start.time < first.time < all_done.time
    assert first.text == sample_line("cpu", 60000, "Default")
    woken = board.wait_log(activate_line("cpu", "play", "game"))
    assert first.time < woken.time < all_done.time
    board.wait(lambda: board.writes("gpu") == ["1", "2"], "the level of the new scenario")


def longest_gap_events(board, sensor):
    """The two samples of a sensor that lie the furthest apart."""
    samples = board.log_events(f"[TalmorThermal] Sensor [{sensor}], ")
    return max(zip(samples, samples[1:]), key=lambda pair: pair[1].time - pair[0].time)


def longest_gap(board, sensor):
    before, after = longest_gap_events(board, sensor)
    return after.time - before.time


# A write that is refused.

def ladder(board, device, kind=None):
    """Has "hot" take a device and a witness from level to level with the temperature of "cpu"."""
    if kind is not None:
        board.device(device, kind=kind)
    board.device("witness")
    board.monitor("hot", thresholds="50000 60000 70000", thresholds_clr="45000 55000 65000",
                  actions=" ".join([f"{device}+witness"] * 3), action_info="1+1 2+2 3+3")


def climb(board, level):
    """Takes the ladder to a level, and waits until the witness behind the device has followed."""
    mark = board.mark()
    board.set("cpu", 40000 + 10000 * level)
    board.wait_writes("witness", [str(level)], mark)


@REFUSALS
@pytest.mark.parametrize("kind", ["gpufreq", "cpufreq", "camera"])
def test_a_refused_write_is_the_last_that_its_device_is_offered(board, faults, kind, error):
    ladder(board, "knob", kind)
    faults.start()
    mark = board.mark()
    climb(board, 1)
    refused = faults.once("write", "knob", error)
    climb(board, 2)
    assert not refused.exists()
    held = board.path("knob").read_bytes()
    next_write = faults.once("write", "knob", error)
    climb(board, 3)
    climb(board, 0)
    climb(board, 1)
    assert next_write.exists()
    assert [event.data for event in board.write_events("knob")] == [held, second_entry(kind)]
    assert board.path("knob").read_bytes() == held
    check_others_go_on(board)
    assert remarks(board, mark) == []


def second_entry(kind):
    return b"\x02\0\0\0" if kind == "cpufreq" else b"2"


@REFUSALS
def test_the_level_goes_on_past_a_refused_write(board, faults, error):
    # A camera tells its level: it fixes the frame rate when it leaves level 0, and only then.
    ladder(board, "cam", "camera")
    faults.for_good("write", "cam", error)
    faults.start()
    for level in (1, 2, 3, 0, 1):
        climb(board, level)
    assert [(event.name, event.data) for event in board.write_events("en_fixed_sensor_fps", "cam")
            ] == [("en_fixed_sensor_fps", b"1"), ("cam", b"1"), ("en_fixed_sensor_fps", b"0"),
                  ("en_fixed_sensor_fps", b"1")]


@REFUSALS
def test_a_refused_frame_rate_is_not_tried_again_but_the_next_is_tried(board, faults, error):
    ladder(board, "cam", "camera")
    faults.start()
    refused = faults.once("write", "en_fixed_sensor_fps", error)
    climb(board, 1)
    assert not refused.exists()
    climb(board, 2)
    climb(board, 0)
    assert [(event.name, event.data) for event in board.write_events("en_fixed_sensor_fps", "cam")
            ] == [("en_fixed_sensor_fps", b"1"), ("cam", b"1"), ("cam", b"2"),
                  ("en_fixed_sensor_fps", b"0"), ("cam", b"0")]
    assert (board.box.camera_dir / "en_fixed_sensor_fps").read_text() == "0"


@REFUSALS
def test_a_refused_report_is_the_last(board, faults, error):
    board.section("report", "report", node_path="@/report")
    board.monitor("hot", actions="report+gpu", action_info="1+1")
    faults.start()
    mark = board.mark()
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["1"])
    refused = faults.once("write", "report", error)
    board.set("cpu", 20000)
    board.wait_writes("gpu", ["1", "0"])
    assert not refused.exists()
    next_write = faults.once("write", "report", error)
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["1", "0", "1"])
    assert next_write.exists()
    offered = b"".join(event.data for event in board.write_events("report")).decode()
    assert [line.split(" : ")[1] for line in offered.splitlines()] == [
        "[hot] Over Thresholds, currenct Status(1)", "[hot] Under Thresholds Clear"]
    assert board.path("report").read_text() == offered.splitlines(keepends=True)[0]
    check_others_go_on(board)
    assert remarks(board, mark) == []


# A write that takes long.

def test_a_slow_write_holds_up_the_algorithms_of_its_device_alone(board, faults):
    board.monitor("hot")
    board.monitor("rival", sampling=FAST + 1, action_info=2)
    board.sensor("pace", 60000)
    board.monitor("pace", sensor="pace", sampling=FAST + 2, actions="nothing")
    faults.start()
    order = faults.once("write", "gpu", seconds=SLOW)
    board.set("cpu", 60000)
    faults.wait_taken(order)
    # Both have decided: one of them writes, and the other waits for it.
    board.wait_log(monitor_line("hot", 60000, 0, 1))
    board.wait_log(monitor_line("rival", 60000, 0, 1))
    mark = board.mark()
    check_others_go_on(board)
    board.wait_decisions("pace", 2)
    board.wait_samples("cpu", 5, mark)
    assert board.logs(monitor_line("hot"), mark) + board.logs(monitor_line("rival"), mark) == []
    board.wait_decisions("hot", 2)
    board.wait_decisions("rival", 2)
    assert board.writes("gpu")[-1] == "2"
    assert board.path("gpu").read_text() == "2"


# A report that nobody takes.

class Pipe:
    """A named pipe in the place of a node, whose reader does not read until it is told to."""

    SIZE = 4096

    def __init__(self, path):
        os.mkfifo(path)
        self._reader = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
        self._path = path

    def fill(self):
        writer = os.open(self._path, os.O_WRONLY | os.O_NONBLOCK)
        with pytest.raises(BlockingIOError):
            while True:
                os.write(writer, b"x" * self.SIZE)
        os.close(writer)

    def drain(self):
        """What has been written since, without what it was filled with."""
        data = b""
        try:
            while piece := os.read(self._reader, self.SIZE):
                data += piece
        except BlockingIOError:
            pass
        return data.decode().lstrip("x")

    def close(self):
        os.close(self._reader)


@pytest.fixture
def pipe(board):
    pipe = Pipe(board.path("pipe"))
    yield pipe
    pipe.close()


@pytest.fixture
def stuck(board, pipe):
    """A board whose monitor "hot" cannot get its report off."""
    board.section("report", "report", node_path="@/pipe")
    board.monitor("hot", actions="report+gpu", action_info="1+1")
    board.monitor("neighbour")
    board.started()
    pipe.fill()
    board.set("cpu", 60000)
    board.wait_log(monitor_line("hot", 60000, 0, 1))
    # Behind it in the walk, which may be held up once its worker is awake.
    board.wait_log("[TalmorThermal] Sensor [cpu] activate Algo [neighbour], scen [Default]")
    return board


def test_a_report_that_blocks_holds_up_its_worker_alone(stuck, pipe):
    board = stuck
    mark = board.mark()
    board.wait_samples("cpu", 10, mark)
    check_the_same_thread_goes_on(board)
    check_others_go_on(board)
    # Neither the algorithms behind it nor the devices behind the report get their turn.
    assert [line for line in board.logs(since=mark) if "[hot]" in line or "[neighbour]" in line
            ] == []
    assert board.writes("gpu") == []
    report = pipe.drain()
    board.wait_writes("gpu", ["1"])
    board.wait_log(monitor_line("neighbour", 60000, 0, 1))
    board.wait_decisions("hot", 2)
    report += pipe.drain()
    assert report.endswith(" : [hot] Over Thresholds, currenct Status(1)\n")
    assert report.count("\n") == 1


def test_a_swap_waits_for_a_worker_whose_report_blocks_while_sampling_goes_on(stuck, pipe):
    board = stuck
    mark = board.mark()
    board.profile("new.conf", board.conf_text)
    board.ask_configuration("new.conf")
    board.wait_log("[TalmorThermal] All scenChangeDone to Default", count=2, since=mark)
    board.wait_samples("cpu", 20)
    check_others_go_on(board)
    assert board.logs("[TalmorThermal] Appling", mark) == []
    pipe.drain()
    board.wait_swap(mark)
    board.wait_decisions("hot", 5)
    assert board.writes("gpu")[-1] == "1"


def test_a_report_whose_reader_has_gone_is_lost_without_a_word(board):
    pipe = Pipe(board.path("pipe"))
    board.section("report", "report", node_path="@/pipe")
    board.monitor("hot", actions="report+gpu", action_info="1+1")
    board.started()
    pipe.close()
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["1"])
    board.set("cpu", 20000)
    board.wait_writes("gpu", ["1", "0"])
    board.wait_samples("cpu", 5)
    assert board.logs("[TalmorThermal] [TalmorThermal] Device") == []


def ignored_signals(process):
    """Bit n - 1 stands for signal n."""
    status = Path(f"/proc/{process}/status").read_text()
    return int(re.search(r"^SigIgn:\s*(\w+)", status, re.MULTILINE)[1], 16)


def test_no_signal_but_that_of_a_pipe_is_ignored(board):
    board.started()
    pipe = 1 << (signal.SIGPIPE - 1)
    by_python_alone = pipe | 1 << (signal.SIGXFSZ - 1)
    # Those that were ignored before it began, by nohup for example, are not its own; an emulator hides them.
    inherited = ignored_signals("self") & ~by_python_alone
    assert ignored_signals(board.pid) & ~inherited == pipe


def test_a_device_that_cannot_be_rewound_is_never_written(board, pipe):
    board.section("knob", "gpufreq", node_path="@/pipe", level_table="0 1 2 3")
    ladder(board, "knob")
    board.started()
    for level in (1, 2, 0):
        climb(board, level)
    assert pipe.drain() == ""


# A full disk.

class Disk:
    """A disk of its own for /data/vendor/thermal, of as many pages of 4 KiB."""

    def __init__(self, board):
        self._board = board

    def start(self, pages, prepare="true"):
        """Starts the daemon once `prepare` has been run in the new disk's directory."""
        self._board.started(prefix=[
            "sh", "-ec", f"mount -t tmpfs -o size={pages * 4}k thermal /data/vendor/thermal\n"
            f'(cd /data/vendor/thermal; mkdir config; {prepare})\nexec "$@"', "sh"])
        # From here on the board's files are those that the daemon sees.
        self._board.box.data_dir = self.path("")

    def path(self, name):
        return self._board.box.host_path(
            f"/proc/{self._board.pid}/root/data/vendor/thermal") / name

    def fill(self):
        with open(self.path("filler"), "ab") as filler, pytest.raises(OSError) as full:
            while True:
                os.posix_fallocate(filler.fileno(), filler.seek(0, os.SEEK_END), 4096)
        assert full.value.errno == errno.ENOSPC

    def clear(self):
        self.path("filler").unlink()


FILL = "fallocate -l 12288 filler"
DEFAULT_CONF = "config/talmor-thermal_default.conf"


def test_a_first_start_on_a_full_disk_runs_on_the_factory_file_and_keeps_no_broken_copy(board):
    board.monitor("hot")
    board.set("cpu", 60000)
    disk = Disk(board)
    disk.start(3, FILL)
    assert remarks(board)[:6] == [
        "[TalmorThermal] Using Env Config!", "[TalmorThermal] EnvParse Passed!",
        "[TalmorThermal] Conf file is copied!(/vendor/etc/talmor-thermal.conf -> "
        "/data/vendor/thermal/config/talmor-thermal_default.conf)",
        "[TalmorThermal] Unreadable conf file : "
        "/data/vendor/thermal/config/talmor-thermal_default.conf",
        "[TalmorThermal] ConfParse Passed!", "[TalmorThermal] initScenario Passed!"]
    assert not disk.path(DEFAULT_CONF).exists()
    for name in ("talmor-thermal.scen", "talmor-thermal.dconf"):
        assert disk.path(name).read_bytes() == b""
    board.wait_writes("gpu", ["1"])
    check_others_go_on(board)


def test_control_files_that_a_full_disk_leaves_empty_ask_over_and_over_and_control_goes_on(board):
    board.monitor("hot")
    board.set("cpu", 60000)
    disk = Disk(board)
    disk.start(4, f"cp /vendor/etc/talmor-thermal.conf {DEFAULT_CONF}; {FILL}")
    board.wait_writes("gpu", ["1"])
    board.wait_log("[TalmorThermal] Appling new CONF file is completed", count=2)
    lines = remarks(board)
    first, second = (i for i, line in enumerate(lines)
                     if line == "[TalmorThermal] Start to apply new CONF file")
    assert lines[first:second] == RELOADING
    assert board.scenario_file() == board.request_file() == ""
    check_others_go_on(board)
    disk.clear()
    board.wait(lambda: (board.scenario_file(), board.request_file()) == ("Default", "PARSED"),
               "both answers in their files")
    mark = board.mark()
    board.wait_polls(2)
    assert remarks(board, mark) == ["[TalmorThermal] There is no conf file: no-such-file"] * 2
    assert board.writes("gpu") == ["1"]


# From one reload for an empty request to the next, with two sensor threads, while neither control
# file holds a word.
RELOADING = [
    "[TalmorThermal] Start to apply new CONF file",
    "[TalmorThermal] Changing Scenario Start (Default->Default)",
    *["[TalmorThermal] ScenChange for sensor Thread is done [OLDSCEN_Default]"] * 2,
    "[TalmorThermal] All scenChangeDone to Default",
    "[TalmorThermal] Unreadable conf file : /data/vendor/thermal/config/",
    "[TalmorThermal] Changing Scenario Start (Default->Default)",
    *["[TalmorThermal] ScenChange for sensor Thread is done [Default]"] * 2,
    "[TalmorThermal] All scenChangeDone to Default",
    "[TalmorThermal] Appling new CONF file is completed",
    *["[TalmorThermal] There is no scen name: "] * 2,
]


def test_a_control_file_that_a_full_disk_leaves_empty_is_answered_once_there_is_room(board):
    board.monitor("hot")
    disk = Disk(board)
    disk.start(8)
    board.wait_polls(1)
    mark = board.mark()
    disk.path("talmor-thermal.scen").unlink()
    disk.fill()
    board.wait_log("[TalmorThermal] There is no scen name: ", count=2, since=mark)
    assert remarks(board, mark)[:3] == ["[TalmorThermal] No scen file",
                                        *["[TalmorThermal] There is no scen name: "] * 2]
    assert board.scenario_file() == ""
    check_others_go_on(board)
    disk.clear()
    board.wait(lambda: board.scenario_file() == "Default", "the answer in the file")


def test_a_report_that_meets_a_full_disk_is_given_up(board):
    board.section("report", "report", node_path="/data/vendor/thermal/report")
    board.monitor("hot", actions="report+gpu", action_info="1+1")
    disk = Disk(board)
    disk.start(8)
    mark = board.mark()
    disk.fill()
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["1"])
    disk.clear()
    board.set("cpu", 20000)
    board.wait_writes("gpu", ["1", "0"])
    assert disk.path("report").read_bytes() == b""
    assert len(board.write_events("report")) == 1
    check_others_go_on(board)
    assert remarks(board, mark) == []


# A control file that is none.

CONTROL_FILES = pytest.mark.parametrize("name, missed, answer", [
    ("talmor-thermal.scen", "[TalmorThermal] No scen file", "Default"),
    ("talmor-thermal.dconf", "[TalmorThermal] No conf file", "PARSED")], ids=["scen", "dconf"])


@pytest.fixture
def polled(board):
    """A hot board right after a poll, so that the next is almost a second away."""
    board.monitor("hot")
    board.set("cpu", 60000)
    board.started()
    board.wait_writes("gpu", ["1"])
    board.wait_polls(1)
    return board


def test_a_directory_for_the_scenario_file_is_an_unknown_scenario_at_every_poll(polled):
    board, path = polled, polled.box.data_dir / "talmor-thermal.scen"
    mark = board.mark()
    path.unlink()
    path.mkdir()
    board.wait_log("[TalmorThermal] There is no scen name: ", count=3, since=mark)
    assert remarks(board, mark)[:3] == ["[TalmorThermal] There is no scen name: "] * 3
    check_others_go_on(board)
    path.rmdir()
    board.wait(path.is_file, "the file")
    board.wait(lambda: board.scenario_file() == "Default", "its text")
    assert board.writes("gpu") == ["1"]


def test_a_directory_for_the_request_file_asks_to_reload_over_and_over(polled):
    board, path = polled, polled.box.data_dir / "talmor-thermal.dconf"
    mark = board.mark()
    path.unlink()
    path.mkdir()
    reloading = [line for line in RELOADING if "scen name" not in line]
    board.wait_log(reloading[-1], count=2, since=mark)
    assert remarks(board, mark)[:2 * len(reloading)] == reloading * 2
    check_others_go_on(board)
    path.rmdir()
    board.wait(path.is_file, "the file")
    board.wait(lambda: board.request_file() == "PARSED", "its text")
    assert board.writes("gpu") == ["1"]


@CONTROL_FILES
def test_a_dangling_link_for_a_control_file_gets_its_target(polled, name, missed, answer):
    board, target = polled, polled.box.data_dir / "elsewhere"
    mark = board.mark()
    replace_by_link(board.box.data_dir / name, "elsewhere")
    board.wait(target.exists, "the link's target")
    board.wait(lambda: target.read_text() == answer, "its text")
    assert (board.box.data_dir / name).is_symlink()
    board.wait(lambda: remarks(board, mark) == [missed], "the line")
    check_others_go_on(board)


@CONTROL_FILES
def test_a_link_into_nowhere_for_a_control_file_is_missed_at_every_poll(polled, name, missed,
                                                                        answer):
    board, nowhere = polled, polled.box.data_dir / "nowhere"
    mark = board.mark()
    replace_by_link(board.box.data_dir / name, "nowhere/target")
    board.wait_log(missed, count=3, since=mark)
    assert set(remarks(board, mark)) == {missed}
    check_others_go_on(board)
    nowhere.mkdir()
    board.wait((nowhere / "target").exists, "the link's target")
    board.wait(lambda: (nowhere / "target").read_text() == answer, "its text")


def replace_by_link(path, target):
    link = path.with_name(".new-link")
    link.symlink_to(target)
    link.rename(path)


# A control or configuration file that fails.

def test_a_scenario_file_that_cannot_be_read_once_is_answered_with_the_one_in_force(polled_faulty):
    board, faults = polled_faulty
    mark = board.mark()
    faults.once("read", "talmor-thermal.scen", "EIO")
    board.wait_log("[TalmorThermal] There is no scen name: ", since=mark)
    board.wait_polls(2)
    assert [line for line in remarks(board, mark) if "conf file" not in line] == [
        "[TalmorThermal] There is no scen name: "]
    assert board.scenario_file() == "Default"


def test_an_answer_that_cannot_be_written_is_written_in_the_next_poll(polled_faulty):
    board, faults = polled_faulty
    mark = board.mark()
    refused = faults.once("write", "talmor-thermal.scen", "EIO")
    board.ask_scenario("arcade")
    board.wait_log("[TalmorThermal] There is no scen name: arcade", since=mark)
    faults.wait_taken(refused)
    board.wait_log("[TalmorThermal] There is no scen name: ", since=mark)
    board.wait(lambda: board.scenario_file() == "Default", "the answer in the file")


def test_a_configuration_that_cannot_be_read_leaves_the_one_in_force(polled_faulty):
    board, faults = polled_faulty
    board.profile("new.conf", "SCEN Default\n")
    faults.for_good("read", "new.conf", "EIO")
    mark = board.swap("new.conf")
    assert "[TalmorThermal] Unreadable conf file : /data/vendor/thermal/config/new.conf" in (
        board.logs(since=mark))
    board.wait_decisions("hot", 5)
    assert board.writes("gpu") == ["1"]


@pytest.fixture
def polled_faulty(board, faults):
    board.monitor("hot")
    board.set("cpu", 60000)
    faults.start()
    board.wait_writes("gpu", ["1"])
    return board, faults

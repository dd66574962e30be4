"""thermalctl plot: what people have for a log, what a live daemon did, and what nobody knows."""

import csv
import gzip
import os
import random
import re
import subprocess
import sys
import time
from collections import defaultdict
from pathlib import Path

import pytest

from thermalctl import environment

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402
from sandbox import Sandbox, wait_until  # noqa: E402

BOARD = REPOSITORY / "boards" / "phone"
DAY, NIGHT = "talmor-thermal.conf", "talmor-thermal_night.conf"
START = 50_600_000  # 14:03:20 in milliseconds since midnight


@pytest.fixture
def plot(thermalctl, tmp_path):
    """Runs it; `status` is what it must end with."""
    def run(*arguments, status=0):
        done = thermalctl("plot", *arguments)
        assert done.status == status, done.err
        return done
    return run


def events(out, *kinds, run=None):
    """The (milliseconds, event, name, value) of trace.csv."""
    with open(out / "trace.csv", newline="") as trace:
        return [(int(row["time_ms"]), row["event"], row["name"], row["value"])
                for row in csv.DictReader(trace)
                if row["event"] in kinds and run in (None, row["run"])]


def end_of(out):
    [(end, *_)] = events(out, "end")
    return end


# Logs that are made up.

def samples(first, last, temperatures, scenario="Default"):
    """(milliseconds, text) of four samples a second of the fast sensors and one of the battery."""
    for at in range(first, last, 250):
        for sensor in ("little", "big", "gpu"):
            yield at, f"Sensor [{sensor}], Scen [{scenario}] temp({temperatures.get(sensor, 30000)})"
        if at % 1000 == 0:
            yield at, f"Sensor [battery], Scen [{scenario}] temp({temperatures.get('battery', 30000)})"


def a_hot_gpu():
    """Half a minute: the gpu is hot from second 10 to 20, and its monitor at level 1 then."""
    yield 0, "Using Env Config!"
    yield from samples(0, 10000, {})
    yield from samples(10000, 10250, {"gpu": 63000})
    yield 10000, "Sensor [gpu] activate Algo [day_gpu], scen [Default]"
    yield 10000, "[TalmorThermal] Monitor [day_gpu] temp(63000) status(0 -> 1)"
    for second in range(10, 20):
        yield from samples(1000 * second + 250, 1000 * second + 1250, {"gpu": 63000})
        yield 1000 * second + 1000, "[TalmorThermal] Monitor [day_gpu] temp(63000) status(1 -> 1)"
    yield from samples(20250, 20500, {})
    yield 20250, "[TalmorThermal] Monitor [day_gpu] temp(30000) status(1 -> 0)"
    yield from samples(20500, 30000, {})


def clock(at):
    at += START
    return f"{at // 3600000:02}:{at // 60000 % 60:02}:{at // 1000 % 60:02}"


def stamp(at):
    return f"01-30 {clock(at)}.{at % 1000:03}"


def threadtime(messages):
    return "".join(f"{stamp(at)}  1234  5678 V echo-service: [TalmorThermal] {text}\n"
                   for at, text in messages)


def write(path, messages):
    path.write_text(threadtime(messages))
    return path


FORMS = {
    "brief": lambda at, text: f"V/echo-service( 1234): {text}\n",
    "brief,uid": lambda at, text: f"V/echo-service(system: 1234): {text}\n",
    "brief,color": lambda at, text: f"\x1b[38;5;231mV/echo-service( 1234): {text}\x1b[0m\n",
    "process": lambda at, text: f"V( 1234) {text}  (echo-service)\n",
    "process,uid": lambda at, text: f"V( 1000: 1234) {text}  (echo-service)\n",
    "tag": lambda at, text: f"V/echo-service: {text}\n",
    "thread": lambda at, text: f"V( 1234: 5678) {text}\n",
    "thread,uid": lambda at, text: f"V(system: 1234: 5678) {text}\n",
    "raw": lambda at, text: f"{text}\n",
    "time": lambda at, text: f"{stamp(at)} V/echo-service( 1234): {text}\n",
    "time,uid": lambda at, text: f"{stamp(at)} V/echo-service( root: 1234): {text}\n",
    "time,year,zone": lambda at, text:
        f"2024-{stamp(at)} +0530 V/echo-service( 1234): {text}\n",
    "threadtime": lambda at, text: f"{stamp(at)}  1234  5678 V echo-service: {text}\n",
    "threadtime,color": lambda at, text:
        f"\x1b[38;5;231m{stamp(at)}  1234  5678 V echo-service: {text}\x1b[0m\n",
    "threadtime,usec": lambda at, text: f"{stamp(at)}042  1234  5678 V echo-service: {text}\n",
    "threadtime,nsec": lambda at, text: f"{stamp(at)}042042  1234  5678 V echo-service: {text}\n",
    "threadtime,year": lambda at, text: f"2024-{stamp(at)}  1234  5678 V echo-service: {text}\n",
    "threadtime,zone": lambda at, text: f"{stamp(at)} -0800  1234  5678 V echo-service: {text}\n",
    "threadtime,UTC": lambda at, text: f"{stamp(at)} +0000  1234  5678 V echo-service: {text}\n",
    "threadtime,uid": lambda at, text: f"{stamp(at)}  1000  1234  5678 V echo-service: {text}\n",
    "threadtime,descriptive": lambda at, text: f"{stamp(at)}  1234  5678 V echo-service: {text}\n",
    "threadtime,epoch": lambda at, text:
        f"         {1706600000 + at // 1000}.{at % 1000:03}  1234  5678 V echo-service: {text}\n",
    "threadtime,monotonic": lambda at, text:
        f"{82 + at // 1000:>9}.{at % 1000:03}  1234  5678 V echo-service: {text}\n",
    "long": lambda at, text: f"[ {stamp(at)}  1234: 5678 V/echo-service ]\n{text}\n\n\n",
    "long,color": lambda at, text:
        f"\x1b[38;5;231m[ {stamp(at)}  1234: 5678 V/echo-service ]\n{text}\n\x1b[0m\n\n",
    "long,uid": lambda at, text: f"[ {stamp(at)} system: 1234: 5678 V/echo-service ]\n{text}\n\n\n",
}
WITHOUT_TIME = ("brief", "process", "tag", "thread", "raw")


@pytest.mark.parametrize("form", FORMS)
def test_every_form_of_logcat_gives_the_same_run(form, plot, tmp_path):
    plot(write(tmp_path / "phone.log", a_hot_gpu()), "--board", BOARD, "--out", tmp_path / "known")
    (tmp_path / "phone.log").write_text(
        "--------- beginning of main\n" +
        "".join(FORMS[form](at, f"[TalmorThermal] {text}") for at, text in a_hot_gpu()))
    done = plot(tmp_path / "phone.log", "--board", BOARD, "--out", tmp_path / "form")
    assert "torn" not in done.err
    kinds = ("temperature", "level", "algorithm", "scenario", "configuration", "end")
    assert events(tmp_path / "form", *kinds) == events(tmp_path / "known", *kinds)
    assert ("without a time" in done.err) == (form.split(",")[0] in WITHOUT_TIME)


@pytest.mark.parametrize("encoding", ["utf-16", "utf-16-le", "utf-16-be", "utf-8-sig"])
def test_it_reads_what_a_windows_shell_writes(encoding, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    plot(log, "--board", BOARD, "--out", tmp_path / "known")
    log.write_bytes(log.read_text().replace("\n", "\r\n").encode(encoding))
    done = plot(log, "--board", BOARD, "--out", tmp_path / "again")
    assert "torn" not in done.err
    assert (tmp_path / "again/trace.csv").read_bytes() == (tmp_path / "known/trace.csv").read_bytes()


def test_it_reads_compressed_logs(plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    plot(log, "--board", BOARD, "--out", tmp_path / "known")
    (tmp_path / "phone.log.gz").write_bytes(gzip.compress(log.read_bytes()))
    plot(tmp_path / "phone.log.gz", "--board", BOARD, "--out", tmp_path / "out")
    known = (tmp_path / "known/trace.csv").read_text()
    assert (tmp_path / "out/trace.csv").read_text() == known.replace("phone.log,", "phone.log.gz,")


@pytest.mark.parametrize("compressed", [False, True])
def test_it_reads_standard_input(compressed, thermalctl, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    plot(log, "--board", BOARD, "--out", tmp_path / "known")
    content = gzip.compress(log.read_bytes()) if compressed else log.read_bytes()
    run = subprocess.run([*thermalctl.command, "plot", "-", "--board", BOARD,
                          "--out", tmp_path / "out"], input=content, capture_output=True,
                         env=environment())
    assert run.returncode == 0, run.stderr
    assert run.stderr.decode().startswith("standard input: ")
    known = (tmp_path / "known/trace.csv").read_text()
    assert (tmp_path / "out/trace.csv").read_text() == known.replace("phone.log,", "standard input,")


def test_it_tells_where_standard_input_cannot_be_kept(thermalctl, tmp_path):
    run = subprocess.run([*thermalctl.command, "plot", "-"], input=b"x", capture_output=True,
                         env=environment({"TMPDIR": str(tmp_path / "none")}))
    assert run.returncode == 2
    assert run.stderr.startswith(b"thermalctl: -: cannot be kept in a temporary file: ")


@pytest.mark.parametrize("names", [("phone.log", "phone.log.1", "phone.log.2"),
                                   ("c.log", "z.log", "a.log")])
def test_the_parts_of_a_log_come_in_any_order(names, plot, tmp_path):
    whole = write(tmp_path / "whole.log", a_hot_gpu())
    plot(whole, "--board", BOARD, "--out", tmp_path / "known")
    lines = whole.read_text().splitlines(keepends=True)
    parts = [tmp_path / name for name in names]
    for part, piece in zip(parts, (lines[300:], lines[100:300], lines[:100])):
        part.write_text("".join(piece))
    (tmp_path / "known/trace.csv").read_text()
    for order in ((0, 1, 2), (1, 0, 2), (2, 0, 1)):
        plot(*(parts[i] for i in order), "--board", BOARD, "--out", tmp_path / "parts")
        kinds = ("temperature", "level", "algorithm", "end")
        assert events(tmp_path / "parts", *kinds) == events(tmp_path / "known", *kinds)


def test_dumps_of_a_log_that_overlap_are_one_log(plot, tmp_path):
    whole = write(tmp_path / "whole.log", a_hot_gpu())
    plot(whole, "--board", BOARD, "--out", tmp_path / "known")
    lines = whole.read_text().splitlines(keepends=True)
    (tmp_path / "at-20.log").write_text("".join(lines[150:]))
    (tmp_path / "at-10.log").write_text("".join(lines[:240]))
    plot(tmp_path / "at-20.log", tmp_path / "at-10.log", "--board", BOARD,
         "--out", tmp_path / "both")
    kinds = ("temperature", "level", "algorithm", "end")
    assert events(tmp_path / "both", *kinds) == events(tmp_path / "known", *kinds)


def test_a_torn_line_is_named_in_its_part(plot, tmp_path):
    lines = threadtime(a_hot_gpu()).splitlines(keepends=True)
    lines[200] = lines[200][:-9] + "\n"
    (tmp_path / "phone.log.1").write_text("".join(lines[:150]))
    (tmp_path / "phone.log").write_text("".join(lines[150:]))
    done = plot(tmp_path / "phone.log", tmp_path / "phone.log.1")
    assert f"1 torn line (the first is line 51 of {tmp_path / 'phone.log'})" in done.err


# Logs of which nothing can be made.

UNREADABLE = {
    "empty": (b"", "no message of the daemon is in it"),
    "others": (b"01-30 14:03:20.001   700   700 I ActivityManager: Start proc\n",
               "no message of the daemon is in it"),
    "binary": (bytes(range(256)) * 100, "no message of the daemon is in it"),
    "torn": (b"01-30 14:03:20.001  1234  5678 V echo-service: [TalmorThermal] Sens\n",
             "all 1 message of the daemon in it are torn"),
    "nothing to show": (
        b"01-30 14:03:20.001  1234  5678 V echo-service: [TalmorThermal] EnvParse Passed!\n",
        "it has 1 message of the daemon, but none of a temperature, a level or a scenario"),
    "zip": (b"PK\3\4rest", "is a zip archive: unpack it, and give the log that is in it"),
    "no run": (b"run,time_ms,event,name,value,detail\n", "it holds no run"),
    "no line": (b"run,time_ms,event,name,value,detail\nday,x,end,,,\n",
                "none of its 1 line is one that thermalctl writes"),
}


@pytest.mark.parametrize("kind", UNREADABLE)
def test_a_log_in_which_nothing_could_be_read_is_an_error_and_leaves_no_output(kind, plot, tmp_path):
    content, message = UNREADABLE[kind]
    (tmp_path / "phone.log").write_bytes(content)
    good = write(tmp_path / "good.log", a_hot_gpu())
    done = plot(good, tmp_path / "phone.log", "--out", tmp_path / "out", status=2)
    assert done.err.endswith(f"thermalctl: {tmp_path / 'phone.log'}: {message}\n")
    assert done.out == ""
    assert not (tmp_path / "out").exists()


def test_a_folder_is_no_log(plot, tmp_path):
    done = plot(tmp_path, "--out", tmp_path / "out", status=2)
    assert done.err == f"thermalctl: {tmp_path}: cannot be read: Is a directory\n"
    assert not (tmp_path / "out").exists()


def test_compressed_data_that_are_cut_off_are_told(plot, tmp_path):
    random.seed(1)
    messages = [(at, f"Sensor [big], Scen [Default] temp({random.randrange(20000, 90000)})")
                for at in range(0, 1000000, 250)]
    data = gzip.compress(threadtime(messages).encode())
    (tmp_path / "phone.log.gz").write_bytes(data[:len(data) // 2])
    done = plot(tmp_path / "phone.log.gz")
    assert "its compressed data end in the middle; what comes before is shown" in done.err


# Gaps.

def table(done):
    """The cells of the first run, by row."""
    rows, group = {}, ""
    for line in done.out.splitlines()[1:]:
        found = re.fullmatch(r"(\S*) +(.*?)(?:  +(\S.*))?", line)
        group = found[1] or group
        rows[group, found[2]] = found[3]
    return rows


def silent(messages, first, last):
    return [(at, text) for at, text in messages if not first <= at < last]


def behind(messages, first, wait):
    return [(at + wait if at >= first else at, text) for at, text in messages]


GAPS = {
    "a suspend or a clock that jumps": lambda: behind(a_hot_gpu(), 15000, 600000),
    "dropped lines": lambda: silent(a_hot_gpu(), 12000, 18000),
}


def test_a_jump_of_the_clock_is_a_gap_in_the_chart_and_in_every_sum(plot, tmp_path):
    log = write(tmp_path / "phone.log", behind(a_hot_gpu(), 15000, 600000))
    known = table(plot(write(tmp_path / "known.log", a_hot_gpu()), "--board", BOARD))
    done = plot(log, "--board", BOARD, "--out", tmp_path)
    assert f"{log}: a gap of 0:10:00 from 0:00:15 on: no message\n" in done.err
    shown = table(done)
    assert shown.pop(("run", "duration, h:mm:ss")) == "0:10:30"
    assert shown.pop(("run", "of it in gaps")) == "0:10:00"
    known.pop(("run", "duration, h:mm:ss"))
    assert shown == known
    assert events(tmp_path, "gap") == [(615000, "gap", "", "600000")]


def test_dropped_lines_are_a_gap(plot, tmp_path):
    log = write(tmp_path / "phone.log", silent(a_hot_gpu(), 12000, 18000))
    for board in ((), ("--board", BOARD)):  # without one the log itself tells the periods
        done = plot(log, *board)
        assert "a gap of 6.0 s from 0:00:12 on: no message\n" in done.err
        shown = table(done)
        assert shown["run", "of it in gaps"] == "0:00:06"
    assert shown["gpu", "time >=62"] == "0:00:04"
    assert shown["gpu", "at level 1 (760000)"] == "17.9 %"


def test_a_sensor_that_is_not_heard_of_is_a_gap_of_its_own(plot, tmp_path):
    messages = [(at, text) for at, text in a_hot_gpu()
                if not (5000 <= at < 15000 and "[battery]" in text)]
    done = plot(write(tmp_path / "phone.log", messages), "--board", BOARD, "--out", tmp_path)
    assert "a gap of 10.0 s from 0:00:05 on: no sample of battery\n" in done.err
    assert events(tmp_path, "gap") == [(15000, "gap", "battery", "10000")]
    assert ("run", "of it in gaps") not in table(done)


def test_what_a_period_explains_is_no_gap(plot, tmp_path):
    env = ("[slow]\ntype real\nsampling 60000\nnode_path /slow\n\n")
    (tmp_path / "board").mkdir()
    (tmp_path / "board/b.env").write_text(env)
    messages = [(at, "Sensor [slow], Scen [Default] temp(30000)") for at in range(0, 600000, 61200)]
    done = plot(write(tmp_path / "phone.log", messages), "--board", tmp_path / "board")
    assert "gap" not in done.err + done.out


def test_a_trace_with_gaps_is_read_again(plot, tmp_path):
    log = write(tmp_path / "phone.log", behind(a_hot_gpu(), 15000, 600000))
    first = plot(log, "--board", BOARD, "--out", tmp_path)
    again = plot(tmp_path / "trace.csv", "--board", BOARD, "--out", tmp_path / "again")
    for row in (("run", "duration, h:mm:ss"), ("run", "of it in gaps"), ("big", "mean"),
                ("gpu", "at level 1 (760000)"), ("gpu", "changes a minute")):
        assert table(again)[row] == table(first)[row]
    assert (tmp_path / "again/trace.csv").read_bytes() == (tmp_path / "trace.csv").read_bytes()


def test_a_log_of_whole_seconds_has_its_gaps_too(plot, tmp_path):
    log = tmp_path / "daemon.log"
    log.write_text("".join(
        f"echo-service V 01-30 {clock(at)}  1234  1234 [TalmorThermal] {text}\n\n"
        for at, text in behind(a_hot_gpu(), 15000, 600000)))
    for board in ((), ("--board", BOARD)):
        done = plot(log, *board, "--out", tmp_path)
        assert "a gap of 0:10:0" in done.err or "a gap of 0:09:59" in done.err
        # No sample is moved out of its second.
        assert {at // 1000 for at, *_ in events(tmp_path, "temperature")} == {
            *range(15), *range(615, 630)}


# A stretch of a log.

def test_a_stretch_is_shown_with_what_was_in_force_at_its_beginning(plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--board", BOARD, "--out", tmp_path, "--from", "15s", "--to", "0:00:25")
    assert end_of(tmp_path) == 10000
    shown = table(done)
    assert shown["run", "duration, h:mm:ss"] == "0:00:10"
    assert shown["gpu", "time >=62"] == "0:00:05"
    assert [event for event in events(tmp_path, "level", "scenario", "configuration")
            if event[2] in ("gpu", "Default", DAY)] == [
        (0, "configuration", DAY, ""), (0, "scenario", "Default", ""), (0, "level", "gpu", "1"),
        (5250, "level", "gpu", "0")]


@pytest.mark.parametrize("options, message", [
    (("--from", "soon"), "--from soon: is no time since the start of the run, such as 90s, 15m, "
                         "1h30m or 0:15:00"),
    (("--to", "-5s"), "--to -5s: is no time since the start of the run, such as 90s, 15m, 1h30m or "
                      "0:15:00"),
    (("--from", "20m", "--to", "10m"), "--from 20m --to 10m: nothing lies between them"),
    (("--from", "30s"), "LOG: ends at 0:00:29, before the stretch that is to be shown"),
])
def test_a_stretch_that_cannot_be_is_refused(options, message, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--out", tmp_path / "out", *(f"{options[i]}={options[i + 1]}"
                                                 for i in range(0, len(options), 2)), status=2)
    assert done.err.endswith(f"thermalctl: {message.replace('LOG', str(log))}\n")
    assert not (tmp_path / "out").exists()


# Limits.

@pytest.mark.parametrize("limit, status, verdict", [
    ("gpu=63C", 0, "kept"),
    ("gpu=62999mC", 1, "passed for 0:00:10"),
    ("gpu=62C", 1, "passed for 0:00:10"),
])
def test_a_limits_verdict_decides_the_exit_status(limit, status, verdict, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    for board in ((), ("--board", BOARD)):
        done = plot(log, *board, "--limit", limit, status=status)
        assert verdict in [cell for (_, row), cell in table(done).items()
                           if row.startswith("limit ")]
    # Where the gpu is cool again.
    plot(log, "--limit", limit, "--from", "21s")


@pytest.mark.parametrize("limit, status, verdict", [
    ("gpu=62C:11s", 0, "kept: 0:00:10"), ("gpu=62C:9s", 1, "passed: 0:00:10"),
    ("p1:gpu=20C", 1, "passed: "), ("p99:gpu=90C", 0, "kept: "),
])
def test_a_limit_for_a_time_or_of_a_percentile_is_judged_as_in_a_simulation(limit, status, verdict,
                                                                            plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--limit", limit, status=status)
    assert any(cell.startswith(verdict) for (_, row), cell in table(done).items()
               if row.startswith("limit "))


@pytest.mark.parametrize("most, status, verdict", [("9", 0, "kept"), ("0.1", 1, "missed")])
def test_how_often_a_device_changes_is_judged_with_a_board(most, status, verdict, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    budget = f"changes:gpu<={most}/min"
    done = plot(log, "--board", BOARD, "--require", budget, status=status)
    assert [cell.split(":")[0] for (_, row), cell in table(done).items()
            if row.startswith("required ")] == [verdict]
    assert "no run has 'changes:gpu'" in plot(log, "--require", budget, status=2).err


def test_work_is_nothing_that_a_log_knows(plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--board", BOARD, "--require", "work:gpu=75%", status=2)
    assert done.err.endswith("--require work:gpu: error: no log knows how much work was asked for\n"
                             "      hint: simulate holds runs to it\n")


def test_a_limit_is_judged_in_every_run(plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    other = write(tmp_path / "other.log", [(at, text) for at, text in a_hot_gpu()
                                           if "gpu" not in text])
    done = plot(log, other, "--limit", "gpu=70C", status=3)
    assert "other.log: gpu never had a sample" in done.err


def test_a_limit_of_a_sensor_without_a_sample_has_no_verdict(plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--board", BOARD, "--limit", "skin=43C", "--limit", "gpu=62C", status=3)
    assert "skin never had a sample" in done.err
    assert "kept" not in done.out


@pytest.mark.parametrize("limit, message", [
    ("gpu=62", "62C"), ("gpu=62000", "62000mC"), ("gpu", "such as skin=43C"),
    ("gqu=62C", "did you mean 'gpu'?"), ("node:gpu=62C", "no run has 'node:gpu'"),
])
def test_a_limit_that_cannot_be_is_refused(limit, message, plot, tmp_path):
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--limit", limit, "--out", tmp_path / "out", status=2)
    assert message in done.err and done.out == ""
    assert not (tmp_path / "out").exists()


def test_a_board_with_errors_is_not_relied_on(plot, tmp_path):
    board = tmp_path / "board"
    board.mkdir()
    (board / "b.env").write_text((BOARD / "talmor-thermal.env").read_text())
    (board / "b.conf").write_text((BOARD / DAY).read_text().replace("algo_type ss", "algo_type SS", 1))
    log = write(tmp_path / "phone.log", a_hot_gpu())
    done = plot(log, "--board", board, "--out", tmp_path / "out", status=2)
    assert "algo_type SS" in done.err and "^~" in done.err
    assert done.err.endswith("thermalctl: nothing is shown: the check has found errors\n")
    assert not (tmp_path / "out").exists()


# A device beside its model.

@pytest.fixture(scope="module")
def simulated(build_dir, tmp_path_factory):
    """Twenty minutes of a game."""
    out = tmp_path_factory.mktemp("simulated")
    subprocess.run([build_dir / "thermalctl", "simulate", "--board", BOARD, "--workload", "game",
                    "--duration", "20m", "--out", out], check=True, capture_output=True)
    return out


@pytest.mark.parametrize("shift", [37.0, -125.5])
def test_a_device_is_compared_with_its_model(shift, plot, simulated, tmp_path):
    live = [(at + round(1000 * shift), f"Sensor [{name}], Scen [Default] temp({int(value) + 500})")
            for at, _, name, value in events(simulated, "temperature") if name in ("big", "battery")]
    log = write(tmp_path / "phone.log", [(0, "Using Env Config!")] * (shift > 0) +
                [(at, text) for at, text in live if at >= 0])
    done = plot(log, simulated / "trace.csv", "--board", BOARD)
    told = re.search(r"trace.csv: \S+ compared with phone.log\ntime offset: (-?[\d.]+) s, (.*)\n",
                     done.out)
    assert float(told[1]) == pytest.approx(shift, abs=0.5)
    assert told[2] == ("the simulated run begins 37.0 s into phone.log" if shift > 0 else
                       f"phone.log begins {-float(told[1]):.1f} s into the simulated run")
    rows = {row.split()[0]: row.split()[1:] for row in done.out[told.end():].splitlines()[1:]}
    assert set(rows) == {"big", "battery"}
    for name, rms, largest in (("big", 0.5, 0.5), ("battery", 0.5, 0.5)):
        assert float(rows[name][0]) == pytest.approx(rms, abs=0.3 if name == "big" else 0.02)
        assert float(rows[name][3]) == pytest.approx(-largest, abs=0.05)


def test_runs_of_one_kind_are_not_compared(plot, simulated, tmp_path):
    log = write(tmp_path / "a.log", a_hot_gpu())
    other = write(tmp_path / "b.log", a_hot_gpu())
    assert "compared" not in plot(log, other).out
    assert "compared" not in plot(simulated / "trace.csv").out


# Large logs.

# The kernel counts for a process what the one that started it had until then. A test's own process
# may have more than the tool, so that a small one starts it.
STARTER = """
import os, resource, subprocess, sys
status = subprocess.run(sys.argv[2:]).returncode
with open(sys.argv[1], "w") as out:
    print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, file=out)
sys.exit(status)
"""


class Usage:
    """A run of the tool, and the most memory that it had at a time, in megabytes."""

    def __init__(self, command, result, **options):
        run = subprocess.run([sys.executable, "-I", "-S", "-c", STARTER, result, *command],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                             env=environment(), **options)
        self.status, self.err = run.returncode, run.stderr
        self.megabytes = int(result.read_text()) / 1024


@pytest.fixture(scope="module")
def long_log(tmp_path_factory):
    """Four hours of a device, 60 megabytes."""
    log = tmp_path_factory.mktemp("long") / "phone.log"
    random.seed(1)
    with open(log, "w") as out:
        for hour in range(4):
            for second in range(3600):
                at = 1000 * (3600 * hour + second)
                heat = 40000 + 1000 * (second // 120)
                out.write(threadtime(
                    (when, f"Sensor [{sensor}], Scen [Default] temp({heat + random.randrange(9999)})")
                    for when in range(at, at + 1000, 100)
                    for sensor in ("little", "big", "gpu", "battery")))
    assert log.stat().st_size > 50e6
    return log


@pytest.mark.xdist_group("long log")  # which is then made once
@pytest.mark.parametrize("way", ["file", "gz", "pipe"])
def test_a_long_log_takes_little_memory(way, thermalctl, long_log, tmp_path):
    command = [*thermalctl.command, "plot", "--board", BOARD, "--out", tmp_path]
    result = tmp_path / "memory"
    if way == "file":
        run = Usage([*command, long_log], result)
    elif way == "gz":
        subprocess.run(["gzip", "-1", "-k", "-f", long_log], check=True)
        run = Usage([*command, f"{long_log}.gz"], result)
    else:
        cat = subprocess.Popen(["cat", long_log], stdout=subprocess.PIPE)
        run = Usage([*command, "-"], result, stdin=cat.stdout)
        cat.wait()
    assert run.status == 0, run.err
    assert end_of(tmp_path) == 14399900
    assert run.megabytes < 32


# Live runs.

def expected_moves(daemon, board):
    """The (seconds, level) of each write to each device's node."""
    moves = defaultdict(list)
    for name, device in board.devices.items():
        for event in daemon.write_events(Path(device.node).name):
            if device.kind == "report" or device.kind == "camera":
                continue
            device.follow(event.data)
            moves[name].append((event.time, device.level))
    return moves


@pytest.fixture
def phone(daemon):
    """The phone's board in a sandbox, with both configurations beside the one in force."""
    board = Board((BOARD / "talmor-thermal.env").read_text())
    for node in board.sensor_nodes.values():
        daemon.box.add_node(node, "30000")
    for device in board.devices.values():
        daemon.box.add_node(device.node)
    daemon.env_text = (BOARD / "talmor-thermal.env").read_text()
    daemon.conf_text = (BOARD / DAY).read_text()
    for name in (DAY, NIGHT):
        daemon.profile(name, (BOARD / name).read_text())
    daemon.board = board
    return daemon


def heat(daemon, seconds=2.0, **temperatures):
    for sensor, temperature in temperatures.items():
        daemon.box.write_node(daemon.board.sensor_nodes[sensor], str(temperature))
    time.sleep(seconds)


def log_of(daemon):
    daemon.refresh()
    return sorted(daemon.log_events(), key=lambda event: event.time)


def assert_moves(out, moves, first):
    """That each move of the trace is one of the nodes', at its time, and the other way round."""
    shown = defaultdict(list)
    for at, _, name, level in events(out, "level"):
        shown[name].append((at, int(level)))
    assert any(len(each) > 3 for each in moves.values())
    for name, written in moves.items():
        assert [level for _, level in shown[name]] == [0, *(level for _, level in written)], name
        for (at, _), (when, _) in zip(shown[name][1:], written):
            assert at == pytest.approx(1000 * (when - first), abs=1000), name


def test_what_three_live_swaps_do_is_shown_move_by_move(phone, plot, tmp_path):
    phone.started()
    heat(phone, big=71000, gpu=64000, battery=41000)
    swaps = [phone.swap(NIGHT)]
    heat(phone, big=76000, battery=44000)
    phone.switch("game")
    heat(phone, gpu=74000)
    swaps.append(phone.swap(DAY))
    heat(phone, big=90000)
    swaps.append(phone.swap(NIGHT))
    heat(phone, big=60000)
    phone.switch("Default")
    heat(phone, big=40000, gpu=30000, battery=30000)
    log = log_of(phone)
    (tmp_path / "phone.log").write_text("".join(
        f"{event.time:.6f}  1234  {event.thread} V echo-service: {event.text}\n" for event in log))
    done = plot(tmp_path / "phone.log", "--board", BOARD, "--out", tmp_path)
    assert "does not show" not in done.err and "torn" not in done.err
    assert_moves(tmp_path, expected_moves(phone, phone.board), log[0].time)
    shown = events(tmp_path, "configuration")
    assert [name for _, _, name, _ in shown] == [DAY, NIGHT, DAY, NIGHT]
    begun = [event.time for event in log if event.text.endswith("Start to apply new CONF file")]
    # Shown in the row of the second behind it; and the change itself takes a while on a busy machine.
    assert [at for at, *_ in shown[1:]] == pytest.approx(
        [1000 * (when - log[0].time) for when in begun], abs=1500)
    assert [name for _, _, name, _ in events(tmp_path, "scenario")] == ["Default", "game", "Default"]


NAMESAKES = {
    "talmor-thermal.conf": ("70000 80000", "65000 75000", "1 2"),
    "cool.conf": ("60000 70000", "55000 65000", "3 4"),
    "cooler.conf": ("60000 65000 70000", "55000 60000 65000", "4 5 6"),
    "warm.conf": ("90000", "85000", "5"),
}


def test_namesakes_in_swapped_configurations_are_told_apart_by_what_they_do(daemon, plot, tmp_path):
    board = tmp_path / "board"
    board.mkdir()
    daemon.sensor("big", 76000, sampling=50)
    daemon.device("cpu")
    for name, (thresholds, clear, levels) in NAMESAKES.items():
        text = (f"SCEN Default\n[cap]\nalgo_type monitor\nsensor big\nsampling 50\n"
                f"thresholds {thresholds}\nthresholds_clr {clear}\n"
                f"actions {' '.join(['cpu'] * len(levels.split()))}\naction_info {levels}\n\n")
        (board / name).write_text(text)
        daemon.profile(name, text)
    daemon.conf_text = (board / "talmor-thermal.conf").read_text()
    (board / "talmor-thermal.env").write_text(daemon.env_text)
    daemon.started()
    daemon.wait_writes("cpu", ["1"])
    for name, writes in (("cooler.conf", ["1", "6"]), ("cool.conf", ["1", "6", "4"]),
                         ("warm.conf", ["1", "6", "4", "0"])):
        daemon.swap(name)
        daemon.wait_writes("cpu", writes)
        time.sleep(0.5)
    log = log_of(daemon)
    (tmp_path / "phone.log").write_text("".join(
        f"{event.time:.6f}  1234  {event.thread} V echo-service: {event.text}\n" for event in log))
    plot(tmp_path / "phone.log", "--board", board, "--out", tmp_path)
    assert [level for _, _, _, level in events(tmp_path, "level")] == ["0", "1", "6", "4", "0"]
    assert [name for _, _, name, _ in events(tmp_path, "configuration")] == [
        "talmor-thermal.conf", "cooler.conf", "cool.conf", "warm.conf"]


def test_logs_without_times_do_not_drift_with_the_switches(phone, plot, tmp_path):
    phone.started()
    for scenario in ("game", "Default", "camera", "Default", "game", "Default", "camera", "game"):
        heat(phone, 1.2, big=60000)
        phone.switch(scenario)
    heat(phone, 1.2)
    log = log_of(phone)
    (tmp_path / "phone.log").write_text("".join(
        f"V/echo-service( 1234): {event.text}\n" for event in log))
    plot(tmp_path / "phone.log", "--board", BOARD, "--out", tmp_path)
    # A wait takes up to a fiftieth longer than its period, and a switch may come anywhere in one.
    lasted = log[-1].time - log[0].time
    assert end_of(tmp_path) / 1000 == pytest.approx(lasted, abs=0.02 * lasted + 1)


def test_it_reads_what_the_daemon_itself_writes_on_a_host(build_dir, plot, tmp_path):
    board = Board((BOARD / "talmor-thermal.env").read_text())
    with Sandbox() as box:
        box.env_file.write_text((BOARD / "talmor-thermal.env").read_text())
        box.conf_file.write_text((BOARD / DAY).read_text())
        for node in board.sensor_nodes.values():
            box.add_node(node, "64000")
        for device in board.devices.values():
            box.add_node(device.node)
        began = time.monotonic()
        box.start(build_dir / "talmor-thermal")
        wait_until(lambda: "Monitor [day_gpu]" in box.stderr(), "a decision", 40)
        box.write_control("talmor-thermal.scen", "game")
        wait_until(lambda: "All scenChangeDone to game" in box.stderr(), "the switch", 40)
        wait_until(lambda: time.monotonic() - began > 6, "some samples", 40)
        box.stop()
        lasted = time.monotonic() - began
        (tmp_path / "daemon.log").write_text(box.stderr())
        limits = {name: box.host_path(device.node).read_text() for name, device in
                  board.devices.items() if device.kind in ("gpufreq", "charger", "backlight")}
    assert re.match(r"echo-service V \d\d-\d\d \d\d:\d\d:\d\d +\d+ +\d+ \[TalmorThermal\] Using",
                    (tmp_path / "daemon.log").read_text()), "liblog has another form now"
    done = plot(tmp_path / "daemon.log", "--board", BOARD, "--out", tmp_path)
    assert "without a time" not in done.err and "torn" not in done.err
    assert end_of(tmp_path) / 1000 == pytest.approx(lasted, abs=1.5)
    assert [name for _, _, name, _ in events(tmp_path, "scenario")] == ["Default", "game"]
    levels = {name: int(level) for _, _, name, level in events(tmp_path, "level")}
    for name, text in limits.items():  # of a file a shorter text leaves the end of a longer one
        assert text.startswith(board.devices[name].table[levels[name]]), name
    assert any(levels[name] > 0 for name in limits)
    # Spread over their seconds, which is all that the log tells.
    at = [when for when, _, name, _ in events(tmp_path, "temperature") if name == "big"]
    assert len(set(at)) > 0.7 * len(at)


# A board whose battery counts in tenths of a degree.

def test_a_log_of_tenths_is_shown_and_judged_in_degrees(plot, tmp_path):
    board = REPOSITORY / "tests" / "thermalctl" / "boards" / "tenths"
    messages = [(at, text) for at in range(0, 60_000, 1000) for text in (
        f"Sensor [battery], Scen [Default] temp({330 + at // 500})", "Sensor [soc], Scen [Default] temp(45000)")]
    log = tmp_path / "phone.log"
    write(log, messages)
    done = plot(log, "--board", board, "--limit", "battery=44C", "--limit", "soc=46C", "--out", tmp_path / "out", status=1)
    temperatures = [int(value) for _, _, name, value in events(tmp_path / "out", "temperature") if name == "battery"]
    assert (min(temperatures), max(temperatures)) == (33_000, 44_800)
    assert re.search(r"^battery +peak, degrees C +44\.8$", done.out, re.M)
    # Its thresholds are 40 and 45 degrees.
    assert re.search(r"^ +time >=40 +0:00:24\n +never <=0, <=5, >=45$", done.out, re.M), done.out
    # Without the board nobody knows, and nothing is scaled.
    assert re.search(r"^battery +peak, degrees C +0\.4$", plot(log).out, re.M)

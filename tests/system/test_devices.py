"""Devices: merging requests, writing level tables, and the kinds with an output of their own."""

import datetime
import os
import re
import struct

import pytest

from daemon import monitor_line

FRAME_RATE = "en_fixed_sensor_fps"
EMPTY_TABLE = "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty"
PLAIN_KINDS = ["charger", "gpufreq", "backlight", "cpuhotplug"]
WRITING_KINDS = PLAIN_KINDS + ["camera", "cpufreq"]


@pytest.fixture
def board(daemon):
    daemon.sensor("cpu", 20000)
    daemon.sensor("pace", 90000)
    return daemon


def ask(board, actions, levels):
    """A monitor whose level i + 1, from 50 + 10 i degrees on, asks the devices for levels[i]."""
    thresholds = [50000 + 10000 * i for i in range(len(levels))]
    board.monitor("hot", thresholds=_words(thresholds),
                  thresholds_clr=_words(value - 5000 for value in thresholds),
                  actions=_words([actions] * len(levels)), action_info=_words(levels))
    board.monitor("pace", sensor="pace", actions="nothing")


def go(board, level, before):
    """Takes that monitor to a level and waits until all that comes of it has been written."""
    temperature = 40000 + 10000 * level
    mark = board.mark()
    board.set("cpu", temperature)
    board.wait_log(monitor_line("hot", temperature, before, level), since=mark)
    board.wait_decisions("pace", 1)  # of the same thread: when it decides, the other one is done


def _words(values):
    return " ".join(str(value) for value in values)


# What all kinds share.

@pytest.mark.parametrize("kind", PLAIN_KINDS)
def test_a_plain_kind_writes_its_table_and_nothing_else(board, kind):
    board.device("knob", "1800000 1200000 600000", kind)
    ask(board, "knob", [1, 2])
    board.start()
    go(board, 1, 0)
    go(board, 2, 1)
    go(board, 0, 2)
    assert board.writes("knob") == ["1200000", "600000", "1800000"]
    assert all(event.offset == 0 for event in board.write_events("knob"))
    assert board.write_events(FRAME_RATE) == []


@pytest.mark.parametrize("kind", WRITING_KINDS)
def test_level_0_is_never_written_at_start(board, kind):
    board.device("knob", kind=kind)
    board.device("witness")
    ask(board, "knob+witness", ["0+1"])
    board.start()
    go(board, 1, 0)
    go(board, 0, 1)
    board.wait_writes("witness", ["1", "0"])
    assert board.write_events("knob") == []


@pytest.mark.parametrize("kind", WRITING_KINDS)
def test_an_empty_level_table_is_logged_at_each_application(board, kind):
    board.section("knob", kind, node_path="@/knob")
    ask(board, "knob", [1, 2])
    board.start()
    go(board, 1, 0)
    assert len(board.logs(EMPTY_TABLE)) == 1
    go(board, 2, 1)
    assert len(board.logs(EMPTY_TABLE)) == 3  # once for the old level's device, once for the new
    go(board, 0, 2)
    assert len(board.logs(EMPTY_TABLE)) == 4
    assert board.write_events("knob", FRAME_RATE) == []


@pytest.mark.parametrize("kind", WRITING_KINDS)
def test_a_level_past_the_table_is_the_last_entry(board, kind):
    board.device("knob", "10 20 30", kind)
    ask(board, "knob", [7, 2, 100, 1])
    board.start()
    for level in (1, 2, 3):  # all of them are the last entry, which is written once
        go(board, level, level - 1)
    assert len(board.write_events("knob")) == 1
    go(board, 4, 3)
    go(board, 0, 4)
    assert [_entry(event, kind) for event in board.write_events("knob")] == ["30", "20", "10"]


def _entry(event, kind):
    if kind == "cpufreq":
        return str(int.from_bytes(event.data, "little", signed=True))
    return event.data.decode()


@pytest.mark.parametrize("kind", WRITING_KINDS)
def test_a_negative_request_is_level_0(board, kind):
    board.device("knob", kind=kind)
    ask(board, "knob", [3, -2])
    board.start()
    go(board, 1, 0)
    go(board, 2, 1)
    assert [_entry(event, kind) for event in board.write_events("knob")] == ["3", "0"]


def test_a_shorter_text_leaves_the_rest_of_a_plain_file(board):
    board.device("knob", "1800000 7")
    ask(board, "knob", [1])
    board.start()
    go(board, 1, 0)
    assert board.path("knob").read_text() == "7"
    go(board, 0, 1)
    assert board.path("knob").read_text() == "1800000"
    go(board, 1, 0)
    assert board.path("knob").read_text() == "7800000"


def test_the_node_is_emptied_when_it_is_opened(board):
    board.node("knob", "left by an earlier run")
    board.device("knob")
    board.started()
    assert board.path("knob").read_bytes() == b""


def test_a_node_that_cannot_be_opened_is_logged_once_and_its_level_goes_on(board):
    board.section("lost", "gpufreq", node_path="@/missing/lost", level_table="1 2 3")
    board.device("witness")
    ask(board, "lost+witness", ["1+1", "2+2"])
    board.start()
    go(board, 1, 0)
    board.path("missing").mkdir()
    go(board, 2, 1)
    go(board, 0, 2)
    board.wait_writes("witness", ["1", "2", "0"])
    assert board.logs("[TalmorThermal] [TalmorThermal] Device") == [
        "[TalmorThermal] [TalmorThermal] Device [lost] open failed"]
    assert not (board.path("missing") / "lost").exists()


def test_a_device_without_a_node_path_is_logged(board):
    board.section("knob", "backlight", level_table="1 2")
    board.started()
    assert board.logs()[1] == "[TalmorThermal] [TalmorThermal] Device [knob] open failed"


def test_the_text_is_in_the_node_when_the_next_decision_is_made(board):
    board.device("knob", '"low power" "full power"')
    ask(board, "knob", [1])
    board.start()
    go(board, 1, 0)
    assert board.path("knob").read_bytes() == b"full power"


def test_two_devices_of_one_node_write_side_by_side(board):
    for name in ("first", "second"):
        board.section(name, "charger", node_path="@/shared", level_table="10 20 30")
    ask(board, "first+second", ["1+2"])
    board.start()
    go(board, 1, 0)
    assert board.writes("shared") == ["20", "30"]


# Camera.

def camera(board, levels):
    board.device("cam", "30 24 015 x8", "camera")
    ask(board, "cam", levels)
    board.start()


def camera_writes(board, since=0):
    return [(event.name, event.data.decode())
            for event in board.write_events("cam", FRAME_RATE, since=since)]


def test_a_camera_fixes_its_frame_rate_before_it_leaves_level_0(board):
    camera(board, [2])
    go(board, 1, 0)
    assert camera_writes(board) == [(FRAME_RATE, "1"), ("cam", "015")]
    assert (board.box.camera_dir / FRAME_RATE).read_text() == "1"


def test_a_camera_frees_its_frame_rate_before_it_returns_to_level_0(board):
    camera(board, [2])
    go(board, 1, 0)
    mark = board.mark()
    go(board, 0, 1)
    assert camera_writes(board, mark) == [(FRAME_RATE, "0"), ("cam", "30")]
    assert (board.box.camera_dir / FRAME_RATE).read_text() == "0"


def test_a_camera_between_two_levels_leaves_its_frame_rate_alone(board):
    camera(board, [1, 3])
    go(board, 1, 0)
    mark = board.mark()
    go(board, 2, 1)
    go(board, 1, 2)
    # Its text is written as it stands, whatever its type.
    assert camera_writes(board, mark) == [("cam", "x8"), ("cam", "24")]


def test_a_camera_that_is_applied_at_level_0_fixes_and_frees_its_frame_rate(board):
    camera(board, [0])
    go(board, 1, 0)
    assert camera_writes(board) == [(FRAME_RATE, "1"), (FRAME_RATE, "0")]
    go(board, 0, 1)
    assert camera_writes(board) == [(FRAME_RATE, "1"), (FRAME_RATE, "0")] * 2


def test_a_camera_without_a_frame_rate_switch_goes_on_in_silence(board):
    board.box.camera_dir.rmdir()
    camera(board, [2])
    go(board, 1, 0)
    go(board, 0, 1)
    assert camera_writes(board) == [("cam", "015"), ("cam", "30")]
    assert board.logs("[TalmorThermal] [TalmorThermal] Device") == []


def test_a_camera_writes_hexadecimal_and_binary_entries_as_text(board):
    board.device("cam", "0x1e 0b11 0x0F", "camera")
    ask(board, "cam", [1, 2])
    board.start()
    go(board, 1, 0)
    go(board, 2, 1)
    assert board.writes("cam") == ["0b11", "0x0F"]


# CPU frequency.

@pytest.mark.parametrize("entry, data", [
    ("1950000", b"\x30\xc1\x1d\x00"), ("0", b"\0\0\0\0"), ("-2", b"\xfe\xff\xff\xff"),
    ("0x10", b"\0\0\0\0"), ('"12 x"', b"\x0c\0\0\0"), ("word", b"\0\0\0\0"),
    ("2147483647", b"\xff\xff\xff\x7f"), ("4294967298", b"\x02\0\0\0"), ("10", b"\n\0\0\0"),
])
def test_a_cpu_frequency_is_written_as_four_bytes(board, entry, data):
    board.device("freq", f"5 {entry} 6", "cpufreq")
    ask(board, "freq", [1])
    board.start()
    go(board, 1, 0)
    assert [(event.data, event.offset) for event in board.write_events("freq")] == [(data, 0)]
    go(board, 0, 1)
    assert board.path("freq").read_bytes() == b"\x05\0\0\0"


# Report.

LINE = re.compile(r"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d) : \[(.*)\] (.*)")
OVER = "Over Thresholds, currenct Status(1)"
UNDER = "Under Thresholds Clear"


def report(board):
    """The report's lines: who, and what."""
    text = board.path("report").read_text()
    assert text == "" or text.endswith("\n")
    matches = [LINE.fullmatch(line) for line in text.splitlines()]
    assert all(matches), text
    return [(match[2], match[3]) for match in matches]


@pytest.fixture
def reporting(board):
    board.section("report", "report", node_path="@/report")
    return board


def test_a_report_tells_when_an_algorithm_goes_over_and_under_once_each(reporting):
    board = reporting
    ask(board, "report", [1])
    board.started()
    assert report(board) == []
    go(board, 1, 0)
    board.wait_decisions("hot", 5)
    assert report(board) == [("hot", OVER)]
    go(board, 0, 1)
    assert report(board) == [("hot", OVER), ("hot", UNDER)]
    go(board, 1, 0)
    assert report(board) == [("hot", OVER), ("hot", UNDER), ("hot", OVER)]


def test_a_report_bears_the_local_time_of_the_event(reporting):
    board = reporting
    ask(board, "report", [1])
    board.start()
    before = datetime.datetime.now().replace(microsecond=0)
    go(board, 1, 0)
    after = datetime.datetime.now()
    stamp = LINE.fullmatch(board.path("report").read_text().rstrip("\n"))[1]
    assert before <= datetime.datetime.strptime(stamp, "%Y-%m-%d %H:%M:%S") <= after


def set_zone(etc, hours):
    """Makes the system's time zone, inside, so many hours east of Greenwich."""
    # One block of version 1 with one local time type, and a name of three letters.
    header = struct.pack(">4s16x6l", b"TZif", 0, 0, 0, 0, 1, 4)
    new = etc / "localtime.new"
    new.write_bytes(header + struct.pack(">lBB4s", hours * 3600, 0, 0, b"XXX"))
    os.rename(new, etc / "localtime")


def test_a_report_follows_the_time_zone_when_it_changes(reporting):
    board = reporting
    etc = board.box.nodes / "etc"
    etc.mkdir()
    set_zone(etc, 0)
    ask(board, "report", [1])
    board.start(prefix=["sh", "-c", 'unset TZ; mount --bind "$0" /etc && exec "$@"', str(etc)])
    begin = datetime.datetime.utcnow().replace(microsecond=0)
    go(board, 1, 0)
    set_zone(etc, 5)
    go(board, 0, 1)
    elapsed = datetime.datetime.utcnow() - begin
    over, under = (datetime.datetime.strptime(LINE.fullmatch(line)[1], "%Y-%m-%d %H:%M:%S") - begin
                   for line in board.path("report").read_text().splitlines())
    assert datetime.timedelta(0) <= over <= elapsed
    assert over + datetime.timedelta(hours=5) <= under <= elapsed + datetime.timedelta(hours=5)


def test_a_report_line_has_this_form(reporting):
    board = reporting
    ask(board, "report", [1])
    board.start()
    go(board, 1, 0)
    go(board, 0, 1)
    text = re.sub(r"\d", "9", board.path("report").read_text())
    assert text == ("9999-99-99 99:99:99 : [hot] Over Thresholds, currenct Status(9)\n"
                    "9999-99-99 99:99:99 : [hot] Under Thresholds Clear\n")


def test_a_report_of_level_2_or_more_says_nothing(reporting):
    board = reporting
    ask(board, "report", [2, 5, 1])
    board.start()
    go(board, 1, 0)
    go(board, 2, 1)
    assert report(board) == []
    go(board, 3, 2)
    assert report(board) == [("hot", OVER)]
    go(board, 1, 3)
    assert report(board) == [("hot", OVER)]


def test_a_further_level_of_1_is_a_new_alarm(reporting):
    board = reporting
    ask(board, "report", [1, 1])
    board.start()
    go(board, 1, 0)
    go(board, 2, 1)
    assert report(board) == [("hot", OVER)] * 2


def test_every_algorithm_reports_under_its_own_name(reporting):
    board = reporting
    board.sensor("skin", 60000)
    board.monitor("z", actions="report")
    board.monitor("a", actions="report")
    board.monitor("skin", sensor="skin", actions="report")
    board.start()
    board.wait_log(monitor_line("skin", 60000, 1, 1))
    assert report(board) == [("skin", OVER)]
    board.set("cpu", 60000)
    board.wait_log(monitor_line("a", 60000, 1, 1))
    assert report(board) == [("skin", OVER), ("z", OVER), ("a", OVER)]


def test_an_existing_report_is_begun_anew_at_start(reporting):
    board = reporting
    board.node("report", "an old line")
    board.started()
    assert board.path("report").read_bytes() == b""


def test_a_report_that_cannot_be_opened_is_logged_and_skipped(board):
    board.section("report", "report", node_path="/nonexistent/report")
    board.device("gpu")
    ask(board, "report+gpu", ["1+1"])
    board.start()
    assert board.wait_log("[TalmorThermal] [TalmorThermal] Device [report] open failed")
    go(board, 1, 0)
    board.wait_writes("gpu", ["1"])

"""thermalctl status: what the files and nodes beside a daemon tell, once or live."""

import os
import re
import shutil
import signal
from pathlib import Path

import pytest

from daemon import monitor

CONFIGURATION = "SCEN Default\n" + monitor("day") + "SCEN game\n" + monitor("play", action_info=2)
COLOUR = re.compile(r"\x1b\[[0-9;]*m")
TAKEN_OVER, GIVEN_BACK = "\x1b[?1049h\x1b[?25l", "\x1b[?25h\x1b[?1049l"


@pytest.fixture
def board(daemon):
    daemon.sensor("cpu", 60000)
    daemon.sensor("battery", 31500, sampling=1000)
    daemon.section("skin", "virtual", sampling=1000, sensors="cpu battery", weights="1 2",
                   trip_sensor="cpu", set_point=90000, set_point_clr=80000)
    daemon.device("gpu")
    daemon.node("gpu")
    daemon.section("log", "report", node_path="@/log")
    daemon.node("log")
    daemon.conf(CONFIGURATION)
    daemon.started().wait_writes("gpu", ["1"])
    return daemon


@pytest.fixture
def words(board):
    return ("status", "--dir", board.box.data_dir, "--env", board.box.env_file)


# Once.

def test_it_shows_the_words_and_every_node(board, thermalctl, words):
    assert thermalctl(*words) == (0, """\
scenario  Default
request   none

sensor   kind     temperature
cpu      real     60.000 C
battery  real     31.500 C
skin     virtual  -            computed, no node

device  kind     value  level
gpu     gpufreq  1      1 of 9
log     report   -      -       nothing reported
""", "")


def test_it_follows_the_daemon(board, thermalctl, words):
    board.switch("game")
    board.wait_writes("gpu", ["1", "2"])
    board.set("battery", 41000)
    out = thermalctl(*words).out
    assert "scenario  game\n" in out
    assert "battery  real     41.000 C\n" in out
    assert "gpu     gpufreq  2      2 of 9\n" in out


def test_it_only_reads(board, thermalctl, words):
    mark = board.mark()
    for _ in range(3):
        thermalctl(*words)
    board.wait_polls(2)
    assert board.logs("[TalmorThermal] No scen file", mark) == []
    assert board.writes("talmor-thermal.scen", mark) == []
    assert board.logs("[TalmorThermal] Changing", mark) == []


def test_a_pending_request_is_shown(board, thermalctl, words):
    board.box.stop()
    board.ask_configuration("night.conf")
    assert "request   night.conf  pending\n" in thermalctl(*words).out


def test_what_is_missing_is_told_by_the_exit_status_too(board, thermalctl, words):
    board.box.stop()
    os.unlink(board.path("battery"))
    os.unlink(board.path("gpu"))
    os.unlink(board.box.data_dir / "talmor-thermal.dconf")
    status, out, err = thermalctl(*words)
    assert (status, err) == (1, "")
    assert f"request   -  cannot be opened: {board.box.data_dir}/talmor-thermal.dconf\n" in out
    assert f"battery  real     -            missing: {board.path('battery')}\n" in out
    assert f"gpu     gpufreq  -      -      missing: {board.path('gpu')}\n" in out


def test_a_write_only_node_is_left_alone(board, thermalctl, words):
    os.chmod(board.path("gpu"), 0o200)
    status, out, _ = thermalctl(*words)
    assert status == 0
    assert "gpu     gpufreq  -      -      write-only\n" in out


def test_a_pipe_is_left_to_its_reader(board, thermalctl, words):
    os.unlink(board.path("log"))
    os.mkfifo(board.path("log"))
    status, out, _ = thermalctl(*words)
    assert status == 0
    assert "log     report   -      -       a pipe\n" in out


@pytest.mark.parametrize("option, path, message", [
    ("--env", "no.env", "cannot read {}: No such file or directory"),
    ("--dir", "no", "no such directory: {}"),
])
def test_it_needs_its_environment_and_its_directory(board, thermalctl, words, tmp_path, option,
                                                    path, message):
    arguments = list(words)
    arguments[arguments.index(option) + 1] = tmp_path / path
    assert thermalctl(*arguments) == (2, "", f"thermalctl: {message.format(tmp_path / path)}\n")


@pytest.fixture
def image(board, tmp_path):
    """A copy of the board's files below a folder, whose nodes have other values."""
    root = tmp_path / "image"
    shutil.copytree(board.box.data_dir, root / "data/vendor/thermal")
    for name, value in (("cpu", "41000"), ("battery", "20500"), ("gpu", "3"), ("log", "")):
        node = root / str(board.path(name)).lstrip("/")
        node.parent.mkdir(parents=True, exist_ok=True)
        node.write_text(value)
    (root / "vendor/etc").mkdir(parents=True)
    shutil.copy(board.box.env_file, root / "vendor/etc/talmor-thermal.env")
    return root


@pytest.mark.parametrize("slash", ["", "/"])
def test_the_nodes_are_read_below_a_root(image, thermalctl, words, slash):
    status, out, err = thermalctl(*words, "--root", f"{image}{slash}")
    assert (status, err) == (0, "")
    assert "cpu      real     41.000 C\n" in out
    assert "gpu     gpufreq  3      3 of 9\n" in out


def test_the_other_files_are_below_the_root_unless_named(image, board, thermalctl):
    (image / "data/vendor/thermal/talmor-thermal.scen").write_text("game")
    out = thermalctl("status", "--root", image).out
    assert "scenario  game\n" in out and "41.000 C" in out
    assert "scenario  Default\n" in thermalctl("status", "--root", image,
                                               "--dir", board.box.data_dir).out
    os.unlink(image / "vendor/etc/talmor-thermal.env")
    assert thermalctl("status", "--root", image) == (
        2, "", f"thermalctl: cannot read {image}/vendor/etc/talmor-thermal.env: No such file or"
               " directory\n")
    assert thermalctl("status", "--root", image, "--env", board.box.env_file).status == 0


def test_a_node_in_tenths_is_shown_in_degrees(image, board, thermalctl):
    Path(f"{image}{board.path('cpu')}").write_text("412\n")
    assert "cpu      real     0.412 C\n" in thermalctl("status", "--root", image).out
    settings = image / "vendor/etc/thermalctl.toml"
    settings.write_text('[sensor.cpu]\nunit = "tenths"\n')
    assert "cpu      real     41.200 C\n" in thermalctl("status", "--root", image).out
    # Settings that are wrong keep nobody from looking at the board.
    settings.write_text("unit")
    status, out, err = thermalctl("status", "--root", image)
    assert (status, err) == (0, "") and "cpu      real     0.412 C\n" in out


def test_a_node_that_is_missing_below_the_root_is_named_with_it(image, board, thermalctl, words):
    node = f"{image}{board.path('cpu')}"
    os.unlink(node)
    status, out, _ = thermalctl(*words, "--root", image)
    assert status == 1
    assert f"missing: {node}\n" in out


def test_what_cannot_be_read_is_told_with_the_reason(board, thermalctl, words, tmp_path):
    (tmp_path / "file").touch()
    data, env = str(board.box.data_dir), str(board.box.env_file)
    for option, path, message in (
            ("--dir", tmp_path / "file", f"not a directory: {tmp_path}/file"),
            ("--env", tmp_path, f"cannot read {tmp_path}: Is a directory"),
            ("--env", env.replace(".env", ".evn"),
             f"cannot read {env.replace('.env', '.evn')}: No such file or directory; did you mean"
             " 'talmor-thermal.env'?")):
        arguments = list(words)
        arguments[arguments.index(option) + 1] = path
        assert thermalctl(*arguments) == (2, "", f"thermalctl: {message}\n"), data


@pytest.mark.parametrize("env, coloured", [({}, True), ({"NO_COLOR": ""}, True),
                                           ({"NO_COLOR": "1"}, False)])
def test_colour_is_for_terminals_that_want_it(board, thermalctl, words, env, coloured):
    with thermalctl.on_terminal(*words, env=env) as terminal:
        assert terminal.end() == 0
    assert bool(COLOUR.search(terminal.text)) == coloured
    assert COLOUR.sub("", terminal.text).replace("\r", "") == thermalctl(*words).out


# Live.

@pytest.fixture
def live(board, thermalctl, words):
    terminals = []

    def start(**options):
        terminal = thermalctl.on_terminal(*words, "--watch", **options)
        terminals.append(terminal)
        terminal.wait_for(lambda text: "q quits" in text)
        return terminal

    yield start
    for terminal in terminals:
        terminal.__exit__()


def shown(terminal):
    """The last whole picture, without its looks."""
    pictures = terminal.text.split("\x1b[H")
    whole = [picture for picture in pictures if "\x1b[J" in picture][-1]
    return COLOUR.sub("", whole.partition("\x1b[J")[0]).replace("\x1b[K", "").replace("\r", "")


def test_the_table_is_drawn_each_second(board, live, thermalctl, words):
    terminal = live()
    assert terminal.text.startswith(TAKEN_OVER)
    assert shown(terminal) == thermalctl(*words).out + "\nevery second; q quits"
    board.set("battery", 41000)
    terminal.wait_for(lambda _: "battery  real     41.000 C\n" in shown(terminal))
    board.switch("game")
    terminal.wait_for(lambda _: "gpu     gpufreq  2      2 of 9\n" in shown(terminal))
    assert "scenario  game\n" in shown(terminal)


def test_q_ends_it_and_gives_the_terminal_back(live):
    terminal = live()
    assert terminal.settings() != terminal.before
    terminal.type("xyzq")
    assert terminal.end() == 0
    assert terminal.text.endswith(GIVEN_BACK)
    assert terminal.settings() == terminal.before


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT])
def test_a_signal_ends_it_and_the_terminal_is_given_back(live, number):
    terminal = live()
    terminal.process.send_signal(number)
    assert terminal.end() == -number
    assert terminal.text.count(GIVEN_BACK) == 1  # an emulator has a last word of its own
    assert terminal.settings() == terminal.before


def test_control_c_ends_it_and_the_terminal_is_given_back(live):
    terminal = live()
    terminal.type("\x03")
    assert terminal.end() == -signal.SIGINT
    assert terminal.text.endswith(GIVEN_BACK)
    assert terminal.settings() == terminal.before


def test_control_z_does_not_stop_it_in_the_middle(live):
    terminal = live()
    terminal.type("\x1aq")
    assert terminal.end() == 0


def test_it_ends_when_its_terminal_goes_away(live):
    terminal = live()
    os.close(terminal.slave)
    os.close(terminal.master)
    terminal.slave = terminal.master = None
    assert terminal.process.wait(40) in (0, -signal.SIGHUP)


def test_a_small_terminal_shows_what_it_has_room_for(board, thermalctl, words):
    with thermalctl.on_terminal(*words, "--watch", rows=5, columns=12) as terminal:
        terminal.wait_for(lambda text: "\x1b[J" in text)
        assert shown(terminal) == "scenario  De\nrequest   no\n\nsensor   kin\ncpu      rea"
        terminal.resize(24, 100)
        terminal.wait_for(lambda text: "q quits" in text)
        terminal.type("q")
        assert terminal.end() == 0


def test_without_colour_the_table_is_live_all_the_same(live):
    terminal = live(env={"NO_COLOR": "1"})
    terminal.type("q")
    assert terminal.end() == 0
    assert not COLOUR.search(terminal.text)


def test_watching_needs_a_terminal(thermalctl, words):
    assert thermalctl(*words, "--watch") == (2, "", "thermalctl: --watch needs a terminal\n")

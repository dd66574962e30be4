"""Every command of the documents, run as it stands there, and what it prints beside what the document shows.

A block of the kind `sh` is run as one script, a block with lines that begin with `$` line by line, the blocks of a
document one after the other. They run on a device: the phone's board, whose daemon is running, in the sandbox's own
/vendor, /data and nodes. There a folder holds all that the documents' commands name; see `workplace`. A block of
the kind `text` without `$` shows the output of the block before it, unless a heading stands between. `...` stands for
any lines.

What differs between two runs is masked on both sides: see MASKS, the one place for that.
"""

import re
import shutil
import signal
import subprocess
from pathlib import Path
from typing import NamedTuple

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
DOCUMENTS = [path.relative_to(REPOSITORY).as_posix() for path in (
    REPOSITORY / "README.md", REPOSITORY / "boards/phone/README.md", *sorted((REPOSITORY / "docs").glob("*.md")))]

# Nothing of what is shown at present differs between two runs: a simulation is the same byte by byte.
MASKS = []

# Blocks that are not run, by their first line, and why.
NOT_RUN = {
    "scripts/demo      # a simulated phone plays a game for a minute; the real daemon keeps it cool":
        "they take minutes, and the second would run itself",
    "export ANDROID_NDK_HOME=/path/to/the/ndk": "there is no NDK; scripts/size does it with what stands in for one",
    "adb logcat -s echo-service:V": "reads the log until it is stopped",
    "#!/vendor/bin/sh": "the script of a device, linking its zones; tests/android/test_document.py runs it with zones",
}
# Commands of the tool that end with another status than 0, by what stands in them.
STATUS = {
    ("README.md", "check --env board.env --conf day.conf"): 1,
    ("docs/android.md", "--verify edited"): 1,
    ("docs/check.md", "check --env board.env --conf day.conf"): 1,
    ("docs/check.md", "--nodes /mnt/image"): 1,
    ("docs/simulation.md", "tuning/study.toml"): 1,
    ("docs/simulation.md", "--out sweep"): 1,
    ("docs/simulation.md", "--plant cold.toml"): 2,
    ("docs/thermalctl.md", "status --wach"): 2,
    ("docs/thermalctl.md", "scenario arcade"): 1,
    ("docs/thermalctl.md", "scenario gmae"): 1,
    ("docs/thermalctl.md", "scenario game --timeout 4"): 2,
    ("docs/thermalctl.md", "reload bad.conf"): 1,
}
# Outputs of which only some rows are shown, each with the name of its group, by their document.
SHOWS_ROWS = {"docs/report.md", "docs/simulation.md"}
# Outputs behind a heading, by their document.
BEHIND_A_HEADING = {"docs/report.md"}

# What the documents' device has where it shows its state.
NODES = {
    ("real", "little"): 46200, ("real", "big"): 58800, ("real", "gpu"): 52100, ("real", "battery"): 36400,
    ("cpufreq", "cpu_big"): 1400000, ("cpufreq", "cpu_little"): 1800000, ("gpufreq", "gpu"): 850000,
    ("cpuhotplug", "hotplug"): 8, ("charger", "charger"): 1200, ("backlight", "backlight"): 178,
    ("camera", "camera"): 30,
}  # fmt: skip


class Block(NamedTuple):
    kind: str
    lines: tuple
    line: int
    after_heading: bool


def blocks_of(text):
    found, inside, heading = [], None, True
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("```"):
            if inside is None:
                inside = (line[3:], [], number)
            else:
                found.append(Block(inside[0], tuple(inside[1]), inside[2], heading))
                inside, heading = None, False
        elif inside is not None:
            inside[1].append(line)
        elif line.startswith("#"):
            heading = True
    return found


def masked(text):
    for pattern, sign in MASKS:
        text = re.sub(pattern, sign, text)
    return text


def rows_with_groups(lines):
    """The table's lines, each under the name of its group, which stands in the first line of a group alone."""
    group = ""
    for line in lines:
        group = line.split("  ")[0] or group
        yield " ".join(line.split()), " ".join([group, *line.split()])


def missing_row(shown, printed):
    """The first shown line that is not printed behind the one before it."""
    left = iter(rows_with_groups(printed))
    for line in shown:
        row = " ".join(line.split())
        if row not in ("", "...") and not any(row in either for either in left):
            return line
    return None


def is_shown(shown, printed):
    """Whether the lines are those that were printed, `...` being any."""
    pattern = "".join("(?:.*\n)*?" if line == "..." else re.escape(line) + "\n" for line in shown)
    return re.fullmatch(pattern, "".join(f"{line}\n" for line in printed))


def write_log(path):
    """What a phone's log has of the daemon: 58 messages in 60 lines, one of them torn."""
    def line(second, text):
        return f"01-30 14:{second // 60:02}:{second % 60:02}.000  1234  5678 V echo-service: {text}\n"

    lines = [line(second, f"[TalmorThermal] Sensor [big], Scen [Default] temp({30000 + 500 * second})")
             for second in range(60)]
    lines[20] = line(20, "[TalmorThermal] Sensor [big], Sc")
    lines[40] = line(40, "somebody else's").replace("echo-service", "surfaceflinger")
    path.write_text("".join(lines))


@pytest.fixture
def device(new_daemon):
    """A phone at rest, with its daemon."""
    daemon = new_daemon()
    phone = REPOSITORY / "boards/phone"
    daemon.env_text = (phone / "talmor-thermal.env").read_text()
    daemon.conf_text = (phone / "talmor-thermal.conf").read_text()
    for (kind, _), node in nodes_of(daemon.env_text).items():
        if kind != "report":
            daemon.box.add_node(node, "30000\n" if kind == "real" else "0\n")
    return daemon.started()


def nodes_of(environment):
    """By kind and name: a sensor and a device may share theirs."""
    found = re.findall(r"^\[(\w+)\]\ntype (\w+)$(?:\n.+)*?\nnode_path (\S+)", environment, re.M)
    return {(kind, name): node for name, kind, node in found}


@pytest.fixture
def workplace(tmp_path, build_dir):
    """The folders and files that the commands name, and what stands in for programs that a phone or a user has."""
    shutil.copytree(REPOSITORY / "boards", tmp_path / "boards")
    phone, guide = REPOSITORY / "boards/phone", REPOSITORY / "tests/thermalctl/guide"
    for file in (*phone.glob("talmor-thermal*"), *guide.iterdir()):
        shutil.copy(file, tmp_path)
    shutil.copy(phone / "talmor-thermal_night.conf", tmp_path / "night.conf")
    (tmp_path / "bad.conf").write_text((phone / "talmor-thermal.conf").read_text()
                                       .replace("algo_type monitor", "algo_type Monitor", 1))
    # An edit of a scenario, and the board as it was committed.
    day = (phone / "talmor-thermal.conf").read_text()
    (tmp_path / "old.conf").write_text(day)
    (tmp_path / "new.conf").write_text(day.replace("thresholds 38000 40000", "thresholds 39000 40000"))
    for words in (("init", "-qb", "main"), ("add", "boards"), ("commit", "-qm", "board")):
        subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@b", *words], cwd=tmp_path, check=True)
    for name in ("device.log", "phone.log"):
        write_log(tmp_path / name)
    programs = tmp_path / "programs"
    programs.mkdir()
    write_program(programs / "adb", f'cat "{tmp_path}/device.log"')
    write_program(programs / "chromium", "test -s report/report.html")
    # It watches until somebody presses a key on its terminal. Each of its runs is noted with its status.
    write_program(programs / "thermalctl", f"""\
case "$*" in
  *--watch*) (sleep 2; printf q) | script -qec "{build_dir}/thermalctl $*" /dev/null ;;
  *) "{build_dir}/thermalctl" "$@" ;;
esac
status=$?
echo "$status $*" >> "{tmp_path}/statuses"
exit $status""")
    return tmp_path


def copy_device(box, image):
    """The device's files as they are, below a folder."""
    for folder in ("/vendor", "/data", "/sys/devices/platform"):
        shutil.copytree(box.host_path(folder), f"{image}{folder}")


def write_program(path, body):
    path.write_text(f"#!/bin/bash\n{body}\n")
    path.chmod(0o755)


@pytest.fixture
def run(workplace, device):
    """Runs a script on the device, and returns all that it prints and what the tool's runs ended with."""
    copy_device(device.box, workplace / "image")
    enter = device.box.entering("--mount", "--root", f"--wdns={workplace}")

    def run_script(script):
        (workplace / "statuses").write_text("")
        head = f'export PATH="{workplace}/programs:$PATH" NO_COLOR=1\n'
        done = subprocess.run([*enter, "bash", "-c", head + script], stdin=subprocess.DEVNULL, timeout=300,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)  # fmt: skip
        return done.stdout, [line.split(" ", 1) for line in (workplace / "statuses").read_text().splitlines()]
    return run_script


def as_shown(device, command):
    """Brings the device into the state that the document tells of."""
    if "--timeout" in command:
        device.box.process.send_signal(signal.SIGSTOP)
    elif command == "thermalctl status":
        device.box.process.send_signal(signal.SIGSTOP)
        for (kind, name), node in nodes_of(device.env_text).items():
            if kind != "report":
                value = NODES[kind, name]
                text = value.to_bytes(4, "little") if kind == "cpufreq" else f"{value}\n".encode()
                device.box.host_path(node).write_bytes(text)


def sessions(block):
    """Each command of a block with its output."""
    found = []
    for line in block.lines:
        if line.startswith("$ "):
            found.append((line[2:], []))
        else:
            found[-1][1].append(line)
    return found


def wrong_statuses(document, statuses, used):
    for status, words in statuses:
        listed = [key for key in STATUS if key[0] == document and key[1] in words]
        used.update(listed)
        expected = STATUS[listed[0]] if listed else 0
        if int(status) != expected:
            yield f"thermalctl {words}: ended with {status}, not {expected}"


def differences(document, shown, printed):
    shown, printed = masked("\n".join(shown)).splitlines(), masked(printed).splitlines()
    if document in SHOWS_ROWS:
        row = missing_row(shown, printed)
        return [f"not printed: {row}", *printed] if row else []
    return [] if is_shown(shown, printed) else ["shown:", *shown, "printed:", *printed]


@pytest.mark.parametrize("document", DOCUMENTS)
def test_its_commands_print_what_it_shows(document, run, device):
    blocks = blocks_of((REPOSITORY / document).read_text())
    wrong, used, printed = [], set(), None
    for block in blocks:
        where = f"{document}:{block.line}: "
        if block.kind == "sh" and block.lines[0] in NOT_RUN:
            printed = None
        elif block.kind == "sh":
            printed, statuses = run("\n".join(block.lines))
            wrong += [where + text for text in wrong_statuses(document, statuses, used)]
            if "command not found" in printed or "No such file" in printed:
                wrong += [where, printed]
        elif block.lines[0].startswith("$ "):
            for command, shown in sessions(block):
                as_shown(device, command)
                output, statuses = run(command)
                device.box.process.send_signal(signal.SIGCONT)
                wrong += [where + text for text in wrong_statuses(document, statuses, used)]
                wrong += [where + text for text in differences(document, shown, output)]
            printed = None
        elif block.kind == "text" and printed is not None:
            if not block.after_heading or document in BEHIND_A_HEADING:
                wrong += [where + text for text in differences(document, block.lines, printed)]
            printed = None
    assert not wrong, "\n".join(wrong)
    assert used == {key for key in STATUS if key[0] == document}, "listed in STATUS, but no command of the document"


def test_what_is_not_run_is_still_there():
    lines = {block.lines[0] for name in DOCUMENTS for block in blocks_of((REPOSITORY / name).read_text())}
    assert set(NOT_RUN) <= lines

"""thermalctl integrate: the folder by which an Android tree takes a board up, made and compared."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

BOARD = """\
[cpu]
type real
node_path /sys/devices/platform/tmu/temp

[big]
type cpufreq
node_path /sys/devices/platform/cpu/big
level_table 2600 1200

[gpu]
type gpufreq
node_path /sys/devices/platform/gpu/max
level_table 850 700
"""

FILES = ["Android.bp", "sepolicy/file_contexts", "sepolicy/genfs_contexts",
         "talmor-thermal-big.level0", "talmor-thermal-board.rc", "talmor-thermal-ueventd.rc",
         "talmor-thermal.conf", "talmor-thermal.env"]


@pytest.fixture
def board(tmp_path):
    (tmp_path / "talmor-thermal.conf").write_text("SCEN Default\n")
    (tmp_path / "board.env").write_text(BOARD)
    return tmp_path / "board.env"


@pytest.fixture
def integrate(thermalctl, board):
    return lambda *words: thermalctl("integrate", "--env", board, *words)


@pytest.fixture
def folder(integrate, tmp_path):
    status, _, err = integrate("--out", tmp_path / "out")
    assert (status, err) == (0, "")
    return tmp_path / "out"


def contents(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted(folder.rglob("*"))
            if path.is_file()}


def edit(file, old, new):
    text = file.read_text()
    assert old in text
    file.write_text(text.replace(old, new, 1))


# Made.

def test_it_writes_the_files_and_names_each(integrate, tmp_path):
    out = tmp_path / "new" / "folder"
    status, listed, err = integrate("--out", out)
    assert (status, err) == (0, "")
    assert sorted(listed.splitlines()) == [str(out / name) for name in FILES]
    assert sorted(contents(out)) == FILES


def test_the_level_of_a_raw_node_is_four_bytes(folder):
    assert (folder / "talmor-thermal-big.level0").read_bytes() == (2600).to_bytes(4, "little")


def test_a_second_time_changes_nothing(integrate, folder):
    before = contents(folder)
    assert integrate("--out", folder)[0] == 0
    assert contents(folder) == before


def test_what_was_edited_by_hand_is_made_anew(integrate, folder):
    before = contents(folder)
    edit(folder / "talmor-thermal-board.rc", "850", "900")
    (folder / "Android.bp").unlink()
    assert integrate("--out", folder)[0] == 0
    assert contents(folder) == before


def test_the_boards_own_folder_can_be_the_one(thermalctl, board, tmp_path):
    own = board.rename(tmp_path / "talmor-thermal.env")
    for action in ("--out", "--verify"):
        assert thermalctl("integrate", "--env", own, action, tmp_path)[0] == 0
    assert own.read_text() == BOARD


def test_without_a_configuration_beside_it_it_says_where_one_belongs(integrate, board, tmp_path):
    (board.parent / "talmor-thermal.conf").unlink()
    status, _, err = integrate("--out", tmp_path / "out")
    wanted = tmp_path / "out" / "talmor-thermal.conf"
    assert (status, err) == (0, f"thermalctl: the Blueprint file installs {wanted}: put the factory's "
                                "configuration there\n")
    assert integrate("--verify", tmp_path / "out")[0] == 0


def test_the_bytes_of_a_device_that_is_gone_are_removed(integrate, board, folder):
    (folder / "notes.txt").write_text("mine")
    edit(board, "type cpufreq", "type gpufreq")
    status, out, _ = integrate("--out", folder)
    gone = folder / "talmor-thermal-big.level0"
    assert status == 0
    assert f"{gone}: removed, for no device needs it any more\n" in out
    assert not gone.exists() and (folder / "notes.txt").exists()


# Compared.

def test_what_was_made_does_not_differ(integrate, folder):
    assert integrate("--verify", folder) == (0, "no problems in 7 files\n", "")


def test_remarks_and_white_space_make_no_difference(integrate, folder):
    edit(folder / "talmor-thermal-board.rc", "    chown", "# ours\n\n  \tchown  ")
    assert integrate("--verify", folder)[0] == 0


def test_a_missing_line_is_told(integrate, folder, board):
    rc = folder / "talmor-thermal-board.rc"
    edit(rc, "    chown system system /sys/devices/platform/gpu/max\n", "")
    line = rc.read_text().splitlines().index("    chmod 0644 /sys/devices/platform/gpu/max") + 1
    assert integrate("--verify", folder) == (1, f"""\
{rc}:{line}:5: error: a line is missing before this one: 'chown system system \
/sys/devices/platform/gpu/max' [missing]
{line:5} |     chmod 0644 /sys/devices/platform/gpu/max
      |     ^
      hint: put it in
1 error in 7 files
""", "")


def test_an_extra_line_is_told(integrate, folder, board):
    rc = folder / "talmor-thermal-board.rc"
    rc.write_text(rc.read_text() + "    onrestart write /sys/a 1\n")
    status, out, _ = integrate("--verify", folder)
    line = len(rc.read_text().splitlines())
    assert status == 1
    assert out.startswith(f"{rc}:{line}:5: error: nothing in {board} asks for this line [extra]\n")
    assert out.endswith("hint: take it out\n1 error in 7 files\n")


@pytest.mark.parametrize("name, old, new", [
    ("talmor-thermal-board.rc", "write /sys/devices/platform/gpu/max 850",
     "write /sys/devices/platform/gpu/max 900"),
    ("talmor-thermal-board.rc", "chown system system", "chown root system"),
    ("talmor-thermal-board.rc", "restart_period 120", "restart_period 5"),
    ("sepolicy/genfs_contexts", "sysfs_talmor_thermal_sensor", "sysfs_thermal"),
    ("Android.bp", 'sub_dir: "init"', 'sub_dir: "inti"'),
])
def test_a_line_that_says_something_else_is_told_once(integrate, folder, name, old, new):
    file = folder / name
    right = next(line for line in file.read_text().splitlines() if old in line)
    edit(file, old, new)
    status, out, _ = integrate("--verify", folder)
    assert status == 1
    assert "this line differs from what" in out and "[different]\n" in out
    assert f"hint: it must be '{' '.join(right.split())}'\n1 error in 7 files\n" in out


def test_a_changed_environment_is_a_difference_of_each_file_that_it_shows_in(integrate, folder, board):
    edit(board, "850", "900")
    status, out, _ = integrate("--verify", folder)
    assert status == 1
    assert [line.split(":")[0] for line in out.splitlines() if ": error:" in line] == [
        str(folder / name) for name in ("talmor-thermal-board.rc", "talmor-thermal-board.rc",
                                        "talmor-thermal.env")]


@pytest.mark.parametrize("name", sorted({*FILES} - {"talmor-thermal.conf"}))
def test_a_file_that_is_missing_is_told(integrate, folder, board, name):
    (folder / name).unlink()
    status, out, _ = integrate("--verify", folder)
    assert status == 1
    assert out.startswith(f"{folder / name}: error: the file is missing [missing]\n"
                          f"      hint: thermalctl integrate --env {board} --out {folder} makes it\n"
                          "1 file missing or extra\n")
    assert "no problems" not in out


def test_bytes_that_no_device_needs_are_told(integrate, folder):
    shutil.copy(folder / "talmor-thermal-big.level0", folder / "talmor-thermal-old.level0")
    status, out, _ = integrate("--verify", folder)
    assert status == 1
    assert out.startswith(f"{folder}/talmor-thermal-old.level0: error: no device of ")


def test_other_bytes_are_told(integrate, folder):
    (folder / "talmor-thermal-big.level0").write_bytes((2601).to_bytes(4, "little"))
    status, out, _ = integrate("--verify", folder)
    assert status == 1
    assert f"{folder}/talmor-thermal-big.level0:1:1: error: from here on the file differs" in out


def test_a_comparison_changes_nothing(integrate, folder):
    edit(folder / "Android.bp", "true", "false")
    before = contents(folder)
    integrate("--verify", folder)
    assert contents(folder) == before


def test_what_the_integrator_says_of_licenses_stays_and_is_no_difference(integrate, folder):
    licenses = 'package {\n    default_applicable_licenses: ["vendor_acme_license"],\n}\n'
    blueprint = folder / "Android.bp"
    blueprint.write_text(licenses + "\n" + blueprint.read_text())
    assert integrate("--out", folder)[0] == 0
    assert licenses in blueprint.read_text()
    assert integrate("--verify", folder)[0] == 0


# Refused.

@pytest.mark.parametrize("wrong, message", [
    (("/sys/devices/platform/gpu/max", "/proc/gpu"), "no label is for a node here"),
    (("/sys/devices/platform/gpu/max", "/sys/devices/platform/gpu/../max"),
     "this path cannot be told to init"),
    (("/sys/devices/platform/gpu/max", "/sys/devices/platform/gpu/$max"),
     "this path cannot be told to init"),
    (("/sys/devices/platform/gpu/max", "/sys/kernel/debug/gpu"), "a user build has no such node"),
    (("/sys/devices/platform/gpu/max", "/sys/devices/platform/tmu/temp"),
     "a sensor reads this node and a device writes it"),
])
@pytest.mark.parametrize("action", ["--out", "--verify"])
def test_a_node_that_cannot_be_labelled_is_shown_and_nothing_is_written(
        integrate, board, tmp_path, action, wrong, message):
    edit(board, *wrong)
    (tmp_path / "out").mkdir()
    status, out, err = integrate(action, tmp_path / "out")
    line = board.read_text().splitlines().index(f"node_path {wrong[1]}", 4) + 1
    assert status == 1
    assert out.startswith(f"{board}:{line}:11: error: {message}")
    assert f"{line:5} | node_path {wrong[1]}\n      |           ^~~~" in out
    assert "      hint: " in out
    done = "written" if action == "--out" else "compared"
    assert err == f"thermalctl: {board} has errors, so nothing was {done}\n"
    assert contents(tmp_path / "out") == {}


def test_a_doubtful_path_is_warned_of_and_written(integrate, board, tmp_path):
    edit(board, "/sys/devices/platform/tmu/temp", "/sys/class/thermal/thermal_zone0/temp")
    status, out, err = integrate("--out", tmp_path / "out")
    assert (status, err) == (0, "")
    assert f"{board}:3:11: warning: this path leads through a symbolic link" in out
    assert "genfscon sysfs /class/thermal/thermal_zone0/temp " in (
        tmp_path / "out" / "sepolicy" / "genfs_contexts").read_text()


def test_an_environment_with_errors_is_refused(integrate, board, tmp_path):
    edit(board, "type gpufreq", "typ gpufreq")
    status, out, err = integrate("--out", tmp_path / "out")
    assert status == 1
    assert f"{board}:11:1: error: " in out
    assert not (tmp_path / "out").exists()


def test_an_environment_without_a_node_is_refused(integrate, board, tmp_path):
    board.write_text("")
    assert integrate("--out", tmp_path / "out")[0] == 1
    board.write_text("[cpu]\ntype real\n")
    (tmp_path / "thermalctl.toml").write_text(
        '[[silenced]]\nrule = "node-path-missing"\nfile = "board.env"\nreason = "none yet"\n')
    assert integrate("--out", tmp_path / "out") == (
        1, "", f"thermalctl: {board} has no sensor and no device with a node: there is nothing to "
               "integrate\n")
    assert not (tmp_path / "out").exists()


@pytest.mark.parametrize("words, message", [
    ((), "--out or --verify is required"),
    (("--out", "a", "--verify", "b"), "--out and --verify exclude each other"),
    (("--out", ), "--out lacks its value; write --out DIR"),
    (("--verfy", "a"), "--verfy"),
])
def test_a_wrong_command_line_could_not_run(integrate, words, message):
    status, out, err = integrate(*words)
    assert (status, out) == (2, "")
    assert message in err


def test_an_environment_is_required(thermalctl, tmp_path):
    assert thermalctl("integrate", "--out", tmp_path)[0] == 2


def test_files_that_cannot_be_read_or_written_could_not_run(thermalctl, integrate, folder, tmp_path):
    missing = tmp_path / "missing"
    assert thermalctl("integrate", "--env", missing, "--out", folder) == (
        2, "", f"thermalctl: cannot read {missing}: No such file or directory\n")
    assert integrate("--verify", missing) == (
        2, "", f"thermalctl: cannot read {missing}: No such file or directory\n")
    blocked = tmp_path / "file"
    blocked.write_text("")
    status, _, err = integrate("--out", blocked)
    assert (status, err) == (2, f"thermalctl: cannot write {blocked}/Android.bp: Not a directory\n")


@pytest.mark.skipif(os.geteuid() != 0, reason="needs a small file system of its own")
def test_a_full_disk_leaves_every_file_as_it_was(thermalctl, board, tmp_path):
    """An old file stands until the new one is whole."""
    script = ('mount -t tmpfs -o size=40k none "$1" && "$2" integrate --env "$3" --out "$1/out" && '
              'cp -r "$1/out" "$4" && head -c 1000000 /dev/zero > "$1/fill"; '
              '"$2" integrate --env "$3" --out "$1/out"; echo status $?; diff -r "$1/out" "$4" && '
              'echo same; ls -A "$1/out"')
    disk = tmp_path / "disk"
    disk.mkdir()
    done = subprocess.run(["unshare", "-m", "sh", "-c", script, "sh", disk, *thermalctl.command,
                           board, tmp_path / "copy"], capture_output=True, text=True)
    assert "status 2\nsame\n" in done.stdout, done
    assert "No space left on device" in done.stderr
    assert ".XXXXXX" not in done.stdout and not Path(disk / "out").exists()

"""What thermalctl simulate leaves in the folder of its report, however a run ends."""

import hashlib
import os
import resource
import signal
import subprocess
import time
from pathlib import Path

import pytest

from daemon import LIMIT

PHONE = Path(__file__).resolve().parents[2] / "boards" / "phone"
COMMON = ("simulate", "--board", PHONE, "--workload", "game")
FILES = {"trace.csv", "trace.json", "report.html", "results.json", "results.csv"}


def content(folder):
    """Every file with its content's digest, the hidden ones too."""
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
            for path in Path(folder).iterdir()}


@pytest.fixture
def earlier(thermalctl, tmp_path):
    """A folder with an earlier report, and what is in it."""
    folder = tmp_path / "out"
    assert thermalctl(*COMMON, "--duration", "1m", "--out", folder).status == 0
    before = content(folder)
    assert before.keys() == FILES
    return folder, before


def interrupted(thermalctl, folder, number):
    """Ends a run in its middle, once it has written something; its exit status."""
    run = thermalctl.start(*COMMON, "--duration", "300d", "--out", folder, "--only",
                           "html,csv,json,results")
    try:
        deadline = time.monotonic() + LIMIT
        while not any(path.stat().st_size for path in folder.glob(".trace.csv*")):
            assert run.poll() is None and time.monotonic() < deadline
            time.sleep(0.01)
        run.send_signal(number)
        run.communicate(timeout=LIMIT)
        return run.returncode
    finally:
        # Left alone it would fill the disk.
        run.kill()


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_run_that_is_interrupted_leaves_the_earlier_report_and_no_litter(thermalctl, earlier,
                                                                           number):
    folder, before = earlier
    assert interrupted(thermalctl, folder, number) == -number
    assert content(folder) == before


def test_a_run_that_is_interrupted_leaves_no_folder_that_it_made(thermalctl, tmp_path):
    assert interrupted(thermalctl, tmp_path / "new" / "deep", signal.SIGINT) == -signal.SIGINT
    assert list(tmp_path.iterdir()) == []


def test_a_run_leaves_its_files_alone(thermalctl, earlier):
    folder, before = earlier
    assert thermalctl(*COMMON, "--duration", "2m", "--out", folder).status == 0
    after = content(folder)
    assert after.keys() == FILES
    assert all(after[name] != before[name] for name in FILES)


@pytest.mark.parametrize("bytes_", [20_000, 100_000, 1_000_000])
def test_a_file_that_may_not_grow_leaves_the_earlier_report(thermalctl, earlier, bytes_):
    folder, before = earlier
    done = subprocess.run(
        [*thermalctl.command, *map(str, COMMON), "--out", folder], capture_output=True, text=True,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (bytes_, bytes_)))
    assert done.returncode == 2
    assert done.stdout == ""
    assert "cannot be written: File too large" in done.stderr
    assert content(folder) == before


# In a mount namespace of its own: a disk of some pages, an earlier report on it, and what a run
# leaves there.
FULL_DISK = """
mount -t tmpfs -o size={size} none {disk} || exit 99
mkdir {disk}/out
for name in trace.csv trace.json report.html results.json results.csv; do echo old > {disk}/out/$name; done
{run} --out {disk}/{out}
echo $? > {result}/status
ls -A {disk} > {result}/left
ls -A {disk}/out > {result}/names
cat {disk}/out/* > {result}/texts
"""


@pytest.mark.parametrize("size, out", [("64k", "out"), ("600k", "out"), ("2500k", "out"),
                                       ("600k", "new")])
def test_a_full_disk_is_told_and_leaves_the_earlier_report(thermalctl, tmp_path, size, out):
    disk = tmp_path / "disk"
    disk.mkdir()
    run = " ".join(map(str, (*thermalctl.command, *COMMON)))
    script = FULL_DISK.format(size=size, disk=disk, run=run, out=out, result=tmp_path)
    unshare = ["unshare", "--mount", *([] if os.geteuid() == 0 else ["--map-root-user"])]
    done = subprocess.run([*unshare, "sh", "-c", script], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    assert (tmp_path / "status").read_text() == "2\n"
    assert "cannot be written: No space left on device" in done.stderr
    assert done.stdout == ""
    assert (tmp_path / "left").read_text().split() == ["out"]
    assert set((tmp_path / "names").read_text().split()) == FILES
    assert (tmp_path / "texts").read_text() == "old\n" * 5


@pytest.mark.parametrize("wrong", [("--conf", "/nowhere.conf"), ("--limit", "skin=43")])
def test_an_error_leaves_the_earlier_report(thermalctl, earlier, wrong):
    folder, before = earlier
    assert thermalctl(*COMMON, "--out", folder, *wrong).status == 2
    assert content(folder) == before


def test_a_place_that_cannot_be_taken_is_found_before_anything_is_replaced(thermalctl, tmp_path):
    (tmp_path / "trace.csv").write_text("old")
    (tmp_path / "report.html").mkdir()
    done = thermalctl(*COMMON, "--out", tmp_path)
    assert done.status == 2
    assert done.err == (f"thermalctl: {tmp_path}/report.html: cannot be written: "
                        "Is a directory\n")
    assert (tmp_path / "trace.csv").read_text() == "old"
    assert {path.name for path in tmp_path.iterdir()} == {"trace.csv", "report.html"}


# What the kernel counts for a process begins with what the one that started it has; so a small one does.
STARTER = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL); "
           "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")


def peak_kilobytes(thermalctl, *words):
    run = subprocess.run(["/usr/bin/python3", "-I", "-S", "-c", STARTER, *map(str, [*thermalctl.command, *words])],
                         capture_output=True, text=True, check=True)
    return int(run.stdout)


def test_the_page_of_a_day_takes_little_more_memory_than_that_of_an_hour(thermalctl, tmp_path):
    hour, day = (peak_kilobytes(thermalctl, *COMMON, "--duration", duration, "--only", "html", "--out", tmp_path)
                 for duration in ("1h", "24h"))
    assert day < hour + 2048, (hour, day)

"""What is to notice a mistake: each builds a copy of the project and runs some of its tests there."""

import os
import re
import resource
import signal
import subprocess
import time
from dataclasses import dataclass

# A mistake may make a test wait for ever, or fill the memory or the disk.
LIMIT_SECONDS = 60
LIMIT_MEGABYTES = 2000
JOBS = str(os.cpu_count())
# What takes long is compiling.
UNOPTIMISED = ["-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O0"]
# Of a mistake in a header nearly all is built again, and in batches that takes a third of the time.
DAEMON_ALONE = [*UNOPTIMISED, "-DTHERMALCTL=OFF", "-DTHERMAL_BATCHES=ON"]
WITH_TOOL = [*UNOPTIMISED, "-DTHERMALCTL=ON", "-DTHERMAL_BATCHES=OFF"]


@dataclass(frozen=True)
class Verdict:
    noticed: bool
    by: str = ""


def run(command, cwd, seconds, environment=None):
    """Returns the exit status and the output; no status for a command that had to be stopped."""
    output = cwd / "build" / "output"
    with open(output, "wb") as out:
        process = subprocess.Popen(
            command, cwd=cwd, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT,
            env=os.environ | (environment or {}), start_new_session=True, preexec_fn=_limit_files,
        )  # fmt: skip
        try:
            status = process.wait(seconds)
        except subprocess.TimeoutExpired:
            status = None
        finally:
            _end(process)
    return status, output.read_text(errors="replace")


def _end(process):
    """Ends it, if it is not over, with all that it started: a build ends its compilers when it is asked to end."""
    if process.poll() is None:
        process.terminate()
        time.sleep(0.2)
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def _limit_files():
    size = LIMIT_MEGABYTES << 20
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class UnitTests:
    """The unit tests in one process, up to the first that fails."""

    def __init__(self, tree, preset, program="unit-tests", options=DAEMON_ALONE):
        self.tree, self.preset, self.program, self.name = tree, preset, program, f"{program}, {preset}"
        run(["cmake", "--preset", preset, *options], tree, None)

    def builds(self):
        status, self.complaint = run(
            ["cmake", "--build", "--preset", self.preset, "-j", JOBS, "--target", self.program], self.tree, None
        )
        return status == 0

    def verdict(self):
        options = f"hard_rss_limit_mb={LIMIT_MEGABYTES}"
        temporary = self.tree / "build" / "tmp"
        temporary.mkdir(exist_ok=True)
        program = f"build/{self.preset}/tests/unit/{self.program}"
        status, output = run(
            [program, "--gtest_fail_fast"], self.tree, LIMIT_SECONDS,
            {"ASAN_OPTIONS": options, "TSAN_OPTIONS": options, "TMPDIR": str(temporary)},
        )  # fmt: skip
        subprocess.run(["rm", "-rf", temporary], check=True)
        if status == 0:
            return Verdict(False)
        # A test that failed says so; of one that crashed or hung only the beginning is there.
        failed = re.search(r"^\[  FAILED  \] ([^\s,]+)", output, re.MULTILINE)
        begun = re.findall(r"^\[ RUN      \] (.+)$", output, re.MULTILINE)
        if failed:
            return Verdict(True, failed[1])
        how = "does not end" if status is None else "crashes"
        return Verdict(True, f"{begun[-1]}, which {how}" if begun else "a crash at the start")


class Command:
    """A program of the project that fails when it finds something."""

    def __init__(self, tree, name, command, preset):
        self.tree, self.name, self.command, self.preset = tree, name, command, preset
        run(["cmake", "--preset", preset, *DAEMON_ALONE], tree, None)

    def builds(self):
        status, self.complaint = run(["cmake", "--build", "--preset", self.preset, "-j", JOBS], self.tree, None)
        return status == 0

    def verdict(self):
        status, output = run(self.command, self.tree, 10 * LIMIT_SECONDS)
        if status == 0:
            return Verdict(False)
        if status is None:
            return Verdict(True, f"{self.name}: does not end")
        lines = output.strip().splitlines() or [f"status {status}"]
        named = [line for line in lines if line.startswith("FAILED ")]
        return Verdict(True, f"{self.name}: {(named or lines)[-1]}")

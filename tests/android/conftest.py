import json
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

REPOSITORY = Path(__file__).resolve().parents[2]


def built(preset, target="talmor-thermal"):
    """The directory in which the preset's daemon, or another target, has been built."""
    for command in (["cmake", "--preset", preset],
                    ["cmake", "--build", "--preset", preset, "--target", target]):
        done = subprocess.run(command, cwd=REPOSITORY, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        assert done.returncode == 0, done.stdout
    return REPOSITORY / "build" / preset


def compilations(directory):
    """Those of the daemon's sources: which are read at once, and the words of the command."""
    for entry in json.loads((directory / "compile_commands.json").read_text()):
        file = Path(entry["file"])
        batch = re.findall(r'^#include "(.*\.cpp)"$', file.read_text(), re.MULTILINE)
        ours = [path for path in (file, *map(Path, batch)) if path.is_relative_to(REPOSITORY / "src")]
        if ours:
            yield ours, entry["command"].split()


@pytest.fixture(scope="session")
def host_build():
    return built("release")


@pytest.fixture(scope="session")
def cross_build():
    return built("aarch64")


@pytest.fixture(scope="session")
def ndk_report():
    """What the report of the size says; it builds the daemon by the preset for the NDK, here with
    the stand-in."""
    environment = {name: value for name, value in os.environ.items() if name != "ANDROID_NDK_HOME"}
    done = subprocess.run([REPOSITORY / "scripts" / "size"], env=environment,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    assert done.returncode == 0, done.stdout
    return done.stdout


@pytest.fixture(scope="session")
def ndk_build(ndk_report):
    return REPOSITORY / "build" / "ndk-standin"

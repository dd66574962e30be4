"""The unit tests, each in a process forked for it, as they run on a device."""

import re
import subprocess
from pathlib import Path

import pytest

import blueprint
from conftest import REPOSITORY, built

HERE = Path(__file__).parent / "isolated"
SUPPORT = REPOSITORY / "tests" / "unit" / "support"


@pytest.fixture(scope="module")
def directory():
    return built("release", "unit-tests")


def libraries(directory):
    """What the unit tests are linked from: their objects, and the libraries behind those."""
    commands = subprocess.run(["ninja", "-C", directory, "-t", "commands", "-s",
                               "tests/unit/unit-tests"],
                              check=True, stdout=subprocess.PIPE, text=True).stdout
    words = re.search(r"&& \S+g\+\+ (.*) -o \S+ (.*?) && ", commands)
    objects = [word for word in words[1].split() if word.endswith(".o")]
    assert any("unit-tests.dir" in name for name in objects)
    return objects, words[2].split()


def linked(directory, result, *parts):
    """The entrance of the parts takes the place of the library's own."""
    command = ["g++", "-std=c++17", "-Wall", "-Wextra", "-Wshadow", "-Wconversion",
               "-isystem", "/usr/src/googletest/googletest/include", HERE / "main.cpp", *parts,
               "-o", result]
    done = subprocess.run([*map(str, command)], cwd=directory, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    assert done.returncode == 0, done.stdout
    return result


def run(program):
    done = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    return done.returncode, re.findall(r"^failed: (.*)$", done.stdout, re.MULTILINE)


def test_the_blueprint_asks_for_it():
    assert blueprint.modules()["talmor-thermal-unit-tests"][1]["isolated"] is True


def test_a_test_whose_process_the_daemon_ends_has_not_passed(directory, tmp_path):
    _, behind = libraries(directory)
    program = linked(directory, tmp_path / "endings", HERE / "endings.cpp",
                     SUPPORT / "EarlyEnd.cpp", *behind)
    assert run(program) == (1, ["Ending.OfTheProcessOfATest"])


def test_every_unit_test_passes_so(directory, tmp_path):
    objects, behind = libraries(directory)
    assert run(linked(directory, tmp_path / "isolated", *objects, *behind)) == (0, [])

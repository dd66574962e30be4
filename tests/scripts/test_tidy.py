"""What scripts/tidy finds, in a tree with one mistake of each kind of place."""

import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

PRESETS = """\
{
  "version": 4,
  "configurePresets": [{
    "name": "tidy", "generator": "Ninja", "binaryDir": "${sourceDir}/build/tidy",
    "cacheVariables": { "CMAKE_CXX_COMPILER": "clang++-14", "CMAKE_EXPORT_COMPILE_COMMANDS": "ON" }
  }]
}
"""
LISTS = """\
cmake_minimum_required(VERSION 3.25)
project(tree LANGUAGES CXX)
file(GLOB_RECURSE SOURCES src/*.cpp tools/*.cpp tests/*.cpp)
add_library(tree ${SOURCES})
target_include_directories(tree PRIVATE tools)
"""
# Names that both files keep to themselves, and one that is also a member's.
TWIN = """\
#include "tool/Header.h"

namespace {{
struct Options {{
  int {field} = 0;
}};
int times(const Options& options) {{ return options.{field} * Header{{}}.times; }}
}} // namespace

int {name}() {{ return times(Options{{}}); }}
"""


@pytest.fixture
def tree(tmp_path):
    def write(path, text):
        (tmp_path / path).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / path).write_text(text)

    write("CMakePresets.json", PRESETS)
    write("CMakeLists.txt", LISTS)
    write(".clang-tidy", (ROOT / ".clang-tidy").read_text())
    write("tools/tool/Header.h", "#pragma once\nstruct Header { int times = 2; };\n")
    write("src/One.cpp", "int one() { return 1; }\n")
    write("tools/tool/First.cpp", TWIN.format(name="first", field="width"))
    write("tools/tool/Second.cpp", TWIN.format(name="second", field="height"))
    write("tests/unit/OneTest.cpp", "int one();\nbool oneIsOne() { return one() == 1; }\n")
    return write


def tidy(folder):
    run = subprocess.run([ROOT / "scripts/tidy", folder], capture_output=True, text=True, timeout=120)
    return run.returncode, run.stdout + run.stderr


def test_files_with_names_of_their_own_are_read_as_one(tree, tmp_path):
    assert tidy(tmp_path) == (0, "no findings in 4 files\n")


@pytest.mark.parametrize(("path", "line"), [
    ("src/One.cpp", 1), ("tools/tool/First.cpp", 10), ("tools/tool/Second.cpp", 10), ("tests/unit/OneTest.cpp", 2),
    ("tools/tool/Header.h", 2),
])  # fmt: skip
def test_a_mistake_is_told_wherever_it_stands(tree, tmp_path, path, line):
    tree(path, (tmp_path / path).read_text() + "\ninline int Wrong() { return 0; }\n")
    status, said = tidy(tmp_path)
    assert status == 1
    assert f"{path}:{line + 2}:12: error: invalid case style for function 'Wrong'" in said
    assert said.endswith("1 finding in 4 files\n")


def test_what_does_not_compile_beside_the_others_is_read_by_itself(tree, tmp_path):
    tree("tools/tool/Third.cpp", '#include "tool/First.cpp"\nstatic int Bad() { return first(); }\nint x() { return Bad(); }\n')
    status, said = tidy(tmp_path)
    assert status == 1
    assert "by itself: tools/tool/Third.cpp" in said
    assert "tools/tool/Third.cpp:2:12: error: invalid case style for function 'Bad'" in said


def test_what_does_not_compile_at_all_is_told(tree, tmp_path):
    tree("tests/unit/OneTest.cpp", "bool oneIsOne() { return two() == 1; }\n")
    status, said = tidy(tmp_path)
    assert status == 1
    assert "tests/unit/OneTest.cpp:1:26: error: use of undeclared identifier 'two'" in said

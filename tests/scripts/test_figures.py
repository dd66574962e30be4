"""What scripts/figures counts, on a tree small enough to count by hand."""

import subprocess
from pathlib import Path

import pytest

FIGURES = Path(__file__).resolve().parents[2] / "scripts" / "figures"

HEADER = """\
#pragma once

// Counts.
//
// Units: pieces.
class Counter {
public:
  int count() const { return n; }
  int next();
  Counter(const Counter&) = delete;

  // What it counted last.
  struct Last {};
  struct Bare {};

private:
  struct Hidden {};
  int n = 0; // behind code: no line of comment
};

class Named;

// Any list.
template <typename T>
class List {};

/* A block
   of two lines. */
struct Block {};

// Not right above.

struct Apart {};
"""

SOURCE = """\
#include "Counter.h"

namespace {

const char* kText = R"(
// inside a string

/* inside a string */
)";

int hidden(int n) {
  const auto twice = [](int value) {
    return 2 * value;
  };
  // comment
  return twice(n);
}

} // namespace

int Counter::next() {

  return hidden(n++);
}
"""


@pytest.fixture
def tree(tmp_path):
    def write(path, text):
        (tmp_path / path).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / path).write_text(text)

    write("src/Counter.h", HEADER)
    write("src/Counter.cpp", SOURCE)
    write("tests/unit/CounterTest.cpp", "// comment\n\nint test;\n" * 10)
    write("tests/system/test_counter.py", "# comment\n\ntest = 1\n" * 10)
    write("tests/system/soak", "#!/bin/sh\ntrue\n")
    write("tests/fuzz/corpus/empty", "no test\n" * 50)
    write("tests/unit/CMakeLists.txt", "no test\n" * 50)
    write("tests/other/test_other.py", "counts_for_nobody = 1\n" * 50)
    write("tools/tool/main.cpp", "int main() {\n  return 0;\n}\n")
    write("tools/tool/page.js", "// comment\nshow();\n")
    write("tools/tool/CMakeLists.txt", "no code\n" * 50)
    write("tests/unit/tool/MainTest.cpp", "int test;\n" * 2)
    write("tests/system/test_tool_main.py", "test = 1\n")
    return tmp_path


def printed(root):
    done = subprocess.run([FIGURES, root], stdout=subprocess.PIPE, text=True, check=True)
    return done.stdout.splitlines()


def figures(root, side):
    """The cells of a side by their titles, as printed."""
    lines = printed(root)[-8:]
    titles = next(line for line in lines if " median " in line)
    cells = next(line for line in lines if line.startswith(side))
    titles = titles.replace("in headers", "in-headers").split()
    return dict(zip(titles, cells.replace(" %", "").split()[1:]))


def test_counts_code_without_blank_lines_and_comments(tree):
    # 17 of the header and 17 of the source, its string included; the page's script counts with the tools.
    assert figures(tree, "src")["code"] == "34"
    assert figures(tree, "tools")["code"] == "4"


def test_counts_functions_with_a_body_and_no_lambda_of_its_own(tree):
    found = figures(tree, "src")
    assert found["functions"] == "3"
    assert (found["median"], found["90th"], found["longest"]) == ("4", "7", "7")


def test_names_the_longest_functions_first(tree):
    lines = printed(tree)
    assert lines[1:4] == ["    7  src/Counter.cpp:11: hidden",
                          "    4  src/Counter.cpp:21: next",
                          "    1  src/Counter.h:8: count"]


def test_lists_public_header_types_without_a_comment_right_above(tree):
    lines = printed(tree)
    start = lines.index("src: 2 of 6 header types without a contract")
    assert lines[start + 1:start + 3] == ["       src/Counter.h:33: Apart",
                                          "       src/Counter.h:14: Bare"]
    assert figures(tree, "src")["contracts"] == "!67"


def test_counts_lines_that_are_only_comment(tree):
    # 8 of the header's 25 lines that are not blank, and 1 of the source's 18.
    found = figures(tree, "src")
    assert found["comments"] == "20.9"
    assert found["in-headers"] == "32.0"


def test_gives_each_side_the_tests_that_bear_its_name(tree):
    # 10 lines of C++, 10 of Python and 1 of a script over 34.
    assert figures(tree, "src")["tests/code"] == "!0.62"
    # 2 lines of C++ and 1 of Python over 4.
    assert figures(tree, "tools")["tests/code"] == "!0.75"


@pytest.mark.parametrize("length, shown", [(60, "60"), (61, "!61")])
def test_marks_a_function_past_its_bar(tree, length, shown):
    body = "  call();\n" * (length - 2)
    (tree / "tools/tool/main.cpp").write_text("int main() {\n" + body + "}\n")
    assert figures(tree, "tools")["longest"] == shown


@pytest.mark.parametrize("long, shown", [(1, "1"), (2, "!40")])
def test_takes_the_length_that_nine_of_ten_functions_keep_within(tree, long, shown):
    short = "".join(f"int f{i}() {{ return {i}; }}\n" for i in range(10 - long))
    longer = "".join(f"int g{i}() {{\n" + "  call();\n" * 38 + "}\n" for i in range(long))
    (tree / "tools/tool/main.cpp").write_text(short + longer)
    assert figures(tree, "tools")["90th"] == shown


def test_a_tree_without_tools_has_nothing_to_measure(tmp_path):
    assert figures(tmp_path, "tools")["functions"] == "0"


def test_the_last_8_lines_are_the_summary(tree):
    assert printed(tree)[-8] == ""
    assert printed(tree)[-7] == "What counts is told at the head of scripts/figures."

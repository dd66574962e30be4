"""thermalctl: its help, and that the manual page and the completions keep up with it."""

import os
import re
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

from thermalctl import environment

TOOL = Path(__file__).resolve().parents[2] / "tools" / "thermalctl"
COMMANDS = ("check", "scenario", "reload", "status", "simulate", "plot")
BASH = TOOL / "completion" / "thermalctl.bash"
ZSH = TOOL / "completion" / "_thermalctl"


def options_of(thermalctl, *command):
    """The options that a command's help lists."""
    listed = re.findall(r"^  (-\S+)", thermalctl(*command, "--help").out, re.M)
    options = [option for entry in listed for option in entry.split(",")]
    assert {"-h", "--help"} <= set(options)
    return options


def section_of(text, begin, end):
    """From the line that begins with one text to the next that begins with another."""
    found = re.search(rf"^{re.escape(begin)}.*?(?=^{re.escape(end)}|\Z)", text, re.M | re.S)
    assert found, begin
    return found[0]


@pytest.fixture
def complete_in_bash(thermalctl, tmp_path_factory):
    """What bash offers for the last of some words, with the tool in its PATH."""
    tools = tmp_path_factory.mktemp("bin")
    (tools / "thermalctl").write_text(f'#!/bin/sh\nexec {shlex.join(thermalctl.command)} "$@"\n')
    (tools / "thermalctl").chmod(0o755)
    script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _thermalctl; '
              'printf "%s\\n" "${COMPREPLY[@]}"')

    def complete(*words):
        run = subprocess.run(["bash", "-c", script, "bash", BASH, "thermalctl", *words],
                             check=True, capture_output=True, text=True,
                             env=environment({"PATH": f"{tools}:{os.environ['PATH']}"}))
        assert run.stderr == ""
        return run.stdout.split()
    return complete


# Help.

@pytest.mark.parametrize("command", [(), *((command,) for command in COMMANDS)], ids=str)
def test_each_help_has_examples_and_the_exit_statuses(thermalctl, command):
    status, out, err = thermalctl(*command, "--help")
    assert (status, err) == (0, "")
    assert f"\nUsage: {' '.join(('thermalctl', *command))} [OPTIONS]" in out
    assert f"\nExamples:\n  {' '.join(('thermalctl', *command))}" in out
    assert "\nExit status: 0 " in out
    assert thermalctl(*command, "-h").out == out


def test_the_help_lists_the_commands(thermalctl):
    listed = section_of(thermalctl("--help").out, "Commands:", "Examples:")
    assert re.findall(r"^  (\w+) ", listed, re.M) == list(COMMANDS)


def test_it_has_a_version(thermalctl):
    status, out, err = thermalctl("--version")
    assert (status, err) == (0, "")
    assert re.fullmatch(r"thermalctl \d+\.\d+\n", out)


@pytest.mark.parametrize("words, message", [
    ((), "A subcommand is required"),
    (("scenario",), "NAME is required"),
    (("reload",), "FILE is required"),
    (("night",), "A subcommand is required"),
    (("scenario", "game", "more"), "The following argument was not expected: more"),
    (("status", "--wach"), "The following argument was not expected: --wach"),
    (("scenario", "game", "--timeout", "soon"),
     "--timeout: Value soon not in range 0.100000 to 86400.000000"),
    (("reload", "x.conf", "--timeout", "0"),
     "--timeout: Value 0 not in range 0.100000 to 86400.000000"),
])
def test_a_wrong_command_line_could_not_run(thermalctl, words, message):
    assert thermalctl(*words) == (
        2, "", f"thermalctl: {message}\nRun with --help for more information.\n")


def test_results_that_nobody_takes_are_no_success(thermalctl):
    with open("/dev/full", "w") as full:
        run = subprocess.run([*thermalctl.command, "--help"], stdout=full, stderr=subprocess.PIPE,
                             text=True)
    assert (run.returncode, run.stderr) == (2, "thermalctl: cannot write the results\n")


# The manual page.

def manual():
    return (TOOL / "thermalctl.1").read_text().replace("\\-", "-")


def test_the_manual_has_every_option_of_the_program(thermalctl):
    page = section_of(manual(), ".SH OPTIONS", ".SH COMMANDS")
    for option in options_of(thermalctl):
        assert option in page


@pytest.mark.parametrize("command", COMMANDS)
def test_the_manual_has_every_option_of_a_command(thermalctl, command):
    page = section_of(manual(), f'.SS "thermalctl {command}"', ".S")
    described = re.findall(r"^\.TP\n\.\w+ (--[a-z-]+)", page, re.M)
    assert sorted(described) == sorted(
        option for option in options_of(thermalctl, command) if option not in ("-h", "--help"))


def test_the_manual_is_of_this_version(thermalctl):
    assert f'"{thermalctl("--version").out.strip()}"' in manual()


@pytest.mark.skipif(not shutil.which("groff"), reason="needs groff")
def test_the_manual_is_set_without_a_warning():
    run = subprocess.run(["groff", "-man", "-Tutf8", "-ww", TOOL / "thermalctl.1"],
                         capture_output=True, text=True)
    assert (run.returncode, run.stderr) == (0, "")


# The completions.

def test_bash_completes_the_commands_and_the_options_of_the_program(thermalctl, complete_in_bash):
    assert sorted(complete_in_bash("")) == sorted(
        [*COMMANDS, *options_of(thermalctl)])
    assert complete_in_bash("re") == ["reload"]


@pytest.mark.parametrize("command", COMMANDS)
def test_bash_completes_every_option_of_a_command(thermalctl, complete_in_bash, command):
    assert sorted(complete_in_bash(command, "-")) == sorted(
        options_of(thermalctl, command))


def test_bash_completes_the_rules(thermalctl, complete_in_bash):
    rules = thermalctl("check", "--list-rules").out.split()
    assert rules
    assert sorted(complete_in_bash("check", "--disable", "")) == sorted(rules)
    assert sorted(complete_in_bash("check", "--explain", "")) == sorted([*rules, "all"])


def test_bash_completes_the_formats(complete_in_bash):
    assert complete_in_bash("check", "--format", "s") == ["sarif"]


@pytest.mark.parametrize("words", [("check", "--env"), ("check", "--conf"), ("reload",),
                                   ("reload", "--env"), ("status", "--env"),
                                   ("simulate", "--plant"), ("simulate", "--workload"), ("plot",)])
def test_bash_completes_files(complete_in_bash, tmp_path, words):
    (tmp_path / "night.conf").touch()
    assert complete_in_bash(*words, f"{tmp_path}/n") == [f"{tmp_path}/night.conf"]


@pytest.mark.parametrize("words", [("check", "--nodes"), ("scenario", "--dir"), ("status", "--dir"),
                                   ("simulate", "--board"), ("simulate", "--out"),
                                   ("plot", "--board"), ("plot", "--out")])
def test_bash_completes_directories(complete_in_bash, tmp_path, words):
    (tmp_path / "night.conf").touch()
    (tmp_path / "nodes").mkdir()
    assert complete_in_bash(*words, f"{tmp_path}/n") == [f"{tmp_path}/nodes"]


@pytest.mark.parametrize("words", [("scenario", ""), ("scenario", "--timeout", "")])
def test_bash_knows_no_scenarios_and_no_numbers(complete_in_bash, words):
    assert complete_in_bash(*words) == []


def zsh_branch(command):
    """What the completion says of a command, with the lists that it shares written out."""
    text = ZSH.read_text()
    branch = section_of(text, f"    {command})", "    [a-z]").partition(";;")[0]
    for name, value in re.findall(r"^  local -a (\w+)=\((.*)\)$", text, re.M):
        branch = branch.replace(f"${name}", value)
    return branch


@pytest.mark.parametrize("command", COMMANDS)
def test_zsh_completes_every_option_of_a_command(thermalctl, command):
    offered = set(re.findall(r"--[a-z-]+", zsh_branch(command)))
    assert offered == {option for option in options_of(thermalctl, command) if option != "-h"}


def test_zsh_completes_the_commands_and_the_options_of_the_program(thermalctl):
    text = section_of(ZSH.read_text(), "_thermalctl() {", "_thermalctl \"")
    assert re.findall(r"^    '([a-z]+):", text, re.M) == list(COMMANDS)
    assert set(re.findall(r"--[a-z]+", text)) == {
        option for option in options_of(thermalctl) if option != "-h"}


@pytest.mark.skipif(not shutil.which("zsh"), reason="needs zsh")
def test_zsh_can_read_its_completion():
    run = subprocess.run(["zsh", "-n", ZSH], capture_output=True, text=True)
    assert (run.returncode, run.stderr) == (0, "")

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
COMMANDS = ("check", "scenario", "reload", "status", "simulate", "margin", "fit", "plot", "integrate", "diff")
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
def tools_in_path(thermalctl, tmp_path_factory):
    """An environment with the tool in its PATH."""
    tools = tmp_path_factory.mktemp("bin")
    (tools / "thermalctl").write_text(f'#!/bin/sh\nexec {shlex.join(thermalctl.command)} "$@"\n')
    (tools / "thermalctl").chmod(0o755)
    return environment({"PATH": f"{tools}:{os.environ['PATH']}"})


@pytest.fixture
def complete_in_bash(tools_in_path):
    """What bash offers for the last of some words."""
    script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _thermalctl; '
              'printf "%s\\n" "${COMPREPLY[@]}"')

    def complete(*words):
        run = subprocess.run(["bash", "-c", script, "bash", BASH, "thermalctl", *words],
                             check=True, capture_output=True, text=True, env=tools_in_path)
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
    ((), "no command is given; there are check, scenario, reload, status, simulate, margin, fit, plot, integrate and diff"),
    (("scenario",), "NAME is required; write thermalctl scenario NAME"),
    (("reload",), "FILE is required; write thermalctl reload FILE"),
    (("diff",), "OLD is required; write thermalctl diff OLD"),
    (("integrate",), "--env is required; write --env FILE"),
    (("check",), "--env is required; write --env FILE"),
    (("simulat",), "there is no command 'simulat'; did you mean 'simulate'?"),
    (("night",), "there is no command 'night'; there are check, scenario, reload, status, simulate,"
                 " margin, fit, plot, integrate and diff"),
    (("scenario", "game", "more"), "there is no place for 'more'; scenario takes NAME alone"),
    (("check", "board.env"),
     "there is no place for 'board.env'; check takes no word without its option, such as --env FILE"),
    (("check", "--env"), "--env lacks its value; write --env FILE"),
    (("check", "--format"), "--format lacks its value; write --format {text,json,sarif,github,markdown,html}"),
    (("check", "--env", "a", "--env", "b"), "--env is given 2 times, and can be once; leave all but one out"),
    (("status", "--wach"), "there is no option '--wach'; did you mean '--watch'?"),
    (("status", "--wach=5"), "there is no option '--wach'; did you mean '--watch'?"),
    (("status", "--quite-another"), "there is no option '--quite-another'"),
    # And not that --workload is missing.
    (("simulate", "--worklaod", "game"), "there is no option '--worklaod'; did you mean '--workload'?"),
    (("check", "--format", "jsno"),
     "--format: 'jsno' is none of text, json, sarif, github, markdown and html; did you mean 'json'?"),
    (("scenario", "game", "--timeout", "soon"),
     "--timeout: 'soon' is no number from 0.1 to 86400"),
    (("reload", "x.conf", "--timeout", "0"),
     "--timeout: '0' is no number from 0.1 to 86400"),
    (("scenario", "game", "--timeout", "nan"), "--timeout: 'nan' is no number from 0.1 to 86400"),
    (("scenario", "game", "--timeout"), "--timeout lacks its value; write --timeout SECONDS"),
    (("simulate", "--jobs", "1.5"), "--jobs: '1.5' is no whole number from 1 to 1024"),
    (("simulate", "--jobs", "0x4"), "--jobs: '0x4' is no whole number from 1 to 1024"),
    (("simulate", "--jobs", "-1"), "--jobs: '-1' is no whole number from 1 to 1024"),
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


def test_bash_completes_the_outputs_of_a_report(complete_in_bash):
    assert complete_in_bash("simulate", "--only", "") == ["html", "csv", "json", "results"]
    assert complete_in_bash("plot", "--format", "j") == ["junit"]


@pytest.mark.parametrize("command", COMMANDS)
def test_bash_completes_every_option_of_a_command(thermalctl, complete_in_bash, command):
    assert sorted(complete_in_bash(command, "-")) == sorted(
        options_of(thermalctl, command))


def test_bash_completes_the_rules(thermalctl, complete_in_bash):
    rules = thermalctl("check", "--list-rules").out.split()
    assert rules
    for option in ("--disable", "--error", "--warn"):
        assert sorted(complete_in_bash("check", option, "")) == sorted(rules)
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
                                   ("status", "--root"),
                                   ("simulate", "--board"), ("simulate", "--out"),
                                   ("plot", "--board"), ("plot", "--out")])
def test_bash_completes_directories(complete_in_bash, tmp_path, words):
    (tmp_path / "night.conf").touch()
    (tmp_path / "nodes").mkdir()
    assert complete_in_bash(*words, f"{tmp_path}/n") == [f"{tmp_path}/nodes"]


@pytest.mark.parametrize("words", [("scenario", "--timeout", "")])
def test_bash_knows_no_numbers(complete_in_bash, words):
    assert complete_in_bash(*words) == []


@pytest.fixture
def daemons_own(tmp_path):
    """A daemon's directory with two configurations."""
    directory = tmp_path / "thermal"
    (directory / "config").mkdir(parents=True)
    (directory / "config" / "day.conf").write_text("SCEN Default\n[a]\nalgo_type monitor\n\nSCEN game\n")
    (directory / "config" / "night.conf").write_text("SCEN Default\nSCEN night words\nSCEN\n")
    return directory


@pytest.fixture
def some_board(tmp_path):
    board = tmp_path / "board"
    (board / "workloads").mkdir(parents=True)
    for name in ("game.toml", "camera.csv", "README.md"):
        (board / "workloads" / name).touch()
    return board


def test_bash_completes_the_scenarios_of_the_daemons_configurations(complete_in_bash, daemons_own):
    words = ("scenario", "--dir", str(daemons_own))
    assert complete_in_bash(*words, "") == ["Default", "game", "night"]
    assert complete_in_bash(*words, "ga") == ["game"]
    assert complete_in_bash("scenario", "--dir", f"{daemons_own}/no", "") == []


def test_bash_completes_the_workloads_of_the_board_and_files(complete_in_bash, some_board, tmp_path):
    words = ("simulate", "--board", str(some_board), "--workload")
    assert sorted(complete_in_bash(*words, "ga")) == ["game"]
    assert {"camera", "game"} <= set(complete_in_bash(*words, ""))
    assert "README" not in complete_in_bash(*words, "")
    (tmp_path / "own.toml").touch()
    assert complete_in_bash(*words, f"{tmp_path}/o") == [f"{tmp_path}/own.toml"]


@pytest.mark.parametrize("words", [("reload",), ("check", "--conf"), ("simulate", "--conf")])
def test_bash_completes_configurations_and_no_other_files(complete_in_bash, tmp_path, words):
    for name in ("night.conf", "notes.txt"):
        (tmp_path / name).touch()
    (tmp_path / "nights").mkdir()
    assert sorted(complete_in_bash(*words, f"{tmp_path}/n")) == [
        f"{tmp_path}/night.conf", f"{tmp_path}/nights"]


@pytest.fixture
def offered_to_zsh(tools_in_path):
    """What zsh is asked to offer for the last of some words, and the commands that it knows then."""
    script = ('_arguments() { print -rl -- "$@" $commands }; compadd() { print -rl -- $rules $names }; _files() { }; '
              'file=$1; shift; words=("$@"); CURRENT=$#; set --; source $file')

    def offered(*words, then=""):
        run = subprocess.run(["zsh", "-f", "-c", script + then, "zsh", ZSH, "thermalctl", *words],
                             check=True, capture_output=True, text=True, env=tools_in_path)
        assert run.stderr == ""
        return run.stdout.splitlines()
    return offered


@pytest.mark.parametrize("command", COMMANDS)
def test_zsh_completes_every_option_of_a_command(thermalctl, offered_to_zsh, command):
    offered = [re.match(r"(?:\(-h --help\)|\*)?(-[a-z-]+)\[\w", spec)
               for spec in offered_to_zsh(command, "")]
    assert sorted(option[1] for option in offered if option) == sorted(
        options_of(thermalctl, command))


@pytest.mark.parametrize("command, spec", [
    ("check", "*--conf[A configuration for it; any number]:FILE:_files -g '*.conf'"),
    ("check", "--format[Of the results: text, json, sarif or github; of the coverage: text, json or "
              "html; of an explanation: text or json, of all of them also markdown]:TEXT:"
              "(text json sarif github markdown html)"),
    ("check", "*--error[Have a rule find errors; any number]:RULE:{_thermalctl_rules}"),
    ("check", "*--warn[Have a rule find warnings, but for what ends the daemon; any number]"
              ":RULE:{_thermalctl_rules}"),
    ("check", "--nodes[Also look for every node, below ROOT (by itself: below /)]::ROOT:_files -/"),
    ("check", "*--disable[Leave a rule out; any number]:RULE:{_thermalctl_rules}"),
    ("check", "--explain[Print what a rule, or each of them (all), is about]"
              ":RULE:{_thermalctl_rules; compadd all}"),
    ("check", "--werror[Exit with status 1 on warnings, too]"),
    ("scenario", "1:NAME:{_thermalctl_scenarios}"),
    ("scenario", "--dir[Where the daemon has its control files]:DIR:_files -/"),
    ("scenario", "--timeout[How long to wait]:SECONDS:"),
    ("reload", "1:FILE:_files -g '*.conf'"),
    ("plot", "*:LOG:_files"),
])
def test_zsh_completes_what_an_option_takes(offered_to_zsh, command, spec):
    assert spec in offered_to_zsh(command, "")


def test_zsh_completes_the_commands_and_the_options_of_the_program(thermalctl, offered_to_zsh):
    offered = offered_to_zsh("")
    assert [line.partition(":")[0] for line in offered if line.partition(":")[0].isalpha()] == [
        *COMMANDS]
    assert "check:Tell what the daemon will do wrong with a board's two files" in offered
    assert "--version[Print the version and exit]" in offered
    assert "1:command:{_describe command commands}" in offered


def test_zsh_completes_the_rules(thermalctl, offered_to_zsh):
    rules = thermalctl("check", "--list-rules").out.splitlines()
    assert offered_to_zsh("check", "", then="; _thermalctl_rules")[-len(rules):] == rules


def test_zsh_completes_the_scenarios_of_the_daemons_configurations(offered_to_zsh, daemons_own):
    offered = offered_to_zsh("scenario", "--dir", str(daemons_own), "", then="; _thermalctl_scenarios")
    assert offered[-3:] == ["Default", "game", "night"]


def test_zsh_completes_the_workloads_of_the_board(offered_to_zsh, some_board):
    offered = offered_to_zsh("simulate", "--board", str(some_board), "--workload", "",
                             then="; _thermalctl_workloads")
    assert sorted(offered[-2:]) == ["camera", "game"]


@pytest.mark.parametrize("option, spec", [("--workload", "{_thermalctl_workloads}"),
                                          ("--conf", "_files -g '*.conf'")])
def test_zsh_knows_what_a_workload_and_a_configuration_are(offered_to_zsh, option, spec):
    assert [line for line in offered_to_zsh("simulate", "")
            if line.lstrip("*").startswith(option + "[") and line.endswith(spec)]

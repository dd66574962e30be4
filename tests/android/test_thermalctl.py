"""thermalctl as a phone gets it: one file of the phone's processor, run here in an emulator."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

import policy

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(REPOSITORY / "scripts"), str(REPOSITORY / "tests" / "system")]
from sandbox import Sandbox, wait_until  # noqa: E402
from thermalctl import PATIENT, Thermalctl  # noqa: E402

PHONE = REPOSITORY / "boards" / "phone"
ITEM = """[{}]
algo_type monitor
sensor cpu
sampling 100
thresholds 50000
thresholds_clr 45000
actions gpu
action_info {}

"""
DAY = "SCEN Default\n" + ITEM.format("day", 1) + "SCEN game\n" + ITEM.format("play", 2)
NIGHT = "SCEN Default\n" + ITEM.format("night", 3)
BOARD = """[cpu]
type real
sampling 100
node_path {nodes}/cpu

[gpu]
type gpufreq
node_path {nodes}/gpu
level_table 0 1 2 3
"""


@pytest.fixture
def thermalctl(ndk_build):
    return Thermalctl(ndk_build, emulator="qemu-aarch64")


@pytest.fixture
def daemon(host_build):
    """The host's, in a sandbox: the two meet in files alone."""
    with Sandbox() as box:
        box.env_file.write_text(BOARD.format(nodes=box.nodes))
        box.conf_file.write_text(DAY)
        box.add_node(box.nodes / "cpu", "60000")
        box.add_node(box.nodes / "gpu")
        box.start(host_build / "talmor-thermal")
        wait_until(lambda: (box.nodes / "gpu").read_text() == "1", "the first level")
        yield box


def test_its_size_is_told(ndk_report):
    size = int(re.search(r"/thermalctl: (\d+) bytes stripped, with libc\+\+", ndk_report)[1])
    assert 100_000 < size < 16 * 1024 * 1024


def test_it_is_of_the_phones_processor_and_needs_no_libcxx(ndk_build):
    tables = subprocess.run(["llvm-readelf", "--file-header", "--dynamic-table",
                             ndk_build / "thermalctl"], check=True, stdout=subprocess.PIPE,
                            text=True).stdout
    assert re.search(r"Machine: +AArch64", tables)
    assert set(re.findall(r"\(NEEDED\).*\[(.*?)\]", tables)) <= {
        "libgcc_s.so.1", "libc.so.6", "ld-linux-aarch64.so.1", "libm.so.6", "liblog.so.0"}


def test_it_tells_its_version_and_its_mistakes(thermalctl):
    assert thermalctl("--version").out.startswith("thermalctl ")
    assert thermalctl("statsu") == (
        2, "", "thermalctl: there is no command 'statsu'; did you mean 'status'?\n"
               "Run with --help for more information.\n")


def test_it_checks_a_board(thermalctl, tmp_path):
    words = ("check", "--env", PHONE / "talmor-thermal.env", "--conf")
    result = thermalctl(*words, PHONE / "talmor-thermal.conf")
    assert (result.status, result.err) == (0, "")
    bad = tmp_path / "bad.conf"
    bad.write_text((PHONE / "talmor-thermal.conf").read_text().replace(
        "algo_type monitor", "algo_type Monitor", 1))
    result = thermalctl(*words, bad)
    assert result.status == 1
    assert "[unknown-type]" in result.out


def test_it_simulates_a_board(thermalctl):
    result = thermalctl("simulate", "--board", PHONE, "--workload", "game", "--duration", "60s")
    assert result.status == 0, result.err
    assert "battery" in result.out


def test_it_puts_a_scenario_in_force(thermalctl, daemon):
    assert thermalctl("scenario", "game", "--dir", daemon.data_dir, *PATIENT) == (
        0, "game is in force\n", "")
    wait_until(lambda: (daemon.nodes / "gpu").read_text() == "2", "the level of the scenario")


def test_it_puts_a_configuration_in_force(thermalctl, daemon):
    night = daemon.base / "night.conf"
    night.write_text(NIGHT)
    assert thermalctl("reload", night, "--env", daemon.env_file, "--dir", daemon.data_dir,
                      *PATIENT) == (0, "night.conf is in force\n", "")
    wait_until(lambda: (daemon.nodes / "gpu").read_text() == "3", "the level of the configuration")


def test_it_shows_the_nodes(thermalctl, daemon):
    result = thermalctl("status", "--env", daemon.env_file, "--dir", daemon.data_dir)
    assert (result.status, result.err) == (0, "")
    assert "60.000 C" in result.out and "1 of 3" in result.out


@pytest.mark.parametrize("permission", ["read", "add_name"])
def test_a_requester_may_neither_watch_the_directory_nor_put_a_file_there(permission):
    """Both of which the tool does: it is for a shell of the superuser."""
    assert not policy.grants("talmor_thermal_requester", "talmor_thermal_data_file", "dir",
                             permission)

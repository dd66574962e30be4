"""The units of a board on a cluster: a real Slurm, whose node dies and whose shard is killed."""

import os
import re
import signal
import subprocess
from pathlib import Path

import pytest

from cluster import Cluster, eventually

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
SCRIPT = REPOSITORY / "scripts" / "cluster" / "margin.sbatch"
UNITS = ("--board", PHONE, "--tolerances", PHONE / "tolerances.toml", "--workload", "game",
         "--limit", "skin=43C", "--duration", "30m")

pytestmark = pytest.mark.skipif(os.geteuid() != 0, reason="Slurm's daemons are root's")


@pytest.fixture
def cluster(build_dir, tmp_path):
    """Its jobs find the thermalctl that is tested."""
    programs, state = tmp_path / "bin", tmp_path / "slurm"
    programs.mkdir()
    state.mkdir()
    (programs / "thermalctl").symlink_to(build_dir / "thermalctl")
    with Cluster(state, programs) as started:
        yield started


def shards_running():
    """The process of each shard, and those that started it on its node, by its number."""
    found = {}
    for process in Path("/proc").glob("[0-9]*"):
        try:
            words = (process / "cmdline").read_bytes().decode().split("\0")
        except OSError:
            continue
        if "--shard" in words and words[0].endswith("thermalctl"):
            found[words[words.index("--shard") + 1].split("/")[0]] = int(process.name)
    return found


def parents(process):
    """The process and those above it, up to the one that a node has started for the job."""
    found = [process]
    while not Path(f"/proc/{found[-1]}/comm").read_text().startswith("slurmstepd"):
        status = Path(f"/proc/{found[-1]}/status").read_text()
        found.append(int(status.split("PPid:")[1].split()[0]))
    return found


def test_the_result_is_that_of_one_machine_although_a_node_and_a_shard_die(
        cluster, thermalctl, tmp_path):
    asked = (*UNITS, "--units", "2000")
    whole = thermalctl("margin", *asked, "--out", tmp_path / "whole")
    merged = tmp_path / "merged"
    cluster.run(SCRIPT, "4", merged, *asked, cwd=tmp_path)

    eventually(lambda: len(shards_running()) == 2)
    on_n1, on_n2 = (next(process for process in shards_running().values()
                         if f"SLURMD_NODENAME={node}\0".encode()
                         in Path(f"/proc/{process}/environ").read_bytes()) for node in ("n1", "n2"))
    cluster.kill_node("n1", reversed(parents(on_n1)))
    os.kill(on_n2, signal.SIGKILL)
    eventually(lambda: "down" in cluster.run("sinfo", "--noheader", "--nodes=n1", "--format=%T"))
    cluster.start_node("n1")

    def ended():
        cluster.hasten()
        return not cluster.jobs()
    eventually(ended)
    assert "due to failure of node n1" in (cluster.folder / "slurmctld.log").read_text()
    assert [log for log in merged.glob("log-*") if "Killed" in log.read_text()]
    assert (merged / "margin.txt").read_text() == whole.out
    for name in ("margin.json", "margin.csv"):
        assert (merged / name).read_bytes() == (tmp_path / "whole" / name).read_bytes(), name


def test_a_search_is_shared_and_the_next_round_goes_on_from_it(cluster, thermalctl, tmp_path):
    asked = ("--board", PHONE, "--tolerances", PHONE / "tolerances.toml", "--workload", "game", "--conf",
             PHONE / "talmor-thermal.conf", "--limit", "skin=44.5C", "--duration", "10m", "--search", "--simulations", "40")
    first, second = tmp_path / "first", tmp_path / "second"

    def ended():
        cluster.hasten()
        return not cluster.jobs()
    for folder, words in (first, asked), (second, (*asked, "--from", first)):
        cluster.run(SCRIPT, "2", folder, *words, cwd=tmp_path)
        eventually(ended)
    merged = thermalctl("margin", "merge", first / "part-1", first / "part-2", "--out", tmp_path / "by-hand")
    assert merged.status == 1
    assert (tmp_path / "by-hand" / "worst.part").read_bytes() == (first / "worst.part").read_bytes()
    told = [(folder / "margin.txt").read_text() for folder in (first, second)]
    assert "40 simulations of up to" in told[0] and "80 simulations of up to" in told[1]
    worst = [float(re.search(r"^skin=44.5C: broken, at worst ([\d.]+) C", text, re.M)[1]) for text in told]
    assert worst[0] < worst[1]


def test_a_command_that_cannot_run_is_tried_three_times_and_nothing_is_merged(cluster, tmp_path):
    merged = tmp_path / "merged"
    cluster.run(SCRIPT, "1", merged, *UNITS, "--units", "0", cwd=tmp_path)

    def ended():
        cluster.hasten()
        return not cluster.jobs()
    eventually(ended)
    assert (merged / "log-1").read_text().count("--units 0") == 3
    assert not (merged / "margin.json").exists()


def test_the_script_says_how_it_is_called():
    for arguments in ((), ("4",), ("4", "folder"), ("four", "folder", "--board"), ("0", "folder", "--board")):
        called = subprocess.run([SCRIPT, *arguments], capture_output=True, text=True)
        assert called.returncode == 2
        assert "scripts/cluster/margin.sbatch SHARDS FOLDER MARGIN-OPTIONS..." in called.stderr

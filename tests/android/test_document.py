"""The lines that docs/android.md tells an integrator to add are ones that the platform takes."""

import re
import shutil
import subprocess

import pytest

import policy
from conftest import REPOSITORY, built
from init_language import parse

GUIDE = (REPOSITORY / "docs" / "android.md").read_text()
# Indented ones stand in lists.
BLOCKS = [(language, re.sub(rf"^{indent}", "", text, flags=re.MULTILINE))
          for indent, language, text in re.findall(r"^( *)```(\w+)\n(.*?)^ *```$", GUIDE,
                                                   re.MULTILINE | re.DOTALL)]
POLICY = [text for language, text in BLOCKS
          if re.match(r"(allow|type|typeattribute) ", text)]
INIT = [text for language, text in BLOCKS if re.match(r"(on|service) ", text)]
# Where the linker of a vendor's program looks for a library of 64 bits.
LIBRARIES = {"/vendor/lib64", "/odm/lib64", "/system/lib64"}


def block(start):
    found, = (text for _, text in BLOCKS if text.startswith(start))
    return found


def test_there_are_lines_for_each_of_the_kinds():
    assert len(POLICY) >= 5 and len(INIT) >= 4


@pytest.mark.parametrize("lines", POLICY, ids=lambda text: text.split("\n")[0])
@pytest.mark.parametrize("release", policy.RANKS)
def test_policy_compiles_behind_ours(lines, release):
    done, _ = policy.compile_source(policy.source(lines, release=release))
    assert (done.returncode, done.stdout) == (0, "")


@pytest.mark.parametrize("lines", INIT, ids=lambda text: text.split("\n")[0])
def test_init_takes_the_lines(lines):
    actions, services = parse(lines)
    assert any(actions.values()) or services


@pytest.mark.parametrize("title", ["Off-mode charging", "Recovery", "Bug reports", "Silence the log",
                                   "Unstable zone numbers", "License metadata"])
def test_a_paragraph_has_the_lines_to_add(title):
    text = re.search(rf"^### {title}$(.*?)(?=^##)", GUIDE, re.MULTILINE | re.DOTALL)[1]
    assert len(text.split("```")[0].split()) >= 20 and text.count("```") >= 2


def test_nothing_is_written_in_off_mode_charging_but_nodes_of_the_example_board():
    environment = (REPOSITORY / "boards" / "phone" / "talmor-thermal.env").read_text()
    for start in ("on charger", "on boot\n    write"):
        commands, = parse(block(start))[0].values()
        for _, node, value in commands:
            table = re.search(rf"node_path {re.escape(node)}\nlevel_table (.*)", environment)[1]
            assert value in table.split()


def test_the_script_links_each_zone_by_its_type(tmp_path):
    zones, links = tmp_path / "thermal", tmp_path / "zones"
    links.mkdir()
    for number, kind in (("3", "big"), ("12", "skin")):
        zone = zones / f"thermal_zone{number}"
        zone.mkdir(parents=True)
        (zone / "type").write_text(kind + "\n")
        (zone / "temp").write_text(f"{number}000\n")
    script = block("#!/vendor/bin/sh").replace("/sys/devices/virtual/thermal", str(zones))
    script = script.replace("/data/vendor/thermal/zones", str(links))
    for _ in range(2):
        subprocess.run(["sh", "-e", "-c", script], check=True)
    assert {path.name: path.read_text() for path in links.iterdir()} == {
        "big": "3000\n", "skin": "12000\n"}


def test_the_blueprint_takes_the_license(tmp_path):
    (tmp_path / "Android.bp").write_text(block("package {"))
    done = subprocess.run(["bpfmt", "-s", "-d", tmp_path / "Android.bp"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    assert (done.returncode, done.stdout) == (0, "")


def test_a_library_goes_where_the_linker_looks():
    pushed = re.findall(r"adb push \S*\.so (\S+)", GUIDE)
    assert pushed and {path.rstrip("/") for path in pushed} <= LIBRARIES


def test_the_example_of_a_comparison_is_what_the_tool_says(tmp_path):
    (tmp_path / "boards").symlink_to(REPOSITORY / "boards")
    shutil.copytree(REPOSITORY / "android" / "phone", tmp_path / "edited")
    init = tmp_path / "edited" / "talmor-thermal-board.rc"
    init.write_text(init.read_text().replace("restart_period 120", "restart_period 5"))
    command, _, wanted = block("$ thermalctl").partition("\n")
    done = subprocess.run([built("release", "thermalctl") / "thermalctl", *command.split()[2:]],
                          cwd=tmp_path, stdout=subprocess.PIPE, text=True)
    assert (done.returncode, done.stdout) == (1, wanted)


def test_the_example_of_a_link_needs_no_label(tmp_path):
    tool = built("release", "thermalctl") / "thermalctl"
    (tmp_path / "talmor-thermal.env").write_text(block("[big]"))
    done = subprocess.run([tool, "integrate", "--env", tmp_path / "talmor-thermal.env", "--out",
                           tmp_path], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    assert done.returncode == 0 and "warning" not in done.stdout
    assert "genfscon" not in (tmp_path / "sepolicy" / "genfs_contexts").read_text()

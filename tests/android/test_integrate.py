"""What thermalctl integrate makes of a board: an Android tree takes it, and it does what the daemon
does."""

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

import blueprint
import policy
from conftest import REPOSITORY, built
from init_language import parse

sys.path.insert(0, str(REPOSITORY / "scripts"))
from sandbox import CAMERA_DEBUG, PLATFORM, Sandbox, wait_until  # noqa: E402

PHONE = REPOSITORY / "boards" / "phone" / "talmor-thermal.env"

# A board with what the phone does not have: nodes of /dev, texts that are no plain word, one node
# for two, names that no file can have.
HARD = f"""\
[skin.0]
type real
node_path {PLATFORM}/adc.7/skin+case

[fan-tacho]
type real
node_path /dev/talmor/tacho.0

[fan]
type charger
node_path /dev/talmor/fan
level_table 0 1 2

[mode]
type gpufreq
node_path {PLATFORM}/c44.acme,spmi/0-00/acme,pm@0:gpu~1/a%b=mode
level_table "full speed" "half $peed" "#off"

[mask]
type backlight
node_path {PLATFORM}/panel/mask
level_table 0xFF00 0xF000

[a/big]
type cpufreq
node_path {PLATFORM}/cpu/big
level_table 2600000 1200000

[a*big]
type cpufreq
node_path {PLATFORM}/cpu/prime
level_table -2 -3

[camera]
type camera
node_path {CAMERA_DEBUG}/fixed_sensor_fps
level_table 30 24

[log]
type report
node_path /data/vendor/thermal/log
"""


@pytest.fixture(scope="session")
def thermalctl():
    program = built("release", "thermalctl") / "thermalctl"

    def run(*words):
        done = subprocess.run([program, "integrate", *map(str, words)], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True)
        return done.returncode, done.stdout, done.stderr
    return run


@pytest.fixture(params=["phone", "hard"])
def environment(request, tmp_path):
    if request.param == "phone":
        return PHONE
    file = tmp_path / "hard.env"
    file.write_text(HARD)
    (tmp_path / "talmor-thermal.conf").write_text("SCEN Default\n")
    return file


@pytest.fixture
def folder(thermalctl, environment, tmp_path):
    made = tmp_path / "made"
    status, _, errors = thermalctl("--env", environment, "--out", made)
    assert (status, errors) == (0, "")
    return made


def contents(folder):
    return {path.relative_to(folder): path.read_bytes() for path in sorted(folder.rglob("*"))
            if path.is_file()}


def install(folder, root):
    """What the build would put into the image, by the folder's Blueprint file."""
    for kind, module in blueprint.modules(folder / "Android.bp").values():
        if kind == "prebuilt_etc":
            assert module["vendor"] is True and ".." not in module["src"]
            target = root / "vendor" / "etc" / module.get("sub_dir", "") / module["name"]
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes((folder / module["src"]).read_bytes())
    return root


def test_the_phones_own_are_made_by_it(thermalctl, tmp_path):
    assert thermalctl("--env", PHONE, "--verify", REPOSITORY / "android" / "phone") == (
        0, "no problems in 8 files\n", "")
    assert thermalctl("--env", PHONE, "--out", tmp_path)[0] == 0
    assert contents(tmp_path) == contents(REPOSITORY / "android" / "phone")


def test_what_is_made_passes_its_own_comparison(thermalctl, environment, folder):
    before = contents(folder)
    assert thermalctl("--env", environment, "--verify", folder)[0] == 0
    assert thermalctl("--env", environment, "--out", folder)[0] == 0
    assert contents(folder) == before


def test_the_blueprint_is_formatted_and_names_every_file(folder):
    done = subprocess.run(["bpfmt", "-s", "-d", folder / "Android.bp"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    assert (done.returncode, done.stdout) == (0, "")
    modules = blueprint.modules(folder / "Android.bp").values()
    named = {Path(module["src"]) for kind, module in modules if kind == "prebuilt_etc"}
    assert named == {path for path in contents(folder)
                     if path.parent == Path() and path.name != "Android.bp"}


def test_what_init_reads_lies_in_the_image(thermalctl, environment, folder, tmp_path):
    """From the folder into the image and, by what init finds there, back to the folder."""
    image = install(folder, tmp_path / "image")
    files = sorted((image / "vendor" / "etc" / "init").iterdir())
    assert [file.name for file in files] == ["talmor-thermal-board.rc"]
    actions, services = parse(files[0].read_text())
    commands = [*actions["boot"], *services["vendor.talmor-thermal"].onrestart]
    copied = {words[1] for words in commands if words[0] == "copy"}
    assert copied == {f"/vendor/etc/{path.name}" for path in folder.glob("*.level0")} != set()
    for path in [*copied, "/vendor/etc/talmor-thermal.env", "/vendor/etc/talmor-thermal.conf",
                 "/vendor/etc/talmor-thermal-ueventd.rc"]:
        assert (image / path[1:]).read_bytes() == (folder / Path(path).name).read_bytes()
    installed_board = image / "vendor" / "etc" / "talmor-thermal.env"
    assert thermalctl("--env", installed_board, "--verify", folder)[0] == 0


@pytest.mark.parametrize("release", policy.RANKS)
def test_the_policy_compiles_with_the_boards_labels(folder, release, tmp_path):
    directories = policy.POLICY, folder / "sepolicy", policy.DEVICE
    text = policy.source("", directories, release)
    done, made = policy.compile_source(text, ["-C"])
    assert (done.returncode, done.stdout) == (0, "")
    (tmp_path / "policy.cil").write_bytes(made)
    subprocess.run(["secilc", "-M", "true", "-f", "/dev/null", "-o", tmp_path / "policy",
                    tmp_path / "policy.cil"], check=True)
    assert "talmor_thermal_device" in text


def test_every_label_is_one_of_the_policys_types(folder):
    given = "".join((folder / "sepolicy" / name).read_text()
                    for name in ("file_contexts", "genfs_contexts"))
    types = set(re.findall(r" u:object_r:(\w+):s0$", given, re.MULTILINE))
    assert types
    for type_ in types:
        assert f"type {type_}, " in (policy.POLICY / "file.te").read_text()


def test_a_node_of_dev_has_its_label_and_its_line_of_ueventd(thermalctl, tmp_path):
    (tmp_path / "hard.env").write_text(HARD)
    (tmp_path / "talmor-thermal.conf").write_text("SCEN Default\n")
    assert thermalctl("--env", tmp_path / "hard.env", "--out", tmp_path)[0] == 0
    rules = re.findall(r"^(/\S+) u:object_r:(\w+):s0$",
                       (tmp_path / "sepolicy" / "file_contexts").read_text(), re.MULTILINE)
    for node, type_ in (("/dev/talmor/tacho.0", "talmor_thermal_sensor_device"),
                        ("/dev/talmor/fan", "talmor_thermal_device")):
        assert [label for pattern, label in rules if re.fullmatch(pattern, node)] == [type_]
    assert not [label for pattern, label in rules if re.fullmatch(pattern, "/dev/talmor/tachox0")]
    lines = (tmp_path / "talmor-thermal-ueventd.rc").read_text().splitlines()
    ueventd = re.compile(r"(/dev/\S+) 0[0-7]{3} system system")
    assert [ueventd.fullmatch(line)[1] for line in lines if line and line[0] != "#"] == [
        "/dev/talmor/tacho.0", "/dev/talmor/fan"]


def carry_out(commands, box):
    """As init does: the text as it stands, the file byte for byte."""
    for command, *words in commands:
        if command == "write" and words[0].startswith("/sys/"):
            box.host_path(words[0]).write_text(words[1])
        elif command == "copy":
            box.host_path(words[1]).write_bytes(box.host_path(words[0]).read_bytes())


def monitor_of(devices, sensor):
    return ("SCEN Default\n[all]\nalgo_type monitor\n"
            f"sensor {sensor}\nsampling 100\nthresholds 50000\nthresholds_clr 40000\n"
            f"actions {'+'.join(devices)}\naction_info {'+'.join('1' for _ in devices)}\n")


# What the daemon samples itself.
DRIVEN = {"phone": ("little", ["cpu_big", "cpu_little", "gpu", "hotplug", "charger", "backlight",
                               "camera"]),
          "hard": ("skin.0", ["mode", "mask", "a/big", "a*big", "camera"])}


def test_init_resets_each_node_to_what_the_daemon_writes_at_level_0(environment, folder):
    """The daemon is driven to level 1 and back, and what it leaves is compared byte by byte."""
    sensor, devices = DRIVEN["phone" if environment == PHONE else "hard"]
    with Sandbox() as box:
        install(folder, box.host_path("/vendor").parent)
        actions, services = parse(
            (box.host_path("/vendor/etc/init") / "talmor-thermal-board.rc").read_text())
        commands = services["vendor.talmor-thermal"].onrestart
        nodes = {node for node in re.findall(r"(/sys/\S+) u?", "\n".join(
            " ".join(words) + " " for words in actions["boot"]))}
        assert len(nodes) > len(devices)
        for node in nodes:
            box.add_node(node)
        path = re.search(rf"\[{re.escape(sensor)}\]\ntype real\n(?:sampling.*\n)?node_path (\S+)",
                         environment.read_text())[1]
        box.add_node(path, "20000")
        box.conf_file.write_text(monitor_of(devices, sensor))
        reset = [words[-1 if words[0] == "copy" else 1] for words in commands]
        reset = [node for node in reset if node.startswith("/sys/")]
        box.start(REPOSITORY / "build" / "release" / "talmor-thermal")
        wait_until(lambda: "temp(20000)" in box.stderr(), "the first sample")

        def held():
            return {node: box.host_path(node).read_bytes() for node in reset}
        box.write_node(path, "60000")
        wait_until(lambda: all(held().values()), "level 1")
        cooling = held()
        box.write_node(path, "20000")
        wait_until(lambda: all(held()[node] != cooling[node] for node in reset), "level 0")
        box.stop()
        at_level_0 = held()
        for node in reset:
            box.host_path(node).write_bytes(b"")
        carry_out(commands, box)
        assert held() == at_level_0
        assert len(at_level_0) == len(devices) + 1  # the camera's switch

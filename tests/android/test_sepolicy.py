"""The daemon's SELinux policy: it compiles, grants what the daemon needs, and no more."""

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

import policy

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402
from sandbox import CAMERA_DEBUG, Sandbox, wait_until  # noqa: E402

PHONE = REPOSITORY / "boards" / "phone"
CAMERA_SWITCH = CAMERA_DEBUG + "/en_fixed_sensor_fps"
GUIDE = REPOSITORY / "docs" / "android.md"
DAEMON, REQUESTER = "talmor_thermal", "talmor_thermal_requester"


@pytest.fixture(scope="session")
def board():
    return Board((PHONE / "talmor-thermal.env").read_text())


def test_the_policy_compiles():
    done, _ = policy.compile_policy()
    assert (done.returncode, done.stdout) == (0, "")


def test_the_policy_compiles_through_the_intermediate_language(tmp_path):
    (tmp_path / "policy.cil").write_text(policy.intermediate())
    subprocess.run(["secilc", "-M", "true", "-f", "/dev/null", "-o", tmp_path / "policy",
                    tmp_path / "policy.cil"], check=True)


@pytest.mark.parametrize("release", policy.RANKS)
def test_the_policy_compiles_in_front_of_that_of_the_device(release):
    done, _ = policy.compile_source(
        policy.source("", (policy.POLICY, policy.PHONE, policy.DEVICE), release))
    assert (done.returncode, done.stdout) == (0, "")


def test_the_policy_compiles_behind_that_of_the_device_where_attributes_come_first():
    behind = policy.DEVICE, policy.POLICY, policy.PHONE
    assert policy.compile_source(policy.source("", behind, "12"))[0].returncode == 0
    # Which is why the document has ours first.
    done, _ = policy.compile_source(policy.source("", behind, "14"))
    assert "attribute talmor_thermal_requester is not declared" in done.stdout
    told = re.search(r"BOARD_VENDOR_SEPOLICY_DIRS := ((?:.*\\\n)*.*)", GUIDE.read_text())[1]
    ours, board, device = told.replace("\\\n", " ").split()
    assert ours.endswith("/android/sepolicy") and board.endswith("/android/phone/sepolicy")
    assert device == "$(BOARD_VENDOR_SEPOLICY_DIRS)"


def test_every_attribute_is_declared_where_the_build_looks_for_attributes():
    elsewhere = [path.name for path in policy.POLICY.glob("*.te")
                 if policy.statements("attribute", path.read_text())]
    assert elsewhere == []


@pytest.mark.parametrize("forbidden", [
    "allow talmor_thermal self:capability dac_override;",
    "allow talmor_thermal self:capability2 wake_alarm;",
    "allow talmor_thermal hal_power_default:process ptrace;",
    "allow talmor_thermal self:tcp_socket create;",
    "allow talmor_thermal self:udp_socket create;",
    "allow talmor_thermal sysfs:file write;",
    "allow talmor_thermal sysfs_thermal:file write;",
    "allow talmor_thermal sysfs_talmor_thermal_sensor:file write;",
    "allow talmor_thermal sysfs:dir write;",
    "allow talmor_thermal sysfs_talmor_thermal_device:dir add_name;",
    "allow talmor_thermal device:dir write;",
    "allow logd talmor_thermal:process transition;",
    "allow logd talmor_thermal_control_file:file write;",
    "allow logd talmor_thermal_data_file:file write;",
    "allow hal_power_default talmor_thermal_control_file:file create;",
    "allow hal_power_default talmor_thermal_control_file:file unlink;",
    "allow hal_power_default talmor_thermal_data_file:file read;",
    "allow hal_power_default talmor_thermal_data_file:file write;",
    "allow hal_power_default talmor_thermal_data_file:dir add_name;",
])
def test_an_assertion_refuses(forbidden):
    assert policy.violates_an_assertion(forbidden + "\n")


PURPOSES = {
    "nothing is made, moved or removed in a directory of the kernel":
        "allow vendor_init sysfs:dir add_name;",
    "a node of /dev has a label of its own":
        "allow talmor_thermal device:chr_file { open read };",
    "only ueventd and init make nodes of /dev":
        "allow talmor_thermal talmor_thermal_device:chr_file create;",
    "only init and vendor_init open what debugfs has":
        "allow talmor_thermal debugfs:file { open read };",
    "a read-only partition is not written":
        "allow talmor_thermal vendor_configs_file:file write;",
    "only a program is the entrance to a domain":
        "allow talmor_thermal talmor_thermal_data_file:file entrypoint;",
    "a vendor's process runs nothing of the system's partition":
        "allow talmor_thermal shell_exec:file { execute execute_no_trans };",
    "a vendor's process opens no file of the system's data":
        "allow talmor_thermal system_data_file:file open;",
    "a vendor's process sees no directory of the system's data but on its way to its own":
        "allow talmor_thermal system_data_root_file:dir { add_name write };",
    "a process of the system opens no file of the vendor's data":
        "typeattribute system_server talmor_thermal_requester;",
    "no vendor's process connects to a process of the system but the log's":
        "allow talmor_thermal system_server:unix_stream_socket connectto;",
    "the system's binder is not the vendor's":
        "allow talmor_thermal binder_device:chr_file { ioctl open read write };",
    "a process stays what it is, or becomes another domain":
        "allow talmor_thermal self:process dyntransition;",
    "nobody watches init": "allow vendor_init init:process ptrace;",
    "no memory is both written and executed": "allow talmor_thermal self:process execmem;",
    "capabilities that take the kernel over are nobody's":
        "allow vendor_init self:capability sys_module;",
}


def test_the_rules_of_a_platform_are_listed_with_their_purposes():
    rules = (policy.PLATFORM / "neverallow.te").read_text()
    assert re.findall(r"^# (.*)\nneverallow", rules, re.MULTILINE) == [*PURPOSES]
    guide = " ".join(GUIDE.read_text().split())
    assert [purpose for purpose in PURPOSES if purpose not in guide] == []


@pytest.mark.parametrize("purpose", PURPOSES)
def test_a_rule_of_the_platform_refuses(purpose):
    done, _ = policy.compile_source(policy.source(PURPOSES[purpose] + "\n"))
    assert done.returncode != 0 and "neverallow" in done.stdout, done.stdout


def everything_granted(text):
    """Every permission of every rule of a text, one by one, with the rule."""
    allow = re.compile(r"allow (\w+|\{.*?\}) (\w+|\{.*?\}):(\w+|\{.*?\}) (.*);")
    for rule in policy.statements("allow", text):
        source_type, target, classes, permissions = allow.fullmatch(rule).groups()
        for class_ in classes.strip("{} ").split():
            for permission in permissions.strip("{} ").split():
                yield rule, (source_type, target, class_, permission)


def test_no_rule_repeats_what_the_platform_gives_to_all():
    ours = "".join(path.read_text() for path in policy.POLICY.glob("*.te"))
    asked = [*everything_granted(ours)]
    assert len(asked) > 30
    for rule, use in asked:
        without = policy.source().replace(rule + "\n", "")
        never = "neverallow {} {}:{} {};\n".format(*use)
        text = without.replace("role r;\n", never + "role r;\n", 1)
        assert policy.compile_source(text)[0].returncode == 0, rule


def test_a_node_that_the_platform_has_labelled_keeps_that_label():
    """The integrator's one line lets the daemon come to it and write it."""
    attach = "typeattribute sysfs_leds talmor_thermal_node;\n"
    ask = "neverallow talmor_thermal sysfs_leds:{} {};\n"
    assert policy.compiles(attach)
    for class_, permission in (("dir", "search"), ("file", "open"), ("file", "write")):
        assert policy.compiles(ask.format(class_, permission))
        assert policy.violates_an_assertion(attach + ask.format(class_, permission))
    assert policy.compiles(attach + ask.format("file", "{ append create read setattr unlink }"))


def test_a_missing_node_is_no_denial_in_the_log_and_is_never_made():
    for directory in ("sysfs_leds", "sysfs_talmor_thermal_device", "device"):
        assert not policy.grants(DAEMON, directory, "dir", "{ add_name create write }")
    silent = set()
    for target in re.findall(r"^\(dontaudit talmor_thermal (\w+) \(dir \(write\)\)\)$",
                             policy.intermediate(), re.MULTILINE):
        types = re.search(rf"^\(typeattributeset {target} \((.*)\)\)$", policy.intermediate(),
                          re.MULTILINE)
        silent |= set(types[1].split()) if types else {target}
    assert {"device", "sysfs", "sysfs_leds", "sysfs_talmor_thermal_device"} <= silent


def test_the_daemon_writes_nothing_but_its_files_its_devices_and_the_log():
    mine = "talmor_thermal_data_file talmor_thermal_control_file talmor_thermal_node null_device"
    others = ("{ dev_type file_type fs_type "
              + " ".join("-" + name for name in [*mine.split(), "logdw_socket"]) + " }")
    for class_ in ("file", "dir", "sock_file", "lnk_file", "chr_file", "blk_file"):
        changes = "{ append create link rename setattr unlink write }"
        assert not policy.grants(DAEMON, others, class_, changes)
    assert not policy.grants(DAEMON, "logdw_socket", "sock_file", "{ append create unlink }")


def test_the_daemon_reads_nothing_but_its_files_its_sensors_and_what_all_may_read():
    mine = ("talmor_thermal_data_file talmor_thermal_control_file sysfs_talmor_thermal_sensor "
            "vendor_file_type sysfs_devices_system_cpu")
    others = "{ file_type fs_type " + " ".join("-" + name for name in mine.split()) + " }"
    assert not policy.grants(DAEMON, others, "file", "read")
    assert not policy.grants(DAEMON, "sysfs_talmor_thermal_device", "file", "read")


def test_the_daemon_runs_no_other_program():
    assert not policy.grants(DAEMON, "file_type", "file", "execute_no_trans")
    assert not policy.grants(DAEMON, "{ domain -init }", "process", "transition")


def test_init_starts_the_daemon_in_its_own_domain():
    assert policy.grants("init", DAEMON, "process", "transition")
    assert policy.grants(DAEMON, "talmor_thermal_exec", "file", "entrypoint")
    another = "type_transition init talmor_thermal_exec:process init;\n"
    assert not policy.compiles(another)


def test_init_hands_the_nodes_of_devices_to_the_daemons_user():
    assert policy.grants("vendor_init", "sysfs_talmor_thermal_device", "file", "setattr")
    assert policy.grants("vendor_init", "talmor_thermal_device", "chr_file", "setattr")


def test_the_daemon_reads_and_writes_the_boards_nodes_of_dev():
    for node, permission in (("talmor_thermal_sensor_device", "read"),
                             ("talmor_thermal_device", "write")):
        assert policy.grants(DAEMON, node, "chr_file", "open")
        assert policy.grants(DAEMON, node, "chr_file", permission)
    assert not policy.grants(DAEMON, "talmor_thermal_sensor_device", "chr_file", "write")
    assert not policy.grants(DAEMON, "talmor_thermal_device", "chr_file", "{ ioctl map read }")


def test_init_resets_the_nodes_of_devices_and_none_of_sensors_in_dev():
    for permission in ("open", "write"):
        assert policy.grants("vendor_init", "sysfs_talmor_thermal_device", "file", permission)
        assert policy.grants("vendor_init", "talmor_thermal_device", "chr_file", permission)
        assert policy.grants("vendor_init", "vendor_configs_file", "file", "read")
    assert not policy.grants("vendor_init", "talmor_thermal_sensor_device", "chr_file", "write")


PLACES = {"sysfs": "sysfs_type", "/dev/": "dev_type", "/vendor/": "vendor_file_type",
          "/(vendor": "vendor_file_type", "/data/vendor/": "data_file_type"}


def labels_given(directories=(policy.POLICY, policy.PHONE)):
    """Every place and label of the contexts."""
    for directory in directories:
        for line in (path for name in ("file_contexts", "genfs_contexts")
                     if (directory / name).exists()
                     for path in (directory / name).read_text().splitlines()):
            if line and not line.startswith("#"):
                place, type_ = re.search(r"^(?:genfscon )?(\S+).*:object_r:(\w+):s0$", line).groups()
                yield place, type_


def test_every_label_is_of_the_kind_that_its_place_asks_for():
    """A platform looks at every label so, after the policy has compiled."""
    for place, type_ in labels_given():
        kind, = {PLACES[begin] for begin in PLACES if place.startswith(begin)}
        never = f"neverallow init {{ {type_} -{kind} }}:file getattr;\n"
        assert policy.compiles(never + f"allow init {type_}:file getattr;\n"), place
        if kind == "data_file_type":
            assert f"type {type_}, file_type, data_file_type;" in policy.source()


def test_the_daemon_reaches_the_log():
    assert policy.grants(DAEMON, "logdw_socket", "sock_file", "write")
    assert policy.grants(DAEMON, "logd", "unix_dgram_socket", "sendto")
    for permission in ("create", "connect", "write"):
        assert policy.grants(DAEMON, "self", "unix_dgram_socket", permission)


@pytest.mark.parametrize("name", ["talmor-thermal.scen", "talmor-thermal.dconf"])
def test_a_control_file_that_the_daemon_makes_anew_is_labelled_as_one(name):
    rule = "(typetransition talmor_thermal talmor_thermal_data_file file {} {})"
    assert rule.format(f'"{name}"', "talmor_thermal_control_file") in policy.intermediate()


def test_a_requester_writes_the_two_control_files():
    assert policy.grants(REQUESTER, "talmor_thermal_control_file", "file", "write")
    assert policy.label("/data/vendor/thermal/talmor-thermal.scen") == "talmor_thermal_control_file"
    assert policy.label("/data/vendor/thermal/talmor-thermal.dconf") == "talmor_thermal_control_file"


@pytest.mark.parametrize("class_", ["file", "dir", "sock_file", "lnk_file"])
def test_a_requester_writes_nothing_else(class_):
    others = "{ file_type fs_type -logdw_socket -talmor_thermal_control_file }"
    changes = "{ append create link rename setattr unlink write }"
    assert not policy.grants(REQUESTER, others, class_, changes)


@pytest.mark.parametrize("path, type_", [
    ("/vendor/bin/talmor-thermal", "talmor_thermal_exec"),
    ("/system/vendor/bin/talmor-thermal", "talmor_thermal_exec"),
    ("/vendor/bin/talmor-thermal2", None),
    ("/data/vendor/thermal", "talmor_thermal_data_file"),
    ("/data/vendor/thermal/config", "talmor_thermal_data_file"),
    ("/data/vendor/thermal/config/talmor-thermal.scen", "talmor_thermal_data_file"),
    ("/data/vendor/thermal/talmor-thermal.report", "talmor_thermal_data_file"),
    ("/data/vendor/thermal/talmor-thermalxscen", "talmor_thermal_data_file"),
    ("/data/vendor/thermals", None),
])
def test_a_file_has_the_label(path, type_):
    assert policy.label(path) == type_


def test_every_label_is_a_type_of_the_policy():
    contexts = (policy.POLICY / "file_contexts").read_text()
    types = set(re.findall(r"u:object_r:(\w+):s0$", contexts, re.MULTILINE))
    assert len(types) == 3
    for type_ in types:
        assert policy.compiles(f"allow init {type_}:file getattr;\n"), type_
    assert not policy.compiles("allow init no_such_type:file getattr;\n")


def test_every_node_of_the_board_has_the_label_of_its_use(board):
    sensors = board.sensor_nodes.values()
    devices = [*(device.node for device in board.devices.values()), CAMERA_SWITCH]
    assert {policy.label(node) for node in sensors} == {"sysfs_talmor_thermal_sensor"}
    assert {policy.label(node) for node in devices} == {"sysfs_talmor_thermal_device"}
    contexts = (policy.PHONE / "genfs_contexts").read_text()
    assert sorted(re.findall(r"^genfscon sysfs (\S+)", contexts, re.MULTILINE)) == sorted(
        node.removeprefix("/sys") for node in [*sensors, *devices])


class Uses:
    """What the daemon does with files, by a trace of its system calls."""

    CALL = re.compile(r'(openat|unlink|unlinkat)\((?:AT_FDCWD, )?"(/(?:data|vendor|sys)/[^"]*)"'
                      r"(?:, (\S+))?.* = (-?\d+)")

    def __init__(self, existing):
        self._existing = set(existing)
        self.all = set()

    def follow(self, line):
        match = self.CALL.search(line)
        if not match or match[4] == "-1":
            return
        call, path, flags = match[1], match[2], (match[3] or "").rstrip(",").rstrip(")").split("|")
        if call == "openat":
            self._open(path, flags)
        else:
            self._add(path, "file", "unlink")
            self._add(str(Path(path).parent), "dir", "write", "remove_name")

    def _open(self, path, flags):
        if "O_CREAT" in flags and path not in self._existing:
            self._existing.add(path)
            self._add(path, "file", "create")
            self._add(str(Path(path).parent), "dir", "write", "add_name")
        access = {"O_RDONLY": ["read"], "O_WRONLY": ["write"], "O_RDWR": ["read", "write"]}
        kind = "dir" if path.endswith("/") else "file"
        self._add(path, kind, "open", "getattr", *access[flags[0]])
        self._add(str(Path(path).parent), "dir", "search")

    def _add(self, path, class_, *permissions):
        label = policy.label(path) or "vendor_configs_file"
        assert label != "vendor_configs_file" or path.startswith("/vendor/etc"), path
        self.all |= {(label, class_, permission) for permission in permissions}


# For a copy that a full disk cut short; the traced run has room.
ON_A_FULL_DISK = {("talmor_thermal_data_file", "file", "unlink"),
                  ("talmor_thermal_data_file", "dir", "remove_name")}


@pytest.fixture(scope="session")
def uses(board, host_build):
    """The phone board from its first start on: heat, a scenario, another configuration, a control
    file that goes missing."""
    with Sandbox() as box:
        return _run(box, board, host_build / "talmor-thermal")


def ask(control_file, word):
    """As a requester may: in place, in one write, without emptying the file first."""
    descriptor = os.open(control_file, os.O_WRONLY)
    try:
        os.write(descriptor, f"{word}\n".encode())
    finally:
        os.close(descriptor)


def _run(box, board, binary):
    for node in board.sensor_nodes.values():
        box.add_node(node, "95000")
    for node in [*(device.node for device in board.devices.values()), CAMERA_SWITCH]:
        box.add_node(node)
    box.env_file.write_text((PHONE / "talmor-thermal.env").read_text())
    box.conf_file.write_text((PHONE / "talmor-thermal.conf").read_text())
    night = "talmor-thermal_night.conf"
    (box.config_dir / night).write_text((PHONE / night).read_text())
    existing = [*board.sensor_nodes.values(), CAMERA_SWITCH,
                *(device.node for device in board.devices.values())]
    trace = box.base / "trace"
    box.start(binary, prefix=["strace", "-f", "-I", "waiting", "-e", "trace=openat,unlink,unlinkat",
                              "-o", str(trace)])
    scenario, request = (box.data_dir / f"talmor-thermal.{kind}" for kind in ("scen", "dconf"))
    wait_until(lambda: request.exists() and request.read_text() == "PARSED", "the start")
    wait_until(lambda: box.host_path(board.devices["camera"].node).read_text(), "a hot camera")
    ask(scenario, "game")
    wait_until(lambda: "All scenChangeDone to game" in box.stderr(), "the scenario")
    ask(request, night)
    wait_until(lambda: "new CONF file is completed" in box.stderr(), "the other configuration")
    scenario.unlink()
    wait_until(scenario.exists, "the scenario's file to be made anew")
    box.stop()
    seen = Uses(existing)
    for line in trace.read_text().splitlines():
        seen.follow(line)
    return seen.all


def test_the_policy_grants_every_use_of_a_file_by_the_daemon(uses):
    assert {use for use in uses if not policy.grants(DAEMON, *use)} == set()


@pytest.mark.parametrize("type_", [
    "talmor_thermal_data_file", "talmor_thermal_control_file", "sysfs_talmor_thermal_sensor",
    "sysfs_talmor_thermal_device"])
def test_the_policy_grants_no_use_of_a_file_that_the_daemon_has_no_use_for(uses, type_):
    possible = {
        "file": ["append", "create", "execute", "getattr", "ioctl", "link", "lock", "map", "open",
                 "read", "rename", "setattr", "unlink", "write"],
        "dir": ["add_name", "create", "read", "remove_name", "rmdir", "write"]}
    granted = {(type_, class_, permission) for class_, permissions in possible.items()
               for permission in permissions if policy.grants(DAEMON, type_, class_, permission)}
    assert granted - ON_A_FULL_DISK <= uses

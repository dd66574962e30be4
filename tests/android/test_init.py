"""What init is told: the service, its directories, and the nodes that it may write."""

import re
import sys
from pathlib import Path

import pytest

import blueprint
from init_language import DEFAULT_PERIOD, SyntaxErrorInLine, blames_an_update, parse, tokens

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402

DATA = "/data/vendor/thermal"
DAEMON, BOARD = "talmor-thermal.rc", "phone/talmor-thermal-board.rc"


def read(name):
    return parse((blueprint.ANDROID / name).read_text())


@pytest.fixture(scope="module")
def service():
    (name, service), = read(BOARD)[1].items()
    assert name == "vendor.talmor-thermal"
    return service


@pytest.fixture(scope="module")
def service_name():
    name, = read(BOARD)[1]
    return name


@pytest.mark.parametrize("wrong", [
    "on bot\n",
    "on boot now\n",
    "sevice a /vendor/bin/a\n",
    "service vendor.a\n",
    "service vendor.a vendor/bin/a\n",
    "service vendor.a /a\nservice vendor.a /b\n",
    "service a /a\n",
    "    mkdir /data/a 0750 system system\n",
    "on boot\n    mkdri /data/a 0750 system system\n",
    "on boot\n    mkdir data/a 0750 system system\n",
    "on boot\n    mkdir /data/a 750 system system\n",
    "on boot\n    mkdir /data/a 0780 system system\n",
    "on boot\n    mkdir /data/a 0750 sytsem system\n",
    "on boot\n    mkdir /data/a 0750 system\n",
    "on boot\n    class late_start\n",
    "on boot\n    chown system system /sys/a",
    "service vendor.a /a\n    class late\n",
    "service vendor.a /a\n    class\n",
    "service vendor.a /a\n    user system\n    user system\n",
    "service vendor.a /a\n    capabilities SYS_ADMIN\n",
    "service vendor.a /a\n    oom_score_adjust -1001\n",
    "service vendor.a /a\n    oom_score_adjust 1001\n",
    "service vendor.a /a\n    chown system system /sys/a\n",
    "service vendor.a /a\n    restart_period\n",
    "service vendor.a /a\n    restart_period 0\n",
    "service vendor.a /a\n    onrestart\n",
    "service vendor.a /a\n    onrestart class main\n",
    "on boot\n    onrestart write /sys/a 1\n",
    "on boot\n    write /sys/a\n",
    "on boot\n    write /sys/a two words\n",
    'on boot\n    write /sys/a "one word\n',
    "on boot\n    write /sys/a $a\n",
    "on boot\n    chmod 644 /sys/a\n",
    "on boot\n    copy /vendor/etc/a\n",
    "on property:init.svc.talmor-thermal=running\n",
    "on property:init.svc.vendor.a\n",
    "on boot property:vendor.a=1\n",
])
def test_a_mistake_is_found(wrong):
    with pytest.raises(SyntaxErrorInLine):
        parse(wrong)


@pytest.mark.parametrize("line, words", [
    ('write /sys/a "two words"', ["write", "/sys/a", "two words"]),
    (r'write /sys/a a\"b', ["write", "/sys/a", 'a"b']),
    ("write /sys/a 5$$ # paid", ["write", "/sys/a", "5$"]),
])
def test_words_are_taken_apart_as_init_does(line, words):
    assert tokens(line) == words


def test_a_vendors_file_may_trigger_on_a_vendors_properties():
    actions, _ = parse("on boot && property:init.svc.vendor.talmor-thermal=running\n"
                       "on property:ro.vendor.a=1\n")
    assert len(actions) == 2


def test_every_trigger_of_the_document_is_one_that_init_takes():
    guide = (REPOSITORY / "docs" / "android.md").read_text()
    triggers = re.findall(r"\bon (?:[\w-]+ && )?property:[^`\n]+", guide)
    assert triggers
    for trigger in triggers:
        parse(trigger + "\n")


def test_the_documents_call_the_service_by_its_name(service_name):
    for name in ("android.md", "operating-notes.md"):
        text = (REPOSITORY / "docs" / name).read_text()
        called = re.findall(r"(?:service|shell stop|shell start|init\.svc\.)[ ]?([\w.]*talmor-thermal)\b", text)
        assert called and set(called) == {service_name}, name


# How long the daemon lives, time after time: it ends at once; slowly at first; after an hour; each
# time just before or behind its period.
@pytest.mark.parametrize("runs", [[0.1] * 60, [5, *[0.1] * 60], [3600, *[0.1] * 60],
                                  [119, *[0.1] * 60], [119.9] * 60, [120.1] * 60],
                         ids=lambda runs: str(runs[0]))
def test_a_daemon_that_ends_over_and_over_is_not_taken_for_the_fault_of_an_update(service, runs):
    period = int(service.options["restart_period"][0])
    assert not blames_an_update(period, runs, boot_completed=True)
    assert not blames_an_update(period, runs[:4], boot_completed=False)
    assert 4 * period >= 8 * 60  # which the document tells of a boot that is not completed


def test_with_inits_own_period_it_would_be():
    assert blames_an_update(DEFAULT_PERIOD, [0.1] * 5, boot_completed=True)
    # What a period of four minutes divided by the ends would come to.
    assert blames_an_update(60, [3600, *[0.1] * 5], boot_completed=True)


def test_the_files_are_those_that_the_blueprint_installs():
    there = [path.name for path in blueprint.ANDROID.glob("*.rc")]
    assert blueprint.modules()["talmor-thermal"][1]["init_rc"] == there == [DAEMON]
    kind, module = blueprint.modules(blueprint.PHONE)["talmor-thermal-board.rc"]
    assert (kind, module["sub_dir"], f"phone/{module['src']}") == ("prebuilt_etc", "init", BOARD)


def test_the_service_is_the_daemon_with_its_log(service):
    assert "talmor-thermal" in blueprint.modules()
    assert (service.path, service.arguments) == ("/vendor/bin/talmor-thermal", [])


def test_the_service_runs_as_an_ordinary_user_without_any_capability(service):
    assert (service.options["user"], service.options["group"]) == (["system"], ["system"])
    assert service.options["capabilities"] == []


def test_the_service_is_never_killed_for_memory(service):
    assert service.options["oom_score_adjust"] == ["-1000"]


def test_the_service_starts_with_the_data_partition_and_again_whenever_it_ends(service):
    assert service.options["class"] == ["late_start"]
    assert set(service.options) & {"oneshot", "critical", "disabled"} == set()


def test_the_directories_are_the_daemons_own_before_it_starts(service):
    owner = service.options["user"] + service.options["group"]
    assert read(DAEMON) == ({"post-fs-data": [
        ["mkdir", DATA, "0751", *owner],
        ["mkdir", DATA + "/config", "0750", *owner]]}, {})
    sources = "".join(path.read_text() for path in (REPOSITORY / "src").rglob("*.*"))
    assert re.findall(r'(\w+)\[\] = "(/data/[^"]*)"', sources) == [("kDataDirectory", DATA)]
    assert re.findall(r'kConfigurationFolder\[\] = "([^"]*)"', sources) == ["/config/"]


def test_every_node_that_the_daemon_writes_becomes_its_users(service):
    environment = (REPOSITORY / "boards/phone/talmor-thermal.env").read_text()
    camera = (REPOSITORY / "src/device/CameraDevice.h").read_text()
    written = [device.node for device in Board(environment).devices.values()]
    written += re.findall(r'"(/sys/[^"]*)"', camera)
    actions, _ = read(BOARD)
    assert [*actions] == ["boot"]
    owners = [words for words in actions["boot"] if words[0] == "chown"]
    assert owners == [["chown", *service.options["user"], *service.options["group"], node]
                      for node in written]
    modes = [words[2] for words in actions["boot"] if words[:2] == ["chmod", "0644"]]
    assert modes == written


def test_every_node_that_the_daemon_reads_is_readable():
    environment = (REPOSITORY / "boards/phone/talmor-thermal.env").read_text()
    modes = [words[2] for words in read(BOARD)[0]["boot"] if words[:2] == ["chmod", "0444"]]
    assert modes == [*Board(environment).sensor_nodes.values()]


def test_what_is_reset_at_boot_is_reset_at_each_restart(service):
    commands = [words for words in read(BOARD)[0]["boot"] if words[0] in ("write", "copy")]
    assert commands == service.onrestart != []

"""What init is told: the service, its directories, and the nodes that it may write."""

import re
import sys
from pathlib import Path

import pytest

import blueprint
from init_language import SyntaxErrorInLine, parse

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402

DATA = "/data/vendor/thermal"
DAEMON, BOARD = "talmor-thermal.rc", "talmor-thermal-board.rc"


def read(name):
    return parse((blueprint.ANDROID / name).read_text())


@pytest.fixture(scope="module")
def service():
    (name, service), = read(DAEMON)[1].items()
    assert name == "talmor-thermal"
    return service


@pytest.mark.parametrize("wrong", [
    "on bot\n",
    "on boot now\n",
    "sevice a /vendor/bin/a\n",
    "service a\n",
    "service a vendor/bin/a\n",
    "service a /a\nservice a /b\n",
    "    mkdir /data/a 0750 system system\n",
    "on boot\n    mkdri /data/a 0750 system system\n",
    "on boot\n    mkdir data/a 0750 system system\n",
    "on boot\n    mkdir /data/a 750 system system\n",
    "on boot\n    mkdir /data/a 0780 system system\n",
    "on boot\n    mkdir /data/a 0750 sytsem system\n",
    "on boot\n    mkdir /data/a 0750 system\n",
    "on boot\n    class late_start\n",
    "on boot\n    chown system system /sys/a",
    "service a /a\n    class late\n",
    "service a /a\n    class\n",
    "service a /a\n    user system\n    user system\n",
    "service a /a\n    capabilities SYS_ADMIN\n",
    "service a /a\n    oom_score_adjust -1001\n",
    "service a /a\n    oom_score_adjust 1001\n",
    "service a /a\n    chown system system /sys/a\n",
])
def test_a_mistake_is_found(wrong):
    with pytest.raises(SyntaxErrorInLine):
        parse(wrong)


def test_the_files_are_those_that_the_blueprint_installs():
    there = sorted(path.name for path in blueprint.ANDROID.glob("*.rc"))
    assert blueprint.modules()["talmor-thermal"][1]["init_rc"] == there == [BOARD, DAEMON]


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
    assert read(DAEMON)[0] == {"post-fs-data": [
        ["mkdir", DATA, "0751", *owner],
        ["mkdir", DATA + "/config", "0750", *owner]]}
    sources = "".join(path.read_text() for path in (REPOSITORY / "src").rglob("*.*"))
    assert re.findall(r'(\w+)\[\] = "(/data/[^"]*)"', sources) == [("kDataDirectory", DATA)]
    assert re.findall(r'kConfigurationFolder\[\] = "([^"]*)"', sources) == ["/config/"]


def test_every_node_that_the_daemon_writes_becomes_its_users(service):
    environment = (REPOSITORY / "boards/phone/talmor-thermal.env").read_text()
    camera = (REPOSITORY / "src/device/CameraDevice.cpp").read_text()
    written = [device.node for device in Board(environment).devices.values()]
    written += re.findall(r'"(/sys/[^"]*)"', camera)
    actions, services = read(BOARD)
    assert services == {}
    assert actions == {"boot": [["chown", *service.options["user"], *service.options["group"], node]
                                for node in written]}

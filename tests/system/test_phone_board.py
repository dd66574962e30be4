"""The example board as it ships, through heat and cold, every scenario and both configurations."""

import random
import sys
import time
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import Board  # noqa: E402

BOARD = REPOSITORY / "boards" / "phone"
DAY, NIGHT = "talmor-thermal_day.conf", "talmor-thermal_night.conf"
RUN_SECONDS = 30
COLD, HOT = 25000, 95000


def start(daemon):
    board = Board((BOARD / "talmor-thermal.env").read_text())
    for node in board.sensor_nodes.values():
        daemon.box.add_node(node, str(COLD))
    for device in board.devices.values():
        daemon.box.add_node(device.node)
    daemon.env_text = (BOARD / "talmor-thermal.env").read_text()
    daemon.conf_text = (BOARD / "talmor-thermal.conf").read_text()
    daemon.profile(NIGHT, (BOARD / NIGHT).read_text())
    daemon.started()
    return board


def set_all(daemon, board, temperature):
    for node in board.sensor_nodes.values():
        daemon.box.write_node(node, str(temperature()))


def levels(daemon, board):
    for event in daemon.write_events():
        for device in board.devices.values():
            if event.name == Path(device.node).name:
                device.follow(event.data)
    return {name: device.level for name, device in board.devices.items() if device.table}


def test_the_phone_board_stays_in_control_through_switches_and_swaps(daemon):
    board = start(daemon)
    chance = random.Random(1)
    requests = [lambda: daemon.switch("game"), lambda: daemon.swap(NIGHT),
                lambda: daemon.switch("camera"), lambda: daemon.swap(DAY),
                lambda: daemon.switch("Default")]
    began = time.monotonic()
    done = 0
    while time.monotonic() < began + RUN_SECONDS or done % len(requests):
        set_all(daemon, board, lambda: chance.randrange(COLD, HOT))
        requests[done % len(requests)]()
        done += 1
    assert [device.strange_writes for device in board.devices.values()] == [[]] * len(board.devices)

    set_all(daemon, board, lambda: HOT)
    daemon.wait(lambda: levels(daemon, board)["cpu_big"] == len(board.devices["cpu_big"].table) - 1,
                "the big cluster at its strongest cooling")
    set_all(daemon, board, lambda: COLD)
    daemon.wait(lambda: not any(levels(daemon, board).values()), "every device back at level 0")

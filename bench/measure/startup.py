"""Time from the start of the process to its first sample."""

import subprocess
import time

from . import boards
from .ground import SYSFS_NODES

SENSORS = 64
DEVICES = 50


def of_phone(ground, runs):
    return [_once(ground, lambda: boards.install_phone(ground)) for _ in range(runs)]


def of_items(ground, items, runs):
    devices = [ground.box.add_node(ground.box.nodes / f"device{i}") for i in range(DEVICES)]
    environment = boards.environment(SYSFS_NODES[:SENSORS], 1000, devices)
    configuration = boards.items(items, SENSORS, DEVICES, 1000, boards.OUT_OF_REACH)
    return [_once(ground, lambda: ground.install(environment, configuration)) for _ in range(runs)]


def _once(ground, install):
    """Seconds until the line of the first sample arrives.

    Entering the sandbox, which takes some milliseconds, and the copying of the factory
    configuration are part of it.
    """
    install()
    begin = time.monotonic()
    with ground.daemon(stderr=subprocess.PIPE) as daemon:
        for line in daemon.process.stderr:
            if b"temp(" in line:
                return time.monotonic() - begin
        daemon.process.wait()
        daemon.check()

"""The boards and configurations that are measured."""

import re

from .ground import REPOSITORY

PHONE = REPOSITORY / "boards/phone"

# Below every start temperature: an attribute of a network interface never reads as much.
OUT_OF_REACH = 2000000000

LUKEWARM = "30000"


def environment(nodes, sampling, devices=()):
    """One sensor per node, each sampled every `sampling` milliseconds."""
    sensors = [_block(f"[sensor{i}]", "type real", f"sampling {sampling}", f"node_path {node}")
               for i, node in enumerate(nodes)]
    cooling = [_block(f"[device{i}]", "type gpufreq", f"node_path {node}", "level_table 3 2 1 0")
               for i, node in enumerate(devices)]
    return "".join([*sensors, *cooling])


def sleepers(count, sampling=1000):
    """A monitor on each of so many sensors that never wakes; device0 would be driven."""
    return "SCEN Default\n" + "".join(
        monitor(f"monitor{i}", f"sensor{i}", "device0", sampling, OUT_OF_REACH)
        for i in range(count))


def items(count, sensors, devices, sampling, threshold):
    """So many monitors, spread evenly over the sensors and the devices."""
    return "SCEN Default\n" + "".join(
        monitor(f"monitor{i}", f"sensor{i % sensors}", f"device{i % devices}", sampling, threshold)
        for i in range(count))


def install_phone(ground):
    """The phone board, every sensor of it lukewarm."""
    environment = (PHONE / "talmor-thermal.env").read_text()
    for node in re.findall(r"^node_path (\S+)", environment, re.MULTILINE):
        ground.box.add_node(node, LUKEWARM)
    ground.install(environment, (PHONE / "talmor-thermal.conf").read_text())


def monitor(name, sensor, device, sampling, threshold):
    return _block(f"[{name}]", "algo_type monitor", f"sensor {sensor}", f"sampling {sampling}",
                  f"thresholds {threshold}", f"thresholds_clr {threshold - 500}",
                  f"actions {device}", "action_info 1")


def _block(*lines):
    return "\n".join(lines) + "\n\n"

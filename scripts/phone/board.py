"""What the demo must know of a board: its nodes, its devices, and what its algorithms ask for."""

import re
from dataclasses import dataclass, field


@dataclass
class Device:
    """One cooling device as the daemon drives it; `follow` keeps it in step with the daemon."""
    name: str
    kind: str
    node: str
    table: list
    level: int = 0
    strange_writes: list = field(default_factory=list)

    @property
    def value(self):
        return self.table[self.level]

    def fraction(self):
        return int(self.value) / int(self.table[0])

    def follow(self, written):
        """Takes over one write of the daemon to the device's node."""
        if self.kind == "cpufreq":
            text = str(int.from_bytes(written, "little", signed=True))
        else:
            text = written.decode()
        if text in self.table:
            self.level = self.table.index(text)
        else:
            self.strange_writes.append(text)


@dataclass
class Item:
    """One algorithm of a configuration file."""
    name: str
    scenario: str
    sensor: str
    thresholds: list
    requests: list   # per threshold: {device: level}
    lowactive: bool

    def least_request(self, device, millidegrees):
        """The level that the item asks of a device when it wakes at this temperature."""
        reached = sum(millidegrees >= threshold for threshold in self.thresholds)
        if self.lowactive or reached == 0:
            return 0
        return self.requests[reached - 1].get(device, 0)


class Board:
    def __init__(self, environment):
        sections = list(read_sections(environment))
        self.sensor_nodes = {name: words["node_path"][0] for name, words, _ in sections
                             if words["type"] == ["real"]}
        self.devices = {name: Device(name, words["type"][0], words["node_path"][0],
                                     words["level_table"])
                        for name, words, _ in sections if "level_table" in words}
        self.report = next(words["node_path"][0] for _, words, _ in sections
                           if words["type"] == ["report"])


def read_items(configuration):
    return [read_item(*section) for section in read_sections(configuration)]


def read_item(name, words, scenario):
    if words["algo_type"] == ["ss"]:
        thresholds = words["set_point"]
        requests = [{words["device"][0]: 1}]
    else:
        thresholds = words["thresholds"]
        requests = [dict(zip(devices.split("+"), map(int, levels.split("+"))))
                    for devices, levels in zip(words["actions"], words["action_info"])]
    return Item(name, scenario, words["sensor"][0], [int(word) for word in thresholds], requests,
                words.get("lowactive") == ["true"])


def read_sections(text):
    """Yields (name, {key: words}, scenario) of each section of a file that keeps to one blank line
    between sections and opens each scenario with a SCEN line."""
    scenario = "Default"
    for paragraph in re.split(r"\n\s*\n", text.strip()):
        lines = [line.split() for line in paragraph.splitlines()]
        if lines[0][0] == "SCEN":
            scenario = lines.pop(0)[1]
        header, *keys = lines
        yield header[0][1:-1], {key: words for key, *words in keys}, scenario

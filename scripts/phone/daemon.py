"""The daemon on its board, seen from outside: what it logs, and what it writes to its nodes."""

import json
import re
from dataclasses import dataclass, field

SAMPLE = re.compile(r"Sensor ?\[(.+?)\].* temp\((-?\d+)\)")
MONITOR_LEVEL = re.compile(r"Monitor \[(.+?)\] temp\(.*\) status\(\d+ -> (\d+)\)")
PUT_TO_SLEEP = re.compile(r"deactivate Algo \[(.+?)\]")
SS_LEVEL = re.compile(r"SS \[(.+?)\] temp\(.*\) status\((?:\d+ -> )?(\d+)\)")


class Record:
    """The growing file in which the preloaded library notes log lines and writes in order."""

    def __init__(self, path):
        path.touch()
        self._file = open(path, encoding="utf-8")
        self._unfinished = ""

    def new_events(self):
        """Yields (path, bytes) of each write and (None, text) of each log line since last time."""
        *lines, self._unfinished = (self._unfinished + self._file.read()).split("\n")
        for line in lines:
            event = json.loads(line)
            yield event.get("path"), bytes.fromhex(event["data"])


@dataclass
class Request:
    """Something asked of the daemon through a control file, and how it took it over."""
    what: str
    asked: float
    first_line: str       # the log lines between which the daemon takes it over
    last_line: str
    items_before: list    # of the scenario in force, and of the one to come
    items_after: list
    started: bool = False
    seconds: float = None  # from the request until it was in force
    let_go: list = field(default_factory=list)

    @property
    def running(self):
        return self.started and self.seconds is None

    def follow(self, line, now):
        """Returns true when this log line ends the take-over."""
        if not self.started:
            self.started = self.first_line in line
        elif self.running and self.last_line in line:
            self.seconds = now - self.asked
            return True
        return False

    def keeps(self, device, temperature):
        """Whether the old items and the new ones all along want the device above level 0."""
        return all(
            any(item.sensor in temperature
                and item.least_request(device.name, temperature[item.sensor]) > 0
                for item in items)
            for items in (self.items_before, self.items_after))


class Daemon:
    """Follows the record: what the daemon samples, decides and writes."""

    def __init__(self, board, record):
        self.record = record
        self.last_line = ""
        self.temperature = {}   # of each sensor that it samples, in millidegrees
        self.requests = []
        self._device_of_node = {device.node: device for device in board.devices.values()}
        self._levels = {}       # of each algorithm
        self._news = []
        self._levels_told = {}

    def follow(self, now):
        for path, data in self.record.new_events():
            if path is None:
                self._take_line(data.decode(), now)
            elif path in self._device_of_node:
                self._take_write(self._device_of_node[path], data)

    def news(self):
        """What happened since the last call; the algorithms' moves come last."""
        moves = [f"{name} {self._levels_told.get(name, 0)}->{level}"
                 for name, level in self._levels.items()
                 if level != self._levels_told.get(name, 0)]
        news, self._news, self._levels_told = self._news + moves, [], dict(self._levels)
        return news

    def _take_line(self, line, now):
        self.last_line = line
        if found := SAMPLE.search(line):
            self.temperature[found[1]] = int(found[2])
        elif found := MONITOR_LEVEL.search(line) or SS_LEVEL.search(line):
            self._levels[found[1]] = int(found[2])
        elif found := PUT_TO_SLEEP.search(line):  # with the rest of its scenario, which is no news
            self._levels.pop(found[1], None)
            self._levels_told.pop(found[1], None)
        for request in self.requests:
            if request.follow(line, now):
                self._news.append(f"in force: {request.what}, "
                                  + (", ".join(request.let_go) or "none") + " let go")

    def _take_write(self, device, data):
        before = device.level
        device.follow(data)
        if device.level > 0 or before == 0:
            return
        for request in self.requests:
            if request.running and request.keeps(device, self.temperature):
                request.let_go.append(device.name)

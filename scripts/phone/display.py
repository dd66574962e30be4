"""What the demo prints: one line a second, in colour on a terminal, plain in a pipe."""

import os
import sys

BOLD, DIM, RED, GREEN, YELLOW, CYAN = "1", "2", "31", "32", "33", "36"
HEADING_EVERY = 20

# Heading, width, and from where a temperature is warm and hot.
TEMPERATURES = {
    "case": ("case", 5, 38, 42),
    "skin": ("skin", 5, 38, 42),
    "battery": ("batt", 5, 38, 43),
    "little": ("ltl", 4, 55, 70),
    "big": ("big", 4, 55, 70),
    "gpu": ("gpu", 4, 55, 70),
}

# Heading, width, and what one unit of the number shown is in the node's own unit.
DEVICES = {
    "cpu_big": ("big", 8, 1000),
    "cpu_little": ("ltl", 7, 1000),
    "gpu": ("gpu", 6, 1000),
    "hotplug": ("cpu", 4, 1),
    "charger": ("charge", 7, 1),
    "backlight": ("light", 6, 1),
    "camera": ("cam", 5, 1),
}
COLUMNS = (*TEMPERATURES.values(), *DEVICES.values())


class Display:
    def __init__(self):
        self._on_terminal = sys.stdout.isatty()
        self._coloured = self._on_terminal and "NO_COLOR" not in os.environ
        self._lines = 0
        self._levels = {}

    def say(self, text="", style=""):
        print(self._styled(text.rstrip(" "), style), flush=True)

    def second(self, second, temperatures, devices, news):
        """One line: degrees, `level:value` of each device, and what happened in this second."""
        if self._lines % HEADING_EVERY == 0:
            self._heading()
        self._lines += 1
        cells = [self._temperature(name, temperatures.get(name)) for name in TEMPERATURES]
        cells += [self._device(name, devices[name]) for name in DEVICES]
        self.say(f"{second:3}" + "".join(cells) + "  " + self._cut("; ".join(news)))
        self._levels = {name: devices[name].level for name in DEVICES}

    def _heading(self):
        degrees = sum(width for _, width, *_ in TEMPERATURES.values())
        self.say(f"   {'degrees C':>{degrees}}        level:value of each device", DIM)
        self.say("  s" + "".join(f"{heading:>{width}}" for heading, width, *_ in COLUMNS)
                 + "  what just happened", BOLD)

    def _temperature(self, name, degrees):
        _, width, warm, hot = TEMPERATURES[name]
        if degrees is None:
            return f"{'--':>{width}}"
        style = RED if degrees >= hot else YELLOW if degrees >= warm else GREEN
        return self._styled(f"{degrees:{width}.{1 if width == 5 else 0}f}", style)

    def _device(self, name, device):
        _, width, unit = DEVICES[name]
        text = f"{device.level}:{int(device.value) // unit}"
        style = CYAN if device.level else DIM
        if device.level != self._levels.get(name, 0):
            style += ";" + BOLD
        return " " * (width - len(text)) + self._styled(text, style)

    def _cut(self, text):
        """On a terminal a line stays one line."""
        if not self._on_terminal:
            return text
        used = 3 + sum(width for _, width, *_ in COLUMNS) + 2
        room = max(10, os.get_terminal_size(sys.stdout.fileno()).columns - used)
        return text if len(text) <= room else text[:room - 2] + ".."

    def _styled(self, text, style):
        return f"\033[{style}m{text}\033[0m" if style and self._coloured else text

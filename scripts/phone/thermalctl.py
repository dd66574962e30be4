"""The tool beside the daemon: the demo checks its board and asks for everything through it."""

import subprocess


class Thermalctl:
    def __init__(self, binary):
        self._binary = binary
        self._asking = []   # (what, process)
        self.failures = []  # what it said of a request that came to nothing

    def check(self, environment, configurations):
        """Whether the files of a board are free of errors, and what is said of them."""
        words = ["check", "--env", environment]
        for configuration in configurations:
            words += ["--conf", configuration]
        run = subprocess.run([self._binary, *words], stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return run.returncode == 0, run.stdout.strip()

    def simulate(self, *words):
        """Whether a simulation went well and kept its limits, and what is said of it."""
        run = subprocess.run([self._binary, "simulate", *words], stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return run.returncode == 0, run.stdout.strip()

    def ask(self, what, *words):
        """Begins to ask the daemon for something."""
        self._asking.append((what, subprocess.Popen(
            [self._binary, *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True)))

    @property
    def busy(self):
        return bool(self._asking)

    def news(self):
        """What it has said since the last call of requests that have come to an end."""
        ended = [(what, process) for what, process in self._asking if process.poll() is not None]
        self._asking = [pair for pair in self._asking if pair not in ended]
        return [self._conclude(what, process) for what, process in ended]

    def close(self):
        for _, process in self._asking:
            process.kill()
            process.communicate()

    def _conclude(self, what, process):
        said = process.communicate()[0].strip()
        if process.returncode != 0:
            self.failures.append(f"{what}: {said}")
        return f"thermalctl: {said.removeprefix('thermalctl: ')}"

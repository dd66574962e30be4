"""Asks a running daemon for one configuration after the other."""

import itertools
import time

REQUEST_FILE = "talmor-thermal.dconf"
ANSWER_SECONDS = 30
POLL_NANOSECONDS = 200000  # between two looks of the daemon at its control files


class Swapper:
    """Takes turns between configuration files that lie in the configuration directory."""

    @staticmethod
    def environment(ground):
        """For the daemon: without this each swap takes two seconds."""
        return {"LD_PRELOAD": str(ground.poll_library), "BENCH_POLL": str(POLL_NANOSECONDS)}

    def __init__(self, ground, daemon, names):
        self._box = ground.box
        self._daemon = daemon
        self._names = itertools.cycle(names)
        self._request = ground.box.data_dir / REQUEST_FILE

    def swap(self, times):
        for _ in range(times):
            self._box.write_control(REQUEST_FILE, next(self._names))
            self._await_answer()

    def _await_answer(self):
        end = time.monotonic() + ANSWER_SECONDS
        while self._request.read_text() != "PARSED":
            self._daemon.check()
            if time.monotonic() > end:
                raise TimeoutError(f"no answer to a request in {ANSWER_SECONDS} s")
            time.sleep(POLL_NANOSECONDS / 1e9)

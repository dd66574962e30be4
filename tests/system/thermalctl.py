"""thermalctl as a test runs it: with its output in pipes, or on a terminal."""

import fcntl
import os
import pty
import resource
import select
import signal
import struct
import subprocess
import termios
import time
from typing import NamedTuple

from daemon import LIMIT

# The tool's own time-out where it is not the subject: instrumented programs on a busy machine.
PATIENT = ("--timeout", str(LIMIT))


class Result(NamedTuple):
    status: int
    out: str
    err: str


class Thermalctl:
    def __init__(self, build_dir, emulator=None):
        """`emulator`: the command of qemu that runs programs of another processor."""
        self.command = [*([emulator] if emulator else []), str(build_dir / "thermalctl")]

    def __call__(self, *args, env=None):
        run = subprocess.run(self._command(args), stdin=subprocess.DEVNULL, capture_output=True,
                             text=True, timeout=3 * LIMIT, env=environment(env))
        return Result(run.returncode, run.stdout, run.stderr)

    def start(self, *args):
        """Leaves it running, with its output in pipes, so that it can be interrupted."""
        return subprocess.Popen(self._command(args), stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                env=environment(), preexec_fn=_heed_signals)

    def on_terminal(self, *args, env=None, **options):
        return Terminal(self._command(args), environment(env), **options)

    def _command(self, args):
        return [*self.command, *map(str, args)]


def environment(changes=None):
    """The tests' own, in which no NO_COLOR stands but that of a test."""
    inherited = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
    return {**inherited, "TERM": "xterm", **(changes or {})}


class Terminal:
    """A pseudo-terminal with a program that it belongs to; `text` is what has been shown."""

    def __init__(self, command, env, rows=24, columns=100):
        self.master, slave = pty.openpty()
        self.resize(rows, columns)
        self.before = termios.tcgetattr(slave)
        self.process = subprocess.Popen(command, stdin=slave, stdout=slave, stderr=slave, env=env,
                                        preexec_fn=_own_this_terminal)
        self.slave = slave
        self.text = ""

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        for descriptor in (self.master, self.slave):
            if descriptor is not None:
                os.close(descriptor)

    def resize(self, rows, columns):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def type(self, keys):
        os.write(self.master, keys.encode())

    def wait_for(self, condition):
        """Until `condition(text)` holds."""
        deadline = time.monotonic() + LIMIT
        while not condition(self.text):
            assert time.monotonic() < deadline, self.text
            self._read(0.05)
        return self.text

    def end(self):
        """The exit status, once the program has ended by itself and all it has shown is read."""
        deadline = time.monotonic() + LIMIT
        while self.process.poll() is None:
            assert time.monotonic() < deadline, self.text
            self._read(0.05)
        while self._read(0):
            pass
        return self.process.returncode

    def settings(self):
        return termios.tcgetattr(self.slave)

    def _read(self, seconds):
        if not select.select([self.master], [], [], seconds)[0]:
            return False
        self.text += os.read(self.master, 65536).decode(errors="replace")
        return True


def _own_this_terminal():
    os.setsid()
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))  # SIGQUIT asks for one
    _heed_signals()


def _heed_signals():
    """What ignores some, as nohup and a shell's background do, is passed on to every child."""
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
        signal.signal(number, signal.SIG_DFL)

#!/usr/bin/python3
"""Runs the real daemon against fixtures, in a mount namespace of its own.

    with Sandbox() as box:
        box.env_file.write_text(environment)
        box.conf_file.write_text(configuration)
        box.add_node("/sys/devices/platform/tmu/temp", "45000")
        box.start("build/release/talmor-thermal")
        box.write_node("/sys/devices/platform/tmu/temp", "61000")
        ...

Inside, /vendor, /data and everything below /sys/devices/platform are directories of one temporary
directory on the host, which the caller reads and writes while the daemon runs; all other paths are
those of the host, the temporary directory's own among them. Nothing is mounted on the host.

Works as root, and as an ordinary user through a user namespace in which the caller is root. The
daemon is a direct child of the caller and is killed when the thread that started it ends.
"""

import ctypes
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PLATFORM = "/sys/devices/platform"
CAMERA_DEBUG = PLATFORM + "/150c0000.talmor_is/debug"

# A sensor's text is padded to this width, so that rewriting it never changes the file's length.
NODE_WIDTH = 32

# A disk, unlike a node of the kernel, can hold up for seconds whoever opens or closes a file on it.
_MEMORY = "/dev/shm"


class SandboxError(Exception):
    """The namespace could not be built or the program in it could not be executed."""


class Sandbox:
    """One temporary directory of fixtures, and at most one daemon that lives in it.

    `env_file`, `conf_file`   the two files under /vendor/etc/ (not created)
    `data_dir`, `config_dir`  /data/vendor/thermal/ and its config/ (created, empty)
    `camera_dir`              the camera's debug directory (created, empty)
    `nodes`                   a directory whose path is the same inside and outside
    `process`                 the daemon as a subprocess.Popen, once started
    `stderr_file`             what the daemon wrote to its standard output and standard error
    """

    def __init__(self):
        memory = _MEMORY if os.access(_MEMORY, os.W_OK) else None
        self._temporary = tempfile.TemporaryDirectory(prefix="talmor-thermal-", dir=memory)
        self.base = Path(self._temporary.name)
        self._fixtures = {
            "/vendor": self.base / "vendor",
            "/data": self.base / "data",
            PLATFORM: self.base / "platform",
        }
        self.env_file = self.host_path("/vendor/etc/talmor-thermal.env")
        self.conf_file = self.host_path("/vendor/etc/talmor-thermal.conf")
        self.data_dir = self.host_path("/data/vendor/thermal")
        self.config_dir = self.data_dir / "config"
        self.camera_dir = self.host_path(CAMERA_DEBUG)
        self.nodes = self.base / "nodes"
        self.stderr_file = self.base / "stderr"
        self.process = None
        for directory in (self.env_file.parent, self.config_dir, self.camera_dir, self.nodes):
            directory.mkdir(parents=True)
        (self.base / "root").mkdir()

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def host_path(self, inside):
        """The host's path of a path that the daemon uses."""
        inside = os.fspath(inside)
        for mount_point, directory in self._fixtures.items():
            if inside == mount_point or inside.startswith(mount_point + "/"):
                return directory / inside[len(mount_point) + 1:]
        return Path(inside)

    def add_node(self, inside, text=""):
        """Creates a node below PLATFORM or `nodes`, its directories included; returns `inside`."""
        path = self.host_path(inside)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text and _padded(text))
        return os.fspath(inside)

    def write_node(self, inside, text):
        """Gives a sensor's node a new text that no reader can find half-written or empty."""
        descriptor = os.open(self.host_path(inside), os.O_WRONLY)
        try:
            os.pwrite(descriptor, _padded(text).encode(), 0)
        finally:
            os.close(descriptor)

    def write_control(self, name, text):
        """Replaces a file in `data_dir` at once: a new file, renamed over the old one."""
        replace_file(self.data_dir / name, text)

    def start(self, binary, args=(), env=None, prefix=(), network=False):
        """Starts `binary` inside and returns once it is being executed.

        `env` is added to the environment of the daemon alone. `prefix` is a command that executes
        the words after its own (such as `sh -c 'ip link ...; exec "$@"' sh`). `network` gives the
        daemon an empty network namespace and the /sys that belongs to it.
        """
        assert self.process is None or self.process.poll() is not None, "already running"
        order = {
            "parent": os.getpid(),
            "root": str(self.base / "root"),
            "fixtures": {inside: str(path) for inside, path in self._fixtures.items()},
            "network": network,
            "command": [*prefix, os.path.abspath(binary), *args],
            "env": {**os.environ, **(env or {})},
        }
        status_read, status_write = os.pipe()
        order["status"] = status_write
        with open(self.stderr_file, "ab") as output:
            self.process = subprocess.Popen(
                [sys.executable, "-I", "-S", os.path.abspath(__file__), json.dumps(order)],
                stdin=subprocess.DEVNULL, stdout=output, stderr=output, pass_fds=[status_write])
        os.close(status_write)
        with open(status_read, "rb") as status:
            failure = status.read().decode()  # empty once the command's execution closed the pipe
        if failure:
            self.process.wait()
            raise SandboxError(failure)
        return self.process

    def run(self, command):
        """Runs a command in the running daemon's network; returns its output."""
        return subprocess.run(self.entering("--net") + list(command), check=True,
                              stdout=subprocess.PIPE, text=True).stdout

    def entering(self, *options):
        """What stands before a command that is to run in namespaces of the running daemon; the options are
        nsenter's."""
        enter = ["nsenter", "--target", str(self.process.pid), *options]
        if self._has_own_user_namespace():
            enter += ["--user", "--preserve-credentials"]
        return enter

    def running(self):
        return self.process is not None and self.process.poll() is None

    def wait(self, timeout):
        """The exit status of a daemon that ends by itself."""
        return self.process.wait(timeout)

    def stop(self):
        if self.running():
            self.process.terminate()
        if self.process is not None:
            self.process.wait()

    def close(self):
        self.stop()
        self._temporary.cleanup()

    def stderr(self):
        """What the daemon said there; nothing if it was never started."""
        if not self.stderr_file.exists():
            return ""
        return self.stderr_file.read_text(errors="replace")

    def _has_own_user_namespace(self):
        return os.readlink(f"/proc/{self.process.pid}/ns/user") != os.readlink("/proc/self/ns/user")


def replace_file(path, text):
    """Writes a new file and renames it over `path`: a reader finds the old text or the new."""
    descriptor, name = tempfile.mkstemp(dir=path.parent, prefix="." + path.name)
    with open(descriptor, "w") as new:
        new.write(text)
    os.rename(name, path)


def wait_until(condition, what, timeout=30.0, poll=0.01):
    """Polls `condition` until it gives something true and returns that; TimeoutError otherwise."""
    deadline = time.monotonic() + timeout
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {timeout:g} s for {what}")
        time.sleep(poll)


def _padded(text):
    assert len(text) < NODE_WIDTH, text
    return (text + "\n").ljust(NODE_WIDTH)


# What follows runs in the child, between fork and the execution of the daemon.

_CLONE_NEWNS, _CLONE_NEWUSER, _CLONE_NEWNET = 0x00020000, 0x10000000, 0x40000000
_MS_BIND, _MS_REC, _MS_PRIVATE = 0x1000, 0x4000, 0x40000
_PR_SET_PDEATHSIG = 1


def _enter(order):
    os.set_inheritable(order["status"], False)
    try:
        libc = ctypes.CDLL(None, use_errno=True)
        _unshare(libc, order["network"])
        _build_root(libc, order["root"], order["fixtures"], order["network"])
        directory = os.getcwd()
        os.chroot(order["root"])
        os.chdir(directory)
        _die_with_parent(libc, order["parent"])
        # Python ignores these, and what is ignored stays so in the program that is executed.
        for ignored in (signal.SIGPIPE, signal.SIGXFSZ):
            signal.signal(ignored, signal.SIG_DFL)
        os.execvpe(order["command"][0], order["command"], order["env"])
    except Exception as error:
        os.write(order["status"], f"{type(error).__name__}: {error}".encode())
        os._exit(1)


def _unshare(libc, network):
    spaces = _CLONE_NEWNS | (_CLONE_NEWNET if network else 0)
    uid, gid = os.geteuid(), os.getegid()
    if libc.unshare(spaces) == 0:
        return
    _check(libc.unshare(spaces | _CLONE_NEWUSER), "unshare (are user namespaces allowed here?)")
    Path("/proc/self/setgroups").write_text("deny")
    Path("/proc/self/uid_map").write_text(f"0 {uid} 1")
    Path("/proc/self/gid_map").write_text(f"0 {gid} 1")


def _build_root(libc, root, fixtures, fresh_sys):
    """A root of links to the host's directories, in which missing mount points can be made."""
    def mount(source, target, kind=None, flags=0):
        words = [None if word is None else os.fsencode(word) for word in (source, target, kind)]
        _check(libc.mount(*words, ctypes.c_ulong(flags), None), f"mount {source} on {target}")

    mount(None, "/", flags=_MS_REC | _MS_PRIVATE)
    mount("tmpfs", root, "tmpfs")
    for entry in os.scandir("/"):
        target = os.path.join(root, entry.name)
        if entry.is_symlink():
            os.symlink(os.readlink(entry.path), target)
        elif entry.is_dir() and entry.path not in fixtures:
            os.mkdir(target)
            if entry.path == "/sys" and fresh_sys:
                mount("sysfs", target, "sysfs")
            else:
                mount(entry.path, target, flags=_MS_BIND | _MS_REC)
    for inside, directory in fixtures.items():
        os.makedirs(root + inside, exist_ok=True)
        mount(directory, root + inside, flags=_MS_BIND)


def _die_with_parent(libc, parent):
    _check(libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0), "prctl")
    if os.getppid() != parent:  # it ended before the kernel was told
        os._exit(1)


def _check(result, what):
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}")


if __name__ == "__main__":
    _enter(json.loads(sys.argv[1]))

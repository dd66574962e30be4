"""Where the daemon and the floor program are measured: one sandbox, the same nodes for both.

The nodes are attributes of network interfaces in a private network namespace: real sysfs files,
whose text the kernel makes anew for each read, as it does for a temperature.
"""

import ctypes
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "scripts"))
from sandbox import Sandbox, wait_until  # noqa: E402

# All other files: no disk, and no journal of a file system, takes part in what is measured.
IN_MEMORY = "/dev/shm"

# Decimal numbers that the kernel prints under no lock but that of the open file.
ATTRIBUTES = ("addr_assign_type", "addr_len", "carrier_changes", "carrier_down_count",
              "carrier_up_count", "dev_port", "gro_flush_timeout", "ifindex", "iflink", "link_mode",
              "mtu", "name_assign_type", "napi_defer_hard_irqs", "netdev_group", "tx_queue_len",
              "type")
PAIRS = 16
INTERFACES = [f"{end}{pair}" for pair in range(PAIRS) for end in "ab"]
SYSFS_NODES = [f"/sys/class/net/{interface}/{attribute}"
               for attribute in ATTRIBUTES for interface in INTERFACES]
_SET_UP = (f"for i in $(seq 0 {PAIRS - 1}); do ip link add a$i type veth peer name b$i; done; "
           'exec "$@"')


class Ground:
    """A namespace that outlives the programs which run in it one after the other."""

    def __init__(self, build_dir):
        self.daemon_binary = build_dir / "talmor-thermal"
        self.thermalctl = build_dir / "thermalctl"
        self.floor_binary = build_dir / "bench" / "bench-floor"
        self.micro_binary = build_dir / "bench" / "bench-micro"
        self.heat_binary = build_dir / "bench" / "bench-heat"
        self.poll_library = build_dir / "bench" / "libbench-poll.so"
        tempfile.tempdir = IN_MEMORY
        self.box = Sandbox()
        self.box.start("/usr/bin/sleep", ["infinity"], network=True,
                       prefix=["/bin/sh", "-c", _SET_UP, "sh"])
        self.pid = self.box.process.pid
        last = Path(f"/proc/{self.pid}/root{SYSFS_NODES[-1]}")
        wait_until(lambda: os.path.exists(last), "the network interfaces")

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.box.close()

    def install(self, environment, configuration):
        """Puts both files in place; what an earlier daemon installed goes."""
        for file in self.box.config_dir.iterdir():
            file.unlink()
        self.box.env_file.write_text(environment)
        self.box.conf_file.write_text(configuration)

    def daemon(self, *arguments, **options):
        return self._run([self.daemon_binary, *arguments], **options)

    def control_files(self):
        """The two that the daemon writes at its start, as it sees them."""
        return [f"/data/vendor/thermal/talmor-thermal.{end}" for end in ("scen", "dconf")]

    def floor(self, period, log, nodes, control_files=()):
        """The floor program on these nodes; `log` is "log" or "nolog"."""
        listing = self.box.base / "floor-nodes"
        listing.write_text("".join(f"{node}\n" for node in nodes))
        return self._run([self.floor_binary, str(period), log, listing, *control_files])

    def _run(self, command, env=None, stderr=subprocess.DEVNULL):
        enter = ["nsenter", "--target", str(self.pid), "--mount", "--net", "--root", "--wd"]
        if os.readlink(f"/proc/{self.pid}/ns/user") != os.readlink("/proc/self/ns/user"):
            enter += ["--user", "--preserve-credentials"]
        # Each program of the chain becomes the next: the process is the measured one itself.
        return Program(subprocess.Popen(
            [*enter, "setpriv", "--pdeathsig", "KILL", *command], env={**os.environ, **(env or {})},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=stderr))


class Program:
    """One running program and what the kernel counts of it."""

    def __init__(self, process):
        self.process = process
        self.pid = process.pid

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.process.kill()
        self.process.wait()
        if self.process.stderr:
            self.process.stderr.close()

    def check(self):
        """True while it runs; an error once it has ended."""
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.process.args[-1]} ended: {self.process.returncode}")
        return True

    def processor_time(self):
        """Nanoseconds that its threads have used, in user and in kernel mode."""
        self.check()
        clock = ctypes.c_int()
        failure = ctypes.CDLL(None).clock_getcpuclockid(self.pid, ctypes.byref(clock))
        if failure:
            raise OSError(failure, os.strerror(failure))
        return time.clock_gettime_ns(clock.value)

    def thread_time(self, thread):
        """Nanoseconds that one of its threads has used."""
        return int(Path(f"/proc/{self.pid}/task/{thread}/schedstat").read_text().split()[0])

    def threads(self):
        return sorted(int(thread) for thread in os.listdir(f"/proc/{self.pid}/task"))

    def reads(self, thread):
        """The read calls, `pread` included, of one thread so far."""
        return _number(f"/proc/{self.pid}/task/{thread}/io", "syscr:")

    def wake_ups(self, thread):
        return _number(f"/proc/{self.pid}/task/{thread}/status", "voluntary_ctxt_switches:")

    def resident_bytes(self):
        return 1024 * _number(f"/proc/{self.pid}/status", "VmRSS:")

    def sampler(self, sensors, period):
        """The thread that reads so many sensors, once it does so."""
        def busiest():
            self.check()
            before = {thread: self.reads(thread) for thread in self.threads()}
            time.sleep(1.2 * period / 1000)
            read = {thread: self.reads(thread) - count for thread, count in before.items()}
            best = max(read, key=read.get)
            return best if read[best] >= sensors else None

        # Start-up reads a lot, too, but only once.
        def steady():
            first = busiest()
            return first if first is not None and first == busiest() else None
        return wait_until(steady, "a thread that samples")


def _number(path, key):
    for line in open(path):
        if line.startswith(key):
            return int(line.split()[1])
    raise RuntimeError(f"{path} has no {key}")

"""A Slurm of two nodes on this machine, with a key and ports of its own."""

import os
import shutil
import signal
import socket
import subprocess
import time

from daemon import LIMIT

CONFIGURATION = """\
ClusterName=desk
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={controller}
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool-%n
SlurmctldPidFile={folder}/controller.pid
SlurmdPidFile={folder}/%n.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
ReturnToService=2
SlurmdTimeout=5
NodeName=n[1-2] NodeHostname={host} NodeAddr=127.0.0.1 Port={ports} CPUs=1
PartitionName=all Nodes=n[1-2] Default=YES State=UP
"""


def free_ports(count):
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


def eventually(what):
    """What `what` says as soon as it says anything."""
    end = time.monotonic() + LIMIT
    while not (found := what()):
        assert time.monotonic() < end, "it never came"
        time.sleep(0.2)
    return found


class Cluster:
    def __init__(self, folder, path):
        """`path` is where its jobs look for programs before all else."""
        self.folder = folder
        self.environment = {**os.environ, "SLURM_CONF": str(folder / "slurm.conf"),
                            "PATH": f"{path}:{os.environ['PATH']}"}
        self.started = {}

    def __enter__(self):
        controller, *nodes = free_ports(3)
        (self.folder / "state").mkdir()
        (self.folder / "key").write_bytes(os.urandom(1024))
        (self.folder / "key").chmod(0o400)
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            host=socket.gethostname().split(".")[0], folder=self.folder, controller=controller,
            ports=",".join(map(str, nodes))))
        self._start("munged", "--foreground", "--force", *(
            f"--{option}={self.folder / name}" for option, name in (
                ("key-file", "key"), ("socket", "munge.socket"), ("pid-file", "munge.pid"),
                ("log-file", "munge.log"), ("seed-file", "munge.seed"))))
        eventually((self.folder / "munge.socket").exists)
        self._start("slurmctld", "-D")
        for node in ("n1", "n2"):
            self.start_node(node)
        eventually(lambda: self.run("sinfo", "--noheader", "--format=%T %D") == "idle 2\n")
        return self

    def __exit__(self, *exception):
        subprocess.run(["scancel", "--user=root", "--signal=KILL", "--full"], env=self.environment)
        for process in reversed(self.started.values()):
            process.terminate()
            process.wait()

    def _start(self, *command, name=None):
        log = open(self.folder / f"{name or command[0]}.log", "ab")
        self.started[name or command[0]] = subprocess.Popen(
            [shutil.which(command[0], path=self.environment["PATH"] + ":/usr/sbin"), *command[1:]],
            env=self.environment, cwd=self.folder, stdout=log, stderr=log)
        log.close()

    def start_node(self, node):
        self._start("slurmd", "-D", "-N", node, name=node)

    def kill_node(self, node, processes):
        """All at once, as when a machine loses its power: the node and what runs on it."""
        self.started[node].send_signal(signal.SIGSTOP)
        for process in processes:
            os.kill(process, signal.SIGKILL)
        self.started[node].kill()
        self.started[node].wait()

    def run(self, *command, cwd=None):
        return subprocess.run(command, env=self.environment, cwd=cwd, check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def jobs(self):
        """The state of each that has not ended: by its number, and that of a shard behind it."""
        lines = self.run("squeue", "--array", "--noheader", "--format=%i %T %R").splitlines()
        return {line.split()[0]: line.split(maxsplit=1)[1] for line in lines}

    def hasten(self):
        """What was put back into the queue waits for two minutes by itself."""
        for job, state in self.jobs().items():
            if "BeginTime" in state:
                self.run("scontrol", "update", f"JobId={job}", "StartTime=now")

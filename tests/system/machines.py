"""Other machines, to which ssh leads: this one, with a key, a port and a home of their own."""

import os
import socket
import subprocess
from pathlib import Path

from cluster import eventually, free_ports

SSHD = """\
Port {port}
ListenAddress 127.0.0.1
HostKey {folder}/host
AuthorizedKeysFile {folder}/user.pub
PidFile none
StrictModes no
UsePAM {pam}
SetEnv HOME={home} PATH={path}
ForceCommand cd {home} && eval "$SSH_ORIGINAL_COMMAND"
"""

SSH = """\
Host other-*
  HostName 127.0.0.1
  Port {port}
  User {user}
  IdentityFile {folder}/user
  StrictHostKeyChecking no
  UserKnownHostsFile /dev/null
  LogLevel ERROR
"""


class Machines:
    """`names` are what ssh with `options` knows them by; their programs are those of `programs` first."""

    names = ("other-1", "other-2")

    def __init__(self, folder, programs):
        self.folder, self.home = folder, folder / "home"
        self.home.mkdir()
        self.programs = programs

    def __enter__(self):
        (port,) = free_ports(1)
        # Without PAM nobody is let in whose password is locked, and with it not everybody in a container.
        locked = "\nroot:!" in "\n" + Path("/etc/shadow").read_text()
        fields = {"port": port, "folder": self.folder, "home": self.home, "user": "root", "pam": "yes" if locked else "no",
                  "path": f"{self.programs}:/usr/local/bin:/usr/bin:/bin"}
        for key in "host", "user":
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.folder / key], check=True)
        (self.folder / "sshd_config").write_text(SSHD.format(**fields))
        (self.folder / "ssh_config").write_text(SSH.format(**fields))
        # Its place for what it runs without privileges; the machine's own service would make it.
        Path("/run/sshd").mkdir(mode=0o755, exist_ok=True)
        with open(self.folder / "log", "wb") as log:
            self.server = subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", self.folder / "sshd_config"],
                                           stdout=log, stderr=log, cwd="/")
        eventually(lambda: self.listens(port))
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()

    def listens(self, port):
        assert self.server.poll() is None, (self.folder / "log").read_text()
        with socket.socket() as attempt:
            return attempt.connect_ex(("127.0.0.1", port)) == 0

    def run(self, script, folder):
        """A script of lines, in a folder, that finds the machines in a file of that name."""
        ssh = f"ssh -F {self.folder}/ssh_config"
        (folder / "machines").write_text("".join(f"1/{ssh} {name}\n" for name in self.names))
        environment = {**os.environ, "HOME": str(self.home), "PATH": f"{self.programs}:{os.environ['PATH']}"}
        return subprocess.run(["bash", "-ec", script], cwd=folder, env=environment, capture_output=True, text=True)

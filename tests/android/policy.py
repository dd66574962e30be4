"""The daemon's policy, compiled together with as much of a platform's as it stands on."""

import functools
import re
import subprocess
import tempfile
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
POLICY = REPOSITORY / "android" / "sepolicy"
PLATFORM = Path(__file__).parent / "platform_policy"


@functools.cache
def source(extra=""):
    """The whole policy in the compiler's language, with more statements of the same kind."""
    parts = [PLATFORM / "head.conf", *sorted(POLICY.glob("*.te")), "-",
             PLATFORM / "tail.conf", POLICY / "genfs_contexts"]
    return subprocess.run(["m4", "--fatal-warnings", *map(str, parts)], input=extra, check=True,
                          stdout=subprocess.PIPE, text=True).stdout


def compile_policy(extra="", form=()):
    """The compiler's status and messages, and what it made, if anything; `form`: its options for
    another form than the kernel's."""
    with tempfile.TemporaryDirectory() as directory:
        conf, made = Path(directory) / "policy.conf", Path(directory) / "policy"
        conf.write_text(source(extra))
        done = subprocess.run(["checkpolicy", "-M", *form, "-o", made, conf],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done, made.read_bytes() if made.exists() else None


@functools.cache
def intermediate():
    """The policy in the language that an Android device's own compiler reads."""
    done, made = compile_policy(form=["-C"])
    assert done.returncode == 0, done.stdout
    return made.decode()


def compiles(extra=""):
    return compile_policy(extra)[0].returncode == 0


def violates_an_assertion(extra):
    done, _ = compile_policy(extra)
    assert done.returncode == 0 or "neverallow" in done.stdout, done.stdout
    return done.returncode != 0


def grants(source_type, target, class_, permission):
    return violates_an_assertion(f"neverallow {source_type} {target}:{class_} {permission};\n")


def label(path):
    """The type of a file of the daemon's, or none."""
    if path.startswith("/sys/"):
        return _sysfs_label(path[len("/sys"):])
    return _file_label(path)


def _sysfs_label(path):
    """The longest of the prefixes holds."""
    rules = re.findall(r"^genfscon sysfs (\S+) u:object_r:(\w+):s0$", source(), re.MULTILINE)
    prefixes = [rule for rule in rules if path.startswith(rule[0])]
    return max(prefixes, key=lambda rule: len(rule[0]))[1]


def _file_label(path):
    """Of two lines that match, the later one holds."""
    rules = re.findall(r"^(/\S+)\s+u:object_r:(\w+):s0$", (POLICY / "file_contexts").read_text(),
                       re.MULTILINE)
    matching = [type_ for pattern, type_ in rules if re.fullmatch(pattern, path)]
    return matching[-1] if matching else None

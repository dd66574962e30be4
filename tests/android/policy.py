"""The daemon's policy, compiled together with as much of a platform's as it stands on."""

import functools
import re
import subprocess
import tempfile
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
POLICY = REPOSITORY / "android" / "sepolicy"
PLATFORM = Path(__file__).parent / "platform_policy"
DEVICE = Path(__file__).parent / "device_policy"
PHONE = REPOSITORY / "android" / "phone" / "sepolicy"

# In which order a build takes the files of all directories: the files of one rank by directory, and
# in a directory by name. Android 14 and 15 hold the attributes of one directory back behind the
# types of those before it.
RANKS = {"12": [["attributes"], ["*.te"]], "14": [["attributes", "*.te"]]}


def files(directories, ranks):
    return [path for rank in ranks for directory in directories for pattern in rank
            for path in sorted(directory.glob(pattern))]


@functools.cache
def source(extra="", directories=(POLICY, PHONE, DEVICE), release="12", platform_rules=True):
    """The whole policy in the compiler's language, with more statements of the same kind."""
    parts = [PLATFORM / "head.conf", *files(directories, RANKS[release]), "-",
             *([PLATFORM / "neverallow.te"] if platform_rules else []), PLATFORM / "tail.conf",
             *files(directories, [["genfs_contexts"]])]
    return subprocess.run(["m4", "--fatal-warnings", *map(str, parts)], input=extra, check=True,
                          stdout=subprocess.PIPE, text=True).stdout


def compile_source(text, form=()):
    """The compiler's status and messages, and what it made, if anything; `form`: its options for
    another form than the kernel's."""
    with tempfile.TemporaryDirectory() as directory:
        conf, made = Path(directory) / "policy.conf", Path(directory) / "policy"
        conf.write_text(text)
        done = subprocess.run(["checkpolicy", "-M", *form, "-o", made, conf],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done, made.read_bytes() if made.exists() else None


def compile_policy(extra="", form=()):
    return compile_source(source(extra), form)


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


def statements(keyword, text):
    """Those of one kind, each on one line."""
    return re.findall(rf"^{keyword} .*;$", text, re.MULTILINE)


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

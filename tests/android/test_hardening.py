"""The built daemon: hard to take over, small, and with nothing to offer to others."""

import re
import subprocess
from pathlib import Path

import pytest

import blueprint
from conftest import compilations

REPOSITORY = Path(__file__).resolve().parents[2]
SOURCES = {*(REPOSITORY / "src").rglob("*.cpp")}
MARKS = {"ndk": "aarch64 feature: BTI, PAC", "cross": "aarch64 feature: BTI, PAC",
         "host": "x86 feature: IBT, SHSTK"}


def readelf(file, *options):
    return subprocess.run(["llvm-readelf", "--wide", *options, file], check=True,
                          stdout=subprocess.PIPE, text=True).stdout


class Build:
    def __init__(self, name, directory):
        self.name = name
        self.directory = directory
        self.binary = directory / "talmor-thermal"

    def commands(self):
        """The words of each that compiles some of the daemon's sources; together they do all of them."""
        found = list(compilations(self.directory))
        assert {source for sources, _ in found for source in sources} == SOURCES
        return [words for _, words in found]

    def segments(self):
        """Yields the type and the flags of each program header."""
        return re.findall(r"^  (\w+) +(?:0x[0-9a-f]+ +){5}([RWE ]{3}) ",
                          readelf(self.binary, "--program-headers"), re.MULTILINE)

    def alignments(self):
        """Of every segment that is loaded."""
        return [int(number, 16) for number in re.findall(
            r"^  LOAD .*(0x[0-9a-f]+)$", readelf(self.binary, "--program-headers"), re.MULTILINE)]

    def dynamic(self, tag):
        found = re.search(rf"\({tag}\) +(.*)", readelf(self.binary, "--dynamic-table"))
        return found[1].split() if found else []

    def needed(self):
        table = readelf(self.binary, "--dynamic-table")
        return set(re.findall(r"\(NEEDED\).*\[(.*?)\]", table))

    def symbols(self):
        """Yields the section and the name of each dynamic symbol."""
        return re.findall(r"(?:GLOBAL|WEAK|UNIQUE) +\w+ +(\w+) ([^\s@]+)",
                          readelf(self.binary, "--dyn-symbols"))

    def imports(self):
        return {name for section, name in self.symbols() if section == "UND"}

    def exports(self):
        return {name for section, name in self.symbols() if section != "UND"}

    def copied_objects(self):
        relocations = readelf(self.binary, "--relocations")
        return set(re.findall(r"_COPY +[0-9a-f]+ ([^\s@]+)", relocations))


@pytest.fixture(params=["ndk", "cross", "host"])
def build(request):
    return Build(request.param, request.getfixturevalue(request.param + "_build"))


@pytest.fixture
def ndk(ndk_build):
    return Build("ndk", ndk_build)


def test_the_program_can_be_loaded_anywhere(build):
    assert "DYN" in readelf(build.binary, "--file-header")
    assert "PIE" in build.dynamic("FLAGS_1")


def test_no_memory_can_be_both_written_and_executed(build):
    flags = build.segments()
    assert ("LOAD", "R E") in flags and ("LOAD", "RW ") in flags
    assert [kind for kind, rights in flags if "W" in rights and "E" in rights] == []
    assert ("GNU_STACK", "RW ") in flags


def test_a_kernel_with_large_pages_can_load_the_program(build):
    """Which arm64 alone has: of 16 KiB in Android."""
    least = 4096 if build.name == "host" else 16384
    assert len(build.alignments()) >= 2
    assert [alignment for alignment in build.alignments() if alignment % least] == []


def test_the_tables_of_addresses_are_read_only_before_the_program_starts(build):
    assert "GNU_RELRO" in [kind for kind, _ in build.segments()]
    assert "NOW" in build.dynamic("FLAGS_1")


def test_the_stack_is_guarded(build):
    assert "__stack_chk_fail" in build.imports()


def test_the_stack_is_guarded_in_a_tree_whose_own_flags_take_that_away(tmp_path):
    """As those for armv9-a do; a module's own flags stand behind them."""
    ours = blueprint.modules()["talmor-thermal-defaults"][1]["cflags"]
    armv9a = ["-march=armv8.2-a+dotprod", "-mbranch-protection=standard", "-fno-stack-protector"]
    for flags, guarded in ((ours, True), ([], False)):
        made = tmp_path / "TextReader.o"
        subprocess.run(["clang++-14", "--target=aarch64-linux-gnu", "-std=c++17", "-O2", *armv9a,
                        *flags, "-I", REPOSITORY / "src", "-c", "-o", made,
                        REPOSITORY / "src" / "base" / "TextReader.cpp"], check=True)
        assert ("__stack_chk_fail" in readelf(made, "--symbols")) == guarded


@pytest.mark.parametrize("name", ["cross", "host"])
def test_calls_that_fill_a_buffer_are_checked(name, request):
    """Seen where g++ compiles: Debian's C library has no checked call of this kind for clang."""
    imports = Build(name, request.getfixturevalue(name + "_build")).imports()
    assert "__snprintf_chk" in imports
    assert "snprintf" not in imports


def test_every_source_is_compiled_with_checked_calls(build):
    for words in build.commands():
        assert {"-D_FORTIFY_SOURCE=2", "-O2"} <= set(words)


def test_every_jump_and_return_of_our_code_is_guarded(build):
    """Each object bears the mark; the program loses it where the C library's start code has none."""
    if build.name == "host" and "X86-64" not in readelf(build.binary, "--file-header"):
        pytest.skip("this host is no x86-64")
    for words in build.commands():
        made = build.directory / words[words.index("-o") + 1]
        assert MARKS[build.name] in readelf(made, "--notes"), made


def test_no_symbol_is_exported_but_objects_that_a_library_shares(build):
    assert build.exports() == build.copied_objects()


def test_no_object_is_shared_with_a_library_where_androids_linker_cannot(ndk):
    assert ndk.copied_objects() == set()


def test_the_only_libraries_are_the_languages_and_the_log(ndk):
    assert ndk.needed() <= {"libc++.so.1", "libgcc_s.so.1", "libc.so.6", "ld-linux-aarch64.so.1",
                            "libm.so.6", "liblog.so.0"}


def test_the_stripped_program_is_small(ndk_report):
    size, limit = map(int, re.search(r"(\d+) bytes stripped, of at most (\d+)", ndk_report).groups())
    assert limit == 400 * 1024
    assert 0 < size <= limit

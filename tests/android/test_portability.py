"""The daemon's sources ask for nothing that Android's compiler, C++ library and C library lack."""

import re
import subprocess
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
SOURCES = REPOSITORY / "src"

CXX_HEADERS = set("""
    algorithm array atomic cctype cerrno charconv chrono condition_variable cstddef cstdint cstdio
    cstdlib exception fstream functional istream map memory mutex optional sstream string string_view
    system_error thread typeinfo utility vector
    """.split())
PLATFORM_HEADERS = {"android/log.h", "fcntl.h", "signal.h", "time.h", "unistd.h"}

ISO_C = set("""
    _Exit fclose fflush fopen fread fseek fwrite memchr memcmp memcpy memmove memset snprintf
    strftime strlen strtol strtoul time
    """.split())
POSIX = set("""
    close fseeko ftello localtime_r open pause pread pthread_cond_clockwait pthread_create
    pthread_setspecific read sched_yield signal tzset unlink
    """.split())
LIBLOG = {"__android_log_print", "__android_log_set_minimum_priority"}
# What the compiler calls on its own, and errno and isspace as the headers at hand have them.
RUNTIME = re.compile(r"_Unwind_Resume|__(aarch64|cxa|stack_chk|gxx_personality)_\w+|__dso_handle"
                     r"|__dynamic_cast|__errno_location|__ctype_b_loc|bcmp")


def sources(suffix):
    return sorted(SOURCES.rglob("*" + suffix))


def clang(*arguments, stdin=None):
    return subprocess.run(
        ["clang++-14", "--target=aarch64-linux-gnu", "-std=c++17", "-fsyntax-only", "-nostdinc++",
         "-isystem", "/usr/lib/llvm-14/include/c++/v1", "-isystem", "/usr/include/android",
         "-I", SOURCES, "-Wall", "-Wextra", "-Wshadow", "-Wconversion", "-Wpedantic", "-Wgnu",
         "-Werror", *arguments],
        input=stdin, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def test_no_source_makes_clang_warn_nor_uses_an_extension_of_the_language():
    done = clang(*sources(".cpp"))
    assert (done.returncode, done.stdout) == (0, "")


def test_what_takes_a_library_functions_place_is_declared_as_bionic_declares_it():
    """The rest of the unit tests calls functions, which is the same everywhere."""
    bionic = Path(__file__).parent / "bionic"
    support = REPOSITORY / "tests" / "unit"
    done = clang("-isystem", bionic, "-isystem", "/usr/src/googletest/googletest/include",
                 "-I", support, "-DHEAP_USES_COUNTED=true", "-Wno-gnu",
                 *sorted((support / "support").glob("*.cpp")))
    assert (done.returncode, done.stdout) == (0, "")


def test_a_declaration_that_bionic_does_not_have_would_be_found():
    wrong = "#include <cstdlib>\nextern \"C\" void _Exit(int) noexcept;\n"
    bionic = ("-isystem", Path(__file__).parent / "bionic")
    assert clang("-x", "c++", "-", stdin=wrong).returncode == 0
    assert "does not match previous declaration" in clang(*bionic, "-x", "c++", "-", stdin=wrong).stdout


def test_an_extension_would_be_found():
    for extension in ("int f(int a) { return a ?: 1; }", "int f() { return ({ 1; }); }",
                      "struct { int a; } x = { a: 1 };", "void f(int n) { int a[n]; a[0] = n; }",
                      "#define P(f, ...) g(f, ##__VA_ARGS__)\nvoid g(int);\nvoid h() { P(1); }"):
        done = clang("-x", "c++", "-", stdin=extension + "\n")
        assert done.returncode != 0, extension


def test_every_header_is_one_of_the_languages_or_of_both_c_libraries():
    included = {header for suffix in (".cpp", ".h") for path in sources(suffix)
                for header in re.findall(r"^#include <(.*)>", path.read_text(), re.MULTILINE)}
    assert included - CXX_HEADERS == PLATFORM_HEADERS


def test_every_function_of_the_system_is_one_of_the_standards_or_of_the_log(ndk_build):
    table = subprocess.run(
        ["llvm-nm", "--undefined-only", "--just-symbol-name", ndk_build / "libthermal.a",
         *(ndk_build / "CMakeFiles/talmor-thermal.dir").rglob("*.o")],
        check=True, stdout=subprocess.PIPE, text=True).stdout
    called = {word for word in re.findall(r"^(\w+)$", table, re.MULTILINE)
              if not word.startswith("_Z") and not RUNTIME.fullmatch(word)}
    assert called <= ISO_C | POSIX | LIBLOG
    assert {"open", "strtol", "__android_log_print"} <= called

"""The Blueprint file says the same as CMake's lists, and what it names is there."""

import subprocess
from pathlib import Path

import pytest

import blueprint
from conftest import compilations

REPOSITORY = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="module")
def modules():
    return blueprint.modules()


def properties(modules, name):
    return modules[name][1]


@pytest.mark.parametrize("file", [blueprint.FILE, blueprint.PHONE], ids=lambda file: file.parent.name)
def test_the_formatter_would_change_nothing(file):
    done = subprocess.run(["bpfmt", "-s", "-d", file], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    assert (done.returncode, done.stdout) == (0, "")


def test_each_module_is_of_its_kind(modules):
    assert {name: kind for name, (kind, _) in modules.items()} == {
        "talmor-thermal-defaults": "cc_defaults",
        "libtalmor-thermal": "cc_library_static",
        "talmor-thermal": "cc_binary",
        "talmor-thermal-unit-tests": "cc_test"}


def test_the_sources_are_those_of_the_other_build(modules, ndk_build):
    listed = (properties(modules, "libtalmor-thermal")["srcs"]
              + properties(modules, "talmor-thermal")["srcs"])
    compiled = [source for sources, _ in compilations(ndk_build) for source in sources]
    assert sorted(listed) == sorted(str(source.relative_to(REPOSITORY)) for source in compiled)


def test_the_unit_tests_are_those_of_the_other_build(modules):
    """That one takes every source below the folder; without thermalctl it leaves its own out."""
    there = (path.relative_to(REPOSITORY) for path in (REPOSITORY / "tests" / "unit").rglob("*.cpp"))
    assert properties(modules, "talmor-thermal-unit-tests")["srcs"] == sorted(
        str(path) for path in there if "thermalctl" not in path.parts)


def test_every_file_that_it_names_is_below_its_folder(modules):
    named = [path for _, module in modules.values()
             for key in ("srcs", "init_rc", "export_include_dirs", "local_include_dirs")
             for path in module.get(key, [])]
    named += [module[key] for _, module in modules.values()
              for key in ("src", "version_script") if key in module]
    assert len(named) > 40
    assert [path for path in named
            if ".." in path or not (blueprint.ANDROID / path).exists()] == []


def test_everything_of_the_daemon_goes_to_the_vendor_partition(modules):
    board = blueprint.modules(blueprint.PHONE)
    files = {name: module for name, module in board.items() if module[0] == "prebuilt_etc"}
    for name, (kind, module) in {**modules, **files}.items():
        holder = properties(modules, module["defaults"][0]) if "defaults" in module else module
        assert holder["vendor"] is True, name


def test_the_boards_files_are_installed_with_the_daemon_under_the_names_that_it_reads():
    board = blueprint.modules(blueprint.PHONE)
    installed = properties(board, "talmor-thermal-board")["required"]
    assert sorted(installed) == sorted({"talmor-thermal", *board}
                                       - {"talmor-thermal-board", "soong_namespace"})
    for name in ("talmor-thermal.conf", "talmor-thermal.env"):
        assert properties(board, name)["src"] == name in installed
        assert "sub_dir" not in properties(board, name)
        assert f'"/vendor/etc/{name}"' in (REPOSITORY / "src/base/Names.h").read_text()


def test_the_tests_run_on_the_host_and_on_a_device(modules):
    for name in ("libtalmor-thermal", "talmor-thermal-unit-tests"):
        assert properties(modules, name)["host_supported"] is True


def test_the_language_and_the_warnings_are_those_of_the_other_build(modules):
    defaults = properties(modules, "talmor-thermal-defaults")
    assert (defaults["cpp_std"], defaults["gnu_extensions"]) == ("c++17", False)
    assert defaults["rtti"] is True
    assert defaults["cppflags"] == ["-fexceptions"]
    house = "-Wall -Wextra -Wshadow -Wconversion"
    assert f"target_compile_options(house INTERFACE {house})" in (
        REPOSITORY / "CMakeLists.txt").read_text()
    assert set(house.split()) < set(defaults["cflags"])

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))
from daemon import Daemon  # noqa: E402
from thermalctl import Thermalctl  # noqa: E402

REPOSITORY = Path(__file__).resolve().parents[2]


def pytest_addoption(parser):
    parser.addoption("--build-dir", default=str(REPOSITORY / "build" / "release"),
                     help="where the daemon and the capture library have been built")
    parser.addoption("--emulator", help="what runs programs of another processor: qemu-aarch64")


def build_name(config):
    return Path(config.getoption("--build-dir")).name


def pytest_ignore_collect(collection_path, config):
    """thermalctl runs on a workstation: the presets that watch the daemon leave it out, or to its
    unit tests. The parsers have no threads, and their unit tests run on every processor."""
    tool, parsers = ("test_thermalctl_", "test_documents"), ("test_configuration", "test_environment")
    without = {"asan": tool, "coverage": tool,
               "tsan": (*tool, *parsers), "aarch64": (*tool, *parsers)}
    left_out = collection_path.name.startswith(without.get(build_name(config), ()))
    return True if left_out else None


@pytest.hookimpl(tryfirst=True)
def pytest_collection_modifyitems(config, items):
    """One browser serves all tests that look at a page. The page is the same in every build, and
    only the build as released keeps the pace of a simulated daemon. What takes a minute by itself
    comes first."""
    long = [item for item in items if {"browser", "ahead_of_others", "cluster"} & set(item.fixturenames)]
    for item in long:
        if "browser" in item.fixturenames:
            item.add_marker(pytest.mark.xdist_group("browser"))
        if build_name(config) != "release":
            item.add_marker(pytest.mark.skip(reason="only where the build is named release"))
    items.sort(key=lambda item: item not in long)


@pytest.fixture(scope="session")
def build_dir(request):
    return Path(request.config.getoption("--build-dir")).resolve()


@pytest.fixture
def new_daemon(build_dir, request):
    """Makes daemons, each in a sandbox of its own, and checks at the end what must hold for all."""
    daemons = []

    def make():
        daemons.append(Daemon(build_dir, request.config.getoption("--emulator")))
        return daemons[-1]

    yield make
    for daemon in daemons:
        daemon.close()


@pytest.fixture
def daemon(new_daemon):
    return new_daemon()


@pytest.fixture
def thermalctl(build_dir, request):
    return Thermalctl(build_dir, request.config.getoption("--emulator"))


@pytest.fixture
def simulate(thermalctl):
    """Runs the command; `status` is what it must end with."""
    def run(*arguments, status=0):
        result = thermalctl("simulate", *arguments)
        assert result.status == status, result.err
        return result
    return run

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

"""Each folder of sources is a room on a floor of README.md's tables, and includes only what stands on
lower floors. The daemon includes nothing of the tools."""

import re
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
README = (REPOSITORY / "README.md").read_text()
TABLES = dict(re.findall(r"^### The rooms of `([^`]+)`$(.*?)(?=^#|\Z)", README, re.M | re.S))


def floors_of(table):
    return {room: int(floor) for floor, room in re.findall(r"^\| (\d+) \| `([^`]+)` \|", table, re.M)}


def sources(root):
    return [path for path in sorted(root.rglob("*")) if path.suffix in (".h", ".cpp")]


def includes(path):
    return re.findall(r'^#include "([^"]+)"', path.read_text(), re.M)


def steps_up(root, floors):
    """Every include that does not lead to a lower floor, as FILE: HEADER."""
    wrong = []
    for path in sources(root):
        room = path.parent.relative_to(root).as_posix()
        for header in includes(path):
            other = Path(header).parent.as_posix()
            if not (root / header).exists() or other == room:
                continue
            # What stands in no room, such as main.cpp, is the roof.
            if other not in floors or room in floors and floors[other] >= floors[room]:
                wrong.append(f"{path.relative_to(root)}: {header}")
    return wrong


@pytest.mark.parametrize("place", TABLES)
def test_every_folder_is_a_room_of_the_table(place):
    root = REPOSITORY / place
    rooms = {path.parent.relative_to(root).as_posix() for path in sources(root)} - {"."}
    assert rooms == floors_of(TABLES[place]).keys()


@pytest.mark.parametrize("place", TABLES)
def test_no_room_includes_one_beside_or_above_it(place):
    assert steps_up(REPOSITORY / place, floors_of(TABLES[place])) == []


def test_a_step_up_is_found(tmp_path):
    for name, text in {"low/A.h": '#include "high/B.h"\n', "high/B.h": '#include "low/A.h"\n',
                       "beside/C.h": '#include "high/B.h"\n', "main.cpp": '#include "high/B.h"\n',
                       "high/D.h": '#include "unknown/E.h"\n', "unknown/E.h": ""}.items():
        (tmp_path / name).parent.mkdir(exist_ok=True)
        (tmp_path / name).write_text(text)
    assert steps_up(tmp_path, {"low": 1, "high": 2, "beside": 2}) == [
        "beside/C.h: high/B.h", "high/D.h: unknown/E.h", "low/A.h: high/B.h"]


def test_daemon_and_tool_have_their_tables():
    assert TABLES.keys() == {"src", "tools/thermalctl"}


def test_the_daemon_includes_nothing_of_the_tools():
    src = REPOSITORY / "src"
    foreign = [f"{path.relative_to(src)}: {header}" for path in sources(src)
               for header in includes(path) if not (src / header).exists()]
    assert foreign == []

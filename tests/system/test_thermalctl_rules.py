"""The examples of docs/rules.md: the rule tells of the one, once, and none tells of the other."""

import json
import re
import subprocess
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PAGE = (REPOSITORY / "docs" / "rules.md").read_text()


def fences(text):
    return re.findall(r"^```text\n(.*?)^```$", text, re.M | re.S)


BOARD, CONFIGURATION = fences(PAGE)[:2]
EXAMPLES = {name: fences(text) for name, text in re.findall(r"^### (\S+)\n(.*?)(?=^##|\Z)", PAGE, re.M | re.S)
            if fences(text)}


def blocks(text):
    return [block.strip("\n") + "\n" for block in re.split(r"\n\s*\n", text) if block.strip()]


def name_of(block):
    return re.search(r"^\[.*\]", block, re.M)[0]


def merged(text, additions):
    """The blocks of a file, each replaced by the addition of its name; the others come behind."""
    new = {name_of(block): block for block in additions}
    old = [new.pop(name_of(block), block) if not block.startswith("SCEN") or name_of(block) not in new
           else "SCEN Default\n" + new.pop(name_of(block)) for block in blocks(text)]
    return "\n".join(old + list(new.values()))


def with_lines(text, lines):
    """The first item's lines, each replaced by the one of its key."""
    first, *others = blocks(text)
    for line in lines:
        key = line.split()[0]
        replaced = re.sub(rf"^{key} .*$", line, first, flags=re.M)
        first = replaced if replaced != first or f"\n{line}\n" in first else first + line + "\n"
    return "\n".join([first, *others])


def files_of(example):
    own, *others = re.split(r"^== (\S+)\n", example, flags=re.M)
    files = {"board.env": BOARD, "day.conf": CONFIGURATION, **dict(zip(others[::2], others[1::2]))}
    additions = blocks(own)
    if own.strip() and not own.startswith(("[", "SCEN")):
        files["day.conf"] = with_lines(CONFIGURATION, own.splitlines())
        return files
    # A scenario's items follow its line.
    scenario = own.find("SCEN")
    if scenario >= 0:
        files["day.conf"] = CONFIGURATION + "\n" + own[scenario:]
        additions = blocks(own[:scenario])
    sections = [block for block in additions if "\ntype " in block]
    items = [block for block in additions if "\nalgo_type " in block]
    files["board.env"] = merged(BOARD, sections)
    files["day.conf"] = merged(files["day.conf"], items) if items else files["day.conf"]
    return files


def findings(thermalctl, folder, example):
    files = files_of(example)
    for name, text in files.items():
        (folder / name).write_text(text)
    configurations = [folder / name for name in files if name.endswith(".conf")]
    run = subprocess.run([thermalctl, "check", "--env", folder / "board.env", "--conf", *configurations,
                          "--format", "json"], capture_output=True, text=True)
    assert run.stderr == ""
    return json.loads(run.stdout)["findings"]


def test_the_board_of_the_examples_is_without_a_finding(build_dir, tmp_path):
    assert findings(build_dir / "thermalctl", tmp_path, "") == []


def test_the_page_has_the_examples_of_many_rules():
    assert len(EXAMPLES) >= 25


@pytest.mark.parametrize("rule", EXAMPLES)
def test_the_rule_tells_of_its_example_alone(build_dir, tmp_path, rule):
    bad, good = EXAMPLES[rule]
    tool = build_dir / "thermalctl"
    (tmp_path / "bad").mkdir()
    (tmp_path / "good").mkdir()
    assert [each["rule"] for each in findings(tool, tmp_path / "bad", bad)] == [rule]
    assert findings(tool, tmp_path / "good", good) == []

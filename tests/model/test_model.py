import re

import pytest

import quotes
from search import MODELS, search

HANDSHAKE, WORKER, LIST = "handshake.pml", "worker.pml", "itemlist.pml"
FILES = sorted(MODELS.glob("*.pml"))

SCENES = {
    "handshake: 2 threads, 2 changes": (HANDSHAKE, "THREADS=2 CHANGES=2 SPURIOUS=2"),
    "handshake: 2 threads, 3 changes": (HANDSHAKE, "THREADS=2 CHANGES=3 SPURIOUS=2"),
    "handshake: 3 threads, 2 changes": (HANDSHAKE, "THREADS=3 CHANGES=2 SPURIOUS=1"),
    "handshake: 3 threads, 3 changes": (HANDSHAKE, "THREADS=3 CHANGES=3 SPURIOUS=1"),
    "handshake: 2 threads, 1 virtual, 2 changes":
        (HANDSHAKE, "THREADS=2 CHANGES=2 SPURIOUS=1 VIRTUAL=2"),
    "handshake: 2 threads, 1 virtual, 3 changes":
        (HANDSHAKE, "THREADS=2 CHANGES=3 SPURIOUS=0 VIRTUAL=1"),
    "handshake: 3 threads, 1 virtual, 1 change":
        (HANDSHAKE, "THREADS=3 CHANGES=1 SPURIOUS=0 VIRTUAL=1"),
    "worker: monitor of 2 levels, stopped": (WORKER, "MONITOR LEVELS=2 SPURIOUS=2"),
    "worker: monitor, goes on with another": (WORKER, "MONITOR LEVELS=1 STAYS SPURIOUS=1"),
    "worker: monitor of 2 levels, woken and freed in one swap":
        (WORKER, "MONITOR LEVELS=2 MARKED SPURIOUS=2"),
    "worker: monitor of 2 levels, its scenario left and entered":
        (WORKER, "MONITOR LEVELS=2 AGAIN SPURIOUS=1"),
    "worker: SS, stopped": (WORKER, "SS SPURIOUS=2"),
    "worker: SS, goes on with another": (WORKER, "SS STAYS SPURIOUS=1"),
    "worker: SS, woken and freed in one swap": (WORKER, "SS MARKED SPURIOUS=2"),
    "worker: SS, its scenario left and entered": (WORKER, "SS AGAIN SPURIOUS=1"),
    "list: changed by another thread": (LIST, "APPENDS=4 REPLACES=3"),
    "list: changed by the walking thread too": (LIST, "APPENDS=4 REPLACES=3 OWN_REPLACE"),
}

# Those in which a faster search makes up for a slower compiler.
LARGE = {
    "handshake: 3 threads, 2 changes",
    "handshake: 3 threads, 3 changes",
    "handshake: 2 threads, 1 virtual, 2 changes",
    "handshake: 3 threads, 1 virtual, 1 change",
    "worker: monitor, goes on with another",
    "worker: SS, goes on with another",
}

CHANGE = (HANDSHAKE, "THREADS=2 CHANGES=2 SPURIOUS=0")
SPURIOUS_CHANGE = (HANDSHAKE, "THREADS=2 CHANGES=2 SPURIOUS=1")
STOPPED = (WORKER, "MONITOR LEVELS=1 SPURIOUS=0")
GOES_ON = (WORKER, "MONITOR LEVELS=1 STAYS SPURIOUS=0")
MARKED = (WORKER, "MONITOR LEVELS=1 MARKED SPURIOUS=0")
AGAIN = (WORKER, "MONITOR LEVELS=1 AGAIN SPURIOUS=0")
SS_GOES_ON = (WORKER, "SS STAYS SPURIOUS=0")
LISTED = (LIST, "APPENDS=4 REPLACES=3")

# The mistake, the scene that shows it, and what must never be but then is.
MISTAKES = {
    "RELEASED_BEFORE_THE_REQUEST_IS_DOWN": (CHANGE, "checkInWithoutALeader"),
    "REQUEST_DOWN_AFTER_NOTIFICATION": (CHANGE, "checkInWithoutALeader"),
    "NO_AWAIT_WAIT_0": (CHANGE, "nobodyWillEverMove"),
    "NO_AWAIT_WAIT_1": (CHANGE, "nobodyWillEverMove"),
    "CHECK_IN_WITHOUT_LOOP_MUTEX": (CHANGE, "nobodyWillEverMove"),
    "NOTIFIED_BEFORE_LETTING_GO_0": (CHANGE, "nobodyWillEverMove"),
    "NOTIFIED_BEFORE_LETTING_GO_1": (CHANGE, "nobodyWillEverMove"),
    "COUNTED_AFTER_LETTING_GO": (CHANGE, "checkInWithoutALeader"),
    "REQUESTED_BEFORE_COUNTED": (CHANGE, "checkInWithoutALeader"),
    "NAME_AFTER_LETTING_GO": (CHANGE, "staleNameTaken"),
    "HOLD_NOT_RAISED_AGAIN": (CHANGE, "oldScenarioLeftTooEarly"),
    "IF_AT_SENSOR_BARRIER": (SPURIOUS_CHANGE, "staleNameTaken"),
    "IF_AT_SCENARIO_BARRIER": (SPURIOUS_CHANGE, "barrierPassedTooEarly"),
    "PLAIN_LOCK_IN_ACTIVATE": (GOES_ON, "callerHeldUpThroughAPeriod"),
    "NO_PROOF_OF_THE_WAIT": (GOES_ON, "asleepOverAnItem"),
    "NOTIFIED_BEFORE_THE_PROOF": (GOES_ON, "asleepOverAnItem"),
    "FLAG_RAISED_AFTER_THE_COUNT": (GOES_ON, "asleepOverAnItem"),
    "TWO_FALL_ASLEEP_AT_ONCE": (GOES_ON, "countTooLow"),
    "WITHDRAWN_BEFORE_ASLEEP": (SS_GOES_ON, "freedWithItsRequest"),
    "NO_WITHDRAWAL_AFTER_DECISION": (GOES_ON, "freedWithItsRequest"),
    "LEVEL_STORED_BEFORE_ITS_POST": (GOES_ON, "freedWithItsRequest"),
    "TAKEN_BACK_FOR_GOOD": (AGAIN, "freedWithItsRequest"),
    "RETIRED_NOT_DEACTIVATED": (MARKED, "freedWithItsRequest"),
    "FREED_BEFORE_TAKEN_OFF": (STOPPED, "freedItemTouched"),
    "NOT_TOLD_TO_STOP": (STOPPED, "notStopped"),
    "STOPPED_WITHOUT_ACTIVATION": (STOPPED, "nobodyWillEverMove"),
    "FREED_WITHOUT_JOIN": (STOPPED, "freedBeforeItsEnd"),
    "NO_AWAIT_WALK_END": (LISTED, "freedBlockTouched"),
    "AWAITED_BEFORE_PUBLISHING": (LISTED, "freedBlockTouched"),
    "AWAITED_WITHOUT_A_WALK": (LISTED, "nobodyWillEverMove"),
    "SIZE_BEFORE_SLOT": (LISTED, "emptySlotVisited"),
    "FREED_BEFORE_REPLACED": (LISTED, "freedItemVisited"),
    "LOOKED_BEFORE_THE_WALK_IS_COUNTED": (LISTED, "freedBlockTouched"),
    "WALK_OVER_BEFORE_ITS_VISITS": (LISTED, "freedBlockTouched"),
}


@pytest.mark.parametrize("scene", SCENES)
def test_finds_nothing_in_the_code_as_it_is(scene, tmp_path, record_property):
    model, defines = SCENES[scene]
    result = search(scene, model, defines.split(), tmp_path,
                    optimise="-O1" if scene in LARGE else "-O0")
    record_property("search", result.row())
    assert result.complete and result.errors == 0, result.output


@pytest.mark.parametrize("mistake", MISTAKES)
def test_finds_the_mistake(mistake, tmp_path, record_property):
    (model, defines), wrong = MISTAKES[mistake]
    result = search(mistake, model, [*defines.split(), mistake], tmp_path)
    record_property("search", result.row())
    assert result.finding == wrong, result.output


def test_tries_every_mistake_that_a_model_can_make():
    conditions = " ".join(line for file in FILES for line in file.read_text().splitlines()
                          if line.startswith("#if"))
    options = {define.split("=")[0] for _, defines in SCENES.values() for define in defines.split()}
    assert set(re.findall(r"\b[A-Z][A-Z_0-9]+\b", conditions)) - options == set(MISTAKES)


def test_a_search_that_is_cut_short_is_no_result(tmp_path):
    model, defines = SCENES["handshake: 2 threads, 2 changes"]
    assert not search("", model, defines.split(), tmp_path, depth=100).complete


QUOTED = [(file, function) for file in FILES for function in quotes.quoted_functions(file)]


@pytest.mark.parametrize("function", [f for _, f in QUOTED],
                         ids=[f"{file.stem} {f}" for file, f in QUOTED])
def test_the_code_says_what_the_model_quotes_in_that_order(function):
    assert function.quotes
    code = (quotes.REPOSITORY / function.file).read_text()
    assert quotes.missing(function, code) == []


def test_a_statement_that_is_gone_or_has_moved_is_noticed():
    release = next(f for _, f in QUOTED if "::release(" in f.signature)
    code = (quotes.REPOSITORY / release.file).read_text()
    down, free = "worker.scenChangeRequested = false;", "worker.holdForScenThread = false;"
    begin = code.index("::release(")
    swapped = code[:begin] + code[begin:].replace(down, "@").replace(free, down).replace("@", free)
    assert quotes.missing(release, swapped) == [free]
    assert quotes.missing(release, code[:begin] + code[begin:].replace(down, "")) == [down]


@pytest.mark.parametrize("file", FILES, ids=lambda file: file.stem)
def test_every_step_of_a_quoted_function_says_what_it_stands_for(file):
    assert quotes.unquoted_steps(file, MISTAKES) == []

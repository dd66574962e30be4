"""SS: one device level for each whole degree, the stuck rule, the floor and the start level."""

import re

import pytest

from daemon import activate_line, monitor_line, ss_line, ss_stop_line

TABLE = " ".join(str(level) for level in range(20))


@pytest.fixture
def board(daemon):
    """A cold sensor "cpu", a device "gpu" of levels 0 to 19, and a second sensor."""
    daemon.sensor("cpu", 20000)
    daemon.device("gpu", TABLE)
    # Its decisions, as frequent as those of the SS, tell that some of those have been made.
    daemon.sensor("clock", 90000)
    daemon.monitor("clock", sensor="clock", actions="nothing")
    return daemon


def step(board, temperature, line):
    mark = board.mark()
    board.set("cpu", temperature)
    board.wait_log(line, since=mark)


def is_carried_out(board, others):
    """Whether what the SS has logged last stands in the node, too: it is written after that."""
    requests = [int(re.search(r"(\d+)\)$", line)[1]) for line in board.logs(ss_line("step"))]
    written = [int(text) for text in board.writes("gpu")]
    return [0, *written][-1] == max([0, *requests][-1], others)


def stays(board, temperature, others=0):
    """Some decisions at this temperature log nothing and write nothing.

    `others`: the level that others ask of the device.
    """
    board.set("cpu", temperature)
    board.wait_samples("cpu", 2)
    board.wait(lambda: is_carried_out(board, others), "the last request to be written")
    mark = board.mark()
    board.wait_decisions("clock", 8)
    assert board.logs(ss_line("step"), mark) == []
    assert board.writes("gpu", mark) == []


@pytest.mark.parametrize("temperature, start_level, request_", [
    (40000, 1, 1), (40999, 1, 1), (41000, 1, 2), (42500, 1, 3), (42500, 0, 2), (42500, 4, 6),
    (40000, 5, 5), (40000, 0, 0),
])
def test_the_first_step_counts_the_degrees_above_the_set_point(board, temperature, start_level,
                                                              request_):
    board.ss("step", start_level=start_level)
    board.start()
    step(board, temperature, ss_line("step", 0, temperature, request_))
    board.wait_writes("gpu", [str(request_)] if request_ else [])
    stays(board, temperature)


def test_each_degree_is_one_level_up_and_down(board):
    board.ss("step", start_level=1)
    board.start()
    step(board, 42500, ss_line("step", 0, 42500, 3))
    step(board, 43999, ss_line("step", 42500, 43999, 4))
    stays(board, 43000)
    step(board, 45000, ss_line("step", 43000, 45000, 6))
    step(board, 43000, ss_line("step", 45000, 43000, 4))
    step(board, 49000, ss_line("step", 43000, 49000, 10))
    board.wait_writes("gpu", ["3", "4", "6", "4", "10"])


def test_quotients_below_zero_are_rounded_toward_zero(board):
    board.ss("step", set_point=-1000, set_point_clr=-50000, start_level=1)
    board.set("cpu", -60000)
    board.start()
    step(board, -500, ss_line("step", 0, -500, 2))
    step(board, -1500, ss_line("step", -500, -1500, 1))
    stays(board, -1001)
    step(board, 999, ss_line("step", -1001, 999, 2))


def test_it_stops_below_the_clearing_point_and_releases_its_device(board):
    board.ss("step", start_level=1)
    board.start()
    step(board, 42000, ss_line("step", 0, 42000, 3))
    step(board, 36000, ss_line("step", 42000, 36000, 0))
    stays(board, 35000)
    mark = board.mark()
    board.set("cpu", 34999)
    board.wait_log(ss_stop_line("step", 35000, 34999, 0), since=mark)
    stays(board, 34999)
    board.wait_writes("gpu", ["3", "0"])


def test_it_stops_from_any_level_at_once(board):
    board.ss("step", start_level=1)
    board.start()
    step(board, 42000, ss_line("step", 0, 42000, 3))
    step(board, 20000, ss_stop_line("step", 42000, 20000, 3))
    board.wait_writes("gpu", ["3", "0"])


def test_it_starts_anew_after_a_stop_and_remembers_the_last_temperature(board):
    board.ss("step", start_level=1)
    board.start()
    step(board, 42000, ss_line("step", 0, 42000, 3))
    step(board, 20000, ss_stop_line("step", 42000, 20000, 3))
    step(board, 41000, ss_line("step", 42000, 41000, 2))
    board.wait_log(activate_line("cpu", "step"), count=2)
    board.wait_writes("gpu", ["3", "0", "2"])


def test_reaching_step_0_does_not_put_it_to_sleep(board):
    board.ss("step", start_level=2)
    board.start()
    step(board, 41000, ss_line("step", 0, 41000, 3))
    step(board, 38000, ss_line("step", 41000, 38000, 1))
    stays(board, 39999)
    # From step 0 on, the degrees above the set point count again.
    step(board, 42000, ss_line("step", 39999, 42000, 4))
    assert len(board.logs(activate_line("cpu", "step"))) == 1


def test_stepping_back_to_0_without_a_start_level_asks_for_the_last_entry(board):
    board.ss("step")
    board.start()
    step(board, 42000, ss_line("step", 0, 42000, 2))
    step(board, 39000, ss_line("step", 42000, 39000, 19))
    board.wait_writes("gpu", ["2", "19"])


def test_the_floor_caps_the_request(board):
    board.ss("step", start_level=1, device_perf_floor=5)
    board.start()
    step(board, 43000, ss_line("step", 0, 43000, 4))
    step(board, 44000, ss_line("step", 43000, 44000, 5))
    step(board, 47000, ss_line("step", 44000, 47000, 5))
    step(board, 45000, ss_line("step", 47000, 45000, 5))
    step(board, 43000, ss_line("step", 45000, 43000, 4))
    board.wait_writes("gpu", ["4", "5", "4"])


def test_beyond_the_table_the_last_entry_is_asked_for(board):
    board.ss("step", start_level=1)
    board.start()
    step(board, 58000, ss_line("step", 0, 58000, 19))
    step(board, 90000, ss_line("step", 58000, 90000, 19))
    step(board, 57000, ss_line("step", 90000, 57000, 18))
    board.wait_writes("gpu", ["19", "18"])


def test_a_negative_start_level_counts_from_below_and_wraps_to_the_last_entry(board):
    board.ss("step", start_level=-1)
    board.start()
    step(board, 40000, ss_line("step", 0, 40000, 19))
    step(board, 43000, ss_line("step", 40000, 43000, 2))


def test_a_lowactive_ss_steps_as_it_gets_colder(board):
    board.ss("step", set_point=10000, set_point_clr=15000, start_level=1, lowactive="true")
    board.start()
    step(board, 8000, ss_line("step", 0, -8000, 3))
    step(board, 6500, ss_line("step", -8000, -6500, 5))
    stays(board, 6000)
    step(board, 15000, ss_line("step", -6000, -15000, 0))
    step(board, 15001, ss_stop_line("step", -15000, -15001, 0))
    board.wait_writes("gpu", ["3", "5", "0"])


def test_an_empty_level_table_asks_for_level_minus_1_and_says_so(board):
    board.section("bare", "charger", node_path="@/bare")
    board.ss("step", device="bare", start_level=1)
    board.start()
    step(board, 40000, ss_line("step", 0, 40000, -1))
    board.wait_log("[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty")


# The stuck rule.

def steps_of(board, count):
    board.wait_log_start(ss_line("step"), count)
    return board.log_events(ss_line("step"))[:count]


def test_a_temperature_that_stays_adds_one_level_after_the_trigger(board):
    board.ss("step", sampling=100, start_level=1, time_tick_trigger=3)
    board.set("cpu", 42000)
    board.start()
    events = steps_of(board, 7)
    assert [event.text for event in events[:4]] == [
        ss_line("step", 0, 42000, 3), ss_line("step", 42000, 42000, 4),
        ss_line("step", 42000, 42000, 5), ss_line("step", 42000, 42000, 6)]
    # The third decision in a row, and a level change begins a new row.
    gaps = [after.time - before.time for before, after in zip(events, events[1:])]
    # A late record lengthens one gap and shortens the next: not below on average, not above at best.
    assert 0.3 * 0.99 <= sum(gaps) / len(gaps)
    assert min(gaps) <= 0.4 * 0.99
    assert board.writes("gpu")[:4] == ["3", "4", "5", "6"]


def test_a_trigger_of_1_adds_a_level_every_time(board):
    board.ss("step", start_level=1, time_tick_trigger=1)
    board.set("cpu", 40000)
    board.start()
    assert [event.text for event in steps_of(board, 3)] == [
        ss_line("step", 0, 40000, 1), ss_line("step", 40000, 40000, 2),
        ss_line("step", 40000, 40000, 3)]


def test_the_stuck_rule_winds_up_behind_the_floor(board):
    board.ss("step", start_level=1, time_tick_trigger=1, device_perf_floor=2)
    board.set("cpu", 40000)
    board.start()
    lines = [event.text for event in steps_of(board, 12)]
    assert lines == [ss_line("step", 0, 40000, 1)] + [ss_line("step", 40000, 40000, 2)] * 11
    # All those hidden steps must be taken back before the device gets any better.
    step(board, 39000, ss_line("step", 40000, 39000, 2))
    board.wait_writes("gpu", ["1", "2"])


def test_without_a_trigger_a_temperature_that_stays_changes_nothing(board):
    board.ss("step", start_level=1, time_tick_trigger=0)
    board.start()
    step(board, 42000, ss_line("step", 0, 42000, 3))
    stays(board, 42000)
    stays(board, 42999)


def test_a_device_beyond_the_floor_does_not_count_as_stuck(board):
    board.sensor("skin", 60000)
    board.monitor("skin", sensor="skin", action_info="8")
    board.ss("step", start_level=1, time_tick_trigger=2, device_perf_floor=7)
    board.start()
    board.wait_writes("gpu", ["8"])
    step(board, 42000, ss_line("step", 0, 42000, 3))
    stays(board, 42000, others=8)
    # With the device at its floor it does, and more often than once in the time it was watched.
    board.set("skin", 20000)
    board.wait_log(monitor_line("skin", 20000, 1, 0))
    board.wait_log(ss_line("step", 42000, 42000, 4))

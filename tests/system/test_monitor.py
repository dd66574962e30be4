"""Monitors: levels by thresholds, hysteresis, and what they ask of their devices."""

import pytest

from daemon import FAST, activate_line, monitor_line, sample_line

LEVELS = {"thresholds": "50000 60000 70000", "thresholds_clr": "45000 55000 65000",
          "actions": "gpu gpu gpu", "action_info": "1 2 3"}


@pytest.fixture
def board(daemon):
    daemon.sensor("cpu", 20000)
    daemon.device("gpu")
    daemon.device("lcd")
    return daemon


def follow(board, steps):
    """Sets one temperature after the other; each must lead from one level to the next."""
    for temperature, old, new in steps:
        mark = board.mark()
        board.set("cpu", temperature)
        board.wait_log(monitor_line("hot", temperature, old, new), since=mark)
        if new:  # and there it stays
            board.wait_log(monitor_line("hot", temperature, new, new), count=2, since=mark)


@pytest.mark.parametrize("steps", [
    pytest.param([(50000, 0, 1)], id="exactly-at-the-first"),
    pytest.param([(59999, 0, 1)], id="one-below-the-second"),
    pytest.param([(60000, 0, 2)], id="jumps-over-level-1"),
    pytest.param([(99000, 0, 3)], id="jumps-to-the-top"),
    pytest.param([(50000, 0, 1), (60000, 1, 2), (70000, 2, 3), (120000, 3, 3)],
                 id="up-one-by-one-and-no-further"),
    pytest.param([(50000, 0, 1), (70000, 1, 3)], id="up-by-two"),
    pytest.param([(60000, 0, 2), (56000, 2, 2), (55000, 2, 2)], id="holds-down-to-the-clearing"),
    pytest.param([(60000, 0, 2), (54999, 2, 1), (45000, 1, 1), (44999, 1, 0)],
                 id="down-one-by-one"),
    pytest.param([(70000, 0, 3), (54999, 3, 1)], id="down-by-two"),
    pytest.param([(60000, 0, 2), (40000, 2, 0)], id="down-to-0-at-once"),
    pytest.param([(60000, 0, 2), (54999, 2, 1), (59999, 1, 1), (60000, 1, 2)], id="up-again"),
    pytest.param([(50000, 0, 1), (44999, 1, 0), (50000, 0, 1), (44999, 1, 0)],
                 id="sleeps-and-wakes"),
])
def test_a_monitor_moves_between_levels_with_hysteresis(board, steps):
    board.monitor("hot", **LEVELS)
    board.start()
    follow(board, steps)
    levels = [new for _, old, new in steps if old != new]
    board.wait_writes("gpu", [str(level) for level in levels])


@pytest.mark.parametrize("steps", [
    pytest.param([(5000, 0, 1)], id="exactly-at-the-threshold"),
    pytest.param([(4000, 0, 1), (7000, 1, 1), (7001, 1, 0)], id="clears-above"),
    pytest.param([(0, 0, 2), (1000, 2, 2), (2001, 2, 1)], id="two-levels"),
    pytest.param([(-20000, 0, 2), (9000, 2, 0)], id="below-zero"),
])
def test_a_lowactive_monitor_logs_negated_temperatures(board, steps):
    board.set("cpu", 20000)
    board.monitor("hot", thresholds="5000 0", thresholds_clr="7000 2000", actions="gpu gpu",
                  action_info="1 2", lowactive="true")
    board.start()
    for temperature, old, new in steps:
        board.set("cpu", temperature)
        board.wait_log(monitor_line("hot", -temperature, old, new))
    board.wait_writes("gpu", [str(new) for _, old, new in steps if old != new])


def test_a_monitor_logs_every_decision_once_per_period(board):
    board.set("cpu", 60000)
    board.monitor("hot", sampling=50)
    board.start()
    first = board.wait_log_start(monitor_line("hot"), 1)
    last = board.wait_log_start(monitor_line("hot"), 41)
    assert 0.05 * 0.99 <= (last.time - first.time) / 40 <= 0.1


def test_a_sleeping_monitor_decides_nothing(board):
    board.monitor("hot", **LEVELS)
    board.start()
    follow(board, [(50000, 0, 1), (20000, 1, 0)])
    mark = board.mark()
    board.wait_samples("cpu", 10, mark)
    assert board.logs(monitor_line("hot"), mark) == []


def test_a_device_of_both_levels_is_written_once_per_change(board):
    board.monitor("hot", **{**LEVELS, "action_info": "4 5 4"})
    board.start()
    follow(board, [(50000, 0, 1), (60000, 1, 2), (70000, 2, 3), (54999, 3, 1), (20000, 1, 0)])
    # From level 3 to 1 the request stays the same, and nothing is written.
    board.wait_writes("gpu", ["4", "5", "4", "0"])


def test_a_device_of_one_level_is_released_when_it_is_left(board):
    board.monitor("hot", **{**LEVELS, "actions": "gpu lcd gpu"})
    board.start()
    follow(board, [(50000, 0, 1), (60000, 1, 2), (70000, 2, 3), (20000, 3, 0)])
    board.wait_writes("gpu", ["1", "0", "3", "0"])
    writes = [(event.name, event.data.decode()) for event in board.write_events("gpu", "lcd")]
    assert writes == [("gpu", "1"),
                      ("gpu", "0"), ("lcd", "2"),  # the devices of the old level come first
                      ("lcd", "0"), ("gpu", "3"),
                      ("gpu", "0")]


def test_the_devices_of_a_level_are_written_in_their_order(board):
    board.device("a")
    board.monitor("hot", actions="lcd+gpu+a", action_info="3+1+2")
    board.start()
    follow(board, [(50000, 0, 1), (20000, 1, 0)])
    board.wait_writes("a", ["2", "0"])
    writes = [(event.name, event.data.decode()) for event in board.write_events("gpu", "lcd", "a")]
    assert writes == [("lcd", "3"), ("gpu", "1"), ("a", "2"),
                      ("lcd", "0"), ("gpu", "0"), ("a", "0")]


def test_a_decision_is_logged_before_its_writes_by_the_same_thread(board):
    board.monitor("hot", **LEVELS)
    board.start()
    follow(board, [(50000, 0, 1)])
    board.wait_writes("gpu", ["1"])
    events = board.refresh()
    write = board.write_events("gpu")[0]
    decision = board.log_events(monitor_line("hot", 50000, 0, 1))[0]
    assert write.thread == decision.thread
    assert events.index(decision) < events.index(write)


def test_a_request_of_level_0_leaves_a_cold_device_alone(board):
    board.monitor("hot", actions="gpu+lcd", action_info="0+1")
    board.start()
    follow(board, [(50000, 0, 1), (20000, 1, 0)])
    board.wait_writes("lcd", ["1", "0"])
    assert board.writes("gpu") == []


def leave_awake_at_level_0(board):
    """Has the monitor "hot" find its sensor cooled when it decides for the first time.

    Its thread is kept in a long period by a second monitor, so that there is time to cool down
    between waking and deciding; when the thread is faster after all, it is done again.
    """
    board.wait_log_start(monitor_line("busy"))
    for _ in range(20):
        mark = board.mark()
        board.set("cpu", 50000)
        board.wait_log(activate_line("cpu", "hot"), since=mark)
        board.set("cpu", 20000)
        board.wait_log_start(monitor_line("hot"), since=mark)
        if board.logs(monitor_line("hot"), mark)[0] == monitor_line("hot", 20000, 0, 0):
            return
        board.wait_log(monitor_line("hot", 20000, 1, 0), since=board.mark())


def test_a_monitor_that_finds_its_sensor_cooled_before_its_first_level_stays_awake(board):
    board.sensor("other", 60000)
    board.monitor("busy", sensor="other", sampling=400, actions="lcd")
    board.monitor("hot", sampling=400)
    board.start()
    leave_awake_at_level_0(board)
    mark = board.mark()
    board.wait_log(monitor_line("hot", 20000, 0, 0), count=2, since=mark)
    board.set("cpu", 50000)
    board.wait_log(monitor_line("hot", 50000, 0, 1), since=mark)
    assert board.logs("[TalmorThermal] Sensor [cpu] activate", mark) == []


def test_the_return_of_its_scenario_is_no_news_to_a_monitor_that_stayed_awake(board):
    board.sensor("other", 60000)
    board.section("alarms", "report", node_path="@/alarms")
    board.device("cam", "30 24", "camera")
    board.scenario("Default")
    board.monitor("busy", sensor="other", sampling=400, actions="lcd")
    board.monitor("hot", sampling=400, actions="alarms+cam", action_info="1+1")
    board.scenario("game")
    board.monitor("cold", thresholds=90000, thresholds_clr=85000)
    board.started()
    leave_awake_at_level_0(board)

    def told():
        lines = board.path("alarms").read_text().splitlines()
        return lines, board.write_events("cam", "en_fixed_sensor_fps")

    board.switch("game")
    mark = board.mark()
    lines_before, camera_before = told()
    board.set("cpu", 50000)
    board.wait_log(monitor_line("hot", 50000, 0, 1), since=mark)
    board.wait_decisions("hot", 1)
    lines, camera = told()
    assert [line.partition(" : ")[2] for line in lines[len(lines_before):]] == [
        "[hot] Over Thresholds, currenct Status(1)"]
    assert [write.data for write in camera[len(camera_before):]] == [b"1", b"24"]

    board.switch("Default")
    board.wait_decisions("hot", 2)
    assert told() == (lines, camera)


# Several requesters.

def test_the_highest_of_several_requests_wins(board):
    board.sensor("skin", 20000)
    board.monitor("low", action_info="2")
    board.monitor("high", sensor="skin", action_info="5")
    board.start()
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["2"])
    board.set("skin", 60000)
    board.wait_writes("gpu", ["2", "5"])
    board.set("skin", 20000)
    board.wait_writes("gpu", ["2", "5", "2"])
    board.set("cpu", 20000)
    board.wait_writes("gpu", ["2", "5", "2", "0"])


def test_a_lower_request_beside_a_higher_one_writes_nothing(board):
    board.sensor("skin", 60000)
    board.monitor("high", sensor="skin", action_info="5")
    board.monitor("hot", action_info="2")
    board.start()
    board.wait_writes("gpu", ["5"])
    follow(board, [(60000, 0, 1), (20000, 1, 0), (60000, 0, 1)])
    board.wait_writes("gpu", ["5"])
    board.set("skin", 20000)
    board.wait_writes("gpu", ["5", "2"])


def test_two_algorithms_of_one_name_share_one_request(board):
    board.sensor("skin", 20000)
    board.monitor("hot", action_info="3")
    board.monitor("hot", sensor="skin", action_info="2")
    board.start()
    board.set("cpu", 60000)
    board.wait_writes("gpu", ["3"])
    board.set("skin", 60000)
    board.wait_writes("gpu", ["3", "2"])
    board.set("skin", 20000)
    board.wait_writes("gpu", ["3", "2", "0"])


def test_monitors_of_several_sensors_do_not_disturb_each_other(board):
    board.sensor("skin", 20000)
    board.monitor("hot")
    board.monitor("warm", sensor="skin", actions="lcd", action_info="2", sampling=FAST)
    board.start()
    board.set("skin", 60000)
    board.wait_writes("lcd", ["2"])
    board.wait_log(sample_line("cpu", 20000), count=5, since=board.mark())
    assert board.writes("gpu") == []
    assert board.logs(monitor_line("hot")) == []

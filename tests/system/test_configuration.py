"""The algorithm configuration file: items, keys and scenarios, and the errors that end it all."""

import pytest

from daemon import FAST, activate_line, monitor, monitor_line, ss, ss_line

FAIL = "[TalmorThermal] [CONF PARSE FAIL] "
NO_ITEM = FAIL + "Each item should be started with 'SCEN' or embraced with [name]"
NO_TYPE = FAIL + "Each item's property should contain & start with 'algo_type'"
BAD_TYPE = FAIL + "Algo type should be 'monitor' or 'SS'"

PROPERTIES = ("sensor cpu\nsampling 20\nthresholds 50000\nthresholds_clr 45000\nactions gpu\n"
              "action_info 1\n")
MONITOR = "algo_type monitor\n" + PROPERTIES


def missing(name):
    return FAIL + f"There is some missing property for {name}"


@pytest.fixture
def board(daemon):
    """A hot sensor "cpu" and a device "gpu"."""
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    return daemon


def activated(board):
    """The algorithms that the first sample of "cpu" has woken."""
    board.wait_samples("cpu", 2, since=0)
    lines = board.logs("[TalmorThermal] Sensor [cpu] activate Algo [")
    return [line.split("[")[3].split("]")[0] for line in lines]


# Errors.

@pytest.mark.parametrize("text, error", [
    pytest.param("cpu_monitor\n" + MONITOR, NO_ITEM, id="name-without-brackets"),
    pytest.param("# comment\n", NO_ITEM, id="comment"),
    pytest.param("scen game\n[a]\n" + MONITOR, NO_ITEM, id="scen-in-small-letters"),
    pytest.param("SCENE game\n[a]\n" + MONITOR, NO_ITEM, id="scene"),
    pytest.param("SCEN game\n\n[a]\n" + MONITOR, NO_ITEM, id="blank-line-after-scen"),
    pytest.param("SCEN game\n", NO_ITEM, id="scen-alone"),
    pytest.param("SCEN game\nSCEN night\n[a]\n" + MONITOR, NO_ITEM, id="scen-after-scen"),
    pytest.param("SCEN game\nitem\n", NO_ITEM, id="no-item-after-scen"),
    pytest.param("]\n", NO_ITEM, id="closing-bracket-last"),
    pytest.param("]", NO_ITEM, id="closing-bracket-last-without-line-end"),
    pytest.param("[a]\n" + MONITOR + "\n]\n", NO_ITEM, id="closing-bracket-after-the-last-item"),
    pytest.param("[a]\n" + MONITOR + "\n]\n\n[b]\n" + MONITOR, NO_ITEM,
                 id="blank-line-after-closing-bracket"),
    pytest.param("[a]\n" + MONITOR + "]\n]\n]\n[b]\n" + MONITOR, NO_ITEM,
                 id="two-closing-brackets"),
    pytest.param("[a]\n" + MONITOR + "\nSCEN game\n]\n", NO_ITEM, id="closing-bracket-after-scen"),
    pytest.param("[a]\n" + PROPERTIES, NO_TYPE, id="no-type"),
    pytest.param("[a]\n\n" + MONITOR, NO_TYPE, id="blank-line-before-the-type"),
    pytest.param("[a]\n", NO_TYPE, id="header-alone"),
    pytest.param("[a]\nAlgo_type monitor\n", NO_TYPE, id="capital-key"),
    pytest.param("[a]\nalgo_types monitor\n", NO_TYPE, id="longer-key"),
    pytest.param("[a]\ntype monitor\n", NO_TYPE, id="type-as-in-the-environment"),
    pytest.param("[a]\n" + MONITOR + "SCEN game\n\nfurther words\n", NO_ITEM,
                 id="words-after-an-item"),
    pytest.param("[a]\nalgo_type SS\n", BAD_TYPE, id="ss-in-capitals"),
    pytest.param("[a]\nalgo_type Monitor\n", BAD_TYPE, id="capital-monitor"),
    pytest.param("[a]\nalgo_type monitors\n", BAD_TYPE, id="monitors"),
    pytest.param("[a]\nalgo_type\n" + PROPERTIES, BAD_TYPE, id="type-without-its-word"),
])
def test_a_malformed_file_ends_the_daemon_with_one_line_and_status_0(board, text, error):
    check_ends(board, text, error)


@pytest.mark.parametrize("key, value", [
    ("sensor", None), ("sensor", "nothing"), ("sensor", "gpu"),
    ("thresholds", None), ("thresholds", ""), ("thresholds_clr", None), ("thresholds_clr", ""),
    ("actions", None), ("actions", ""), ("action_info", None), ("action_info", ""),
])
def test_a_monitor_without_a_property_ends_the_daemon(board, key, value):
    check_ends(board, monitor("good") + monitor("bad", **{key: value}), missing("bad"))


@pytest.mark.parametrize("key, value", [
    ("sensor", None), ("sensor", "nothing"), ("device", None), ("device", "nothing"),
    ("device", "cpu"), ("set_point", None), ("set_point", 0), ("set_point", "hot"),
    ("set_point_clr", None), ("set_point_clr", 0), ("set_point_clr", "cold"),
])
def test_an_ss_without_a_property_ends_the_daemon(board, key, value):
    check_ends(board, monitor("good") + ss("step", **{key: value}), missing("step"))


def test_a_null_name_in_the_environment_rejects_the_item_that_watches_it(board):
    board.section("skin", "virtual", sampling=FAST, sensors="undefined", weights=1)
    check_ends(board, monitor("hot", sensor="undefined"), missing("hot"))


def test_an_error_ends_a_silent_daemon_without_a_word(board):
    board.conf("nonsense\n")
    board.start("nolog")
    assert board.wait_exit() == 0
    assert board.logs() == []


def test_an_error_in_the_factory_file_that_stands_in_ends_the_daemon_too(board):
    board.box.config_dir.rmdir()
    board.conf("nonsense\n")
    board.start()
    assert board.wait_exit() == 0
    assert board.logs()[-2:] == [
        "[TalmorThermal] Unreadable conf file : "
        "/data/vendor/thermal/config/talmor-thermal_default.conf",
        NO_ITEM]


def check_ends(board, text, error):
    board.conf(text)
    board.start()
    assert board.wait_exit() == 0
    assert board.logs()[-1] == error
    assert len(board.logs(FAIL)) == 1
    assert "[TalmorThermal] ConfParse Passed!" not in board.logs()
    assert board.logs("[TalmorThermal] Sensor") == []
    assert board.write_events("gpu") == []
    assert not (board.box.data_dir / "talmor-thermal.scen").exists()


# Accepted.

@pytest.mark.parametrize("text, names", [
    pytest.param("[a]\n" + MONITOR + "[b]\n" + MONITOR, ["a"], id="no-blank-line-merges-two-items"),
    pytest.param("[a]\n" + MONITOR + "]\n[b]\n" + MONITOR, ["a", "b"], id="bracket-ends-an-item"),
    pytest.param("[a]\n" + MONITOR + "\n]\n[b]\n" + MONITOR, ["a", "b"],
                 id="bracket-before-an-item"),
    pytest.param("]\n[a]\n" + MONITOR, ["a"], id="bracket-first"),
    pytest.param("[a\n" + MONITOR, [""], id="no-closing-bracket-drops-the-last-letter"),
    pytest.param("[mon\n" + MONITOR, ["mo"], id="no-closing-bracket"),
    pytest.param("[a] the first item\n" + MONITOR, ["a"], id="words-after-the-name"),
    pytest.param("[a]\nalgo_type monitor ss\n" + PROPERTIES, ["a"], id="words-after-the-type"),
    pytest.param("[a] algo_type monitor\n\n" + PROPERTIES, ["a"],
                 id="header-words-stand-in-for-a-blank-type-line"),
    pytest.param("SCEN Default [a]\n\n" + MONITOR, ["a"],
                 id="scenario-words-stand-in-for-a-blank-item-line"),
    pytest.param("[a]\nalgo_type monitor\n\n" + PROPERTIES, ["a"],
                 id="blank-line-after-the-type-ends-nothing"),
    pytest.param("[a]\nalgo_type monitor\n]\n" + PROPERTIES, ["a"],
                 id="bracket-after-the-type-ends-nothing"),
    pytest.param("[a]\nalgo_type monitor\nset_point 5\n# remark\nSENSOR gpu\n" + PROPERTIES, ["a"],
                 id="unknown-keys"),
    pytest.param("\r\n  [a]\r\n\talgo_type\tmonitor \r\n" + PROPERTIES.replace("\n", "  \r\n"),
                 ["a"], id="white-space-and-carriage-returns"),
    pytest.param(("[a]\n" + MONITOR).rstrip(), ["a"], id="no-line-end"),
    pytest.param("[a]\nalgo_type monitor\nsensor nothing\n" + PROPERTIES, ["a"],
                 id="later-line-wins"),
    pytest.param("[a]\n" + MONITOR + "\n[a]\n" + MONITOR, ["a", "a"], id="two-items-of-one-name"),
    pytest.param(ss("a", sensor="cpu"), ["a"], id="ss-in-small-letters"),
    pytest.param("\n\n \t\n", [], id="blank-lines"),
    pytest.param("", [], id="empty"),
])
def test_a_file_gives_these_algorithms_of_the_default_scenario(board, text, names):
    board.conf(text)
    board.start()
    assert activated(board) == names


@pytest.mark.parametrize("text, names", [
    pytest.param("SCEN game\n[a]\n" + MONITOR + "]\n[b]\n" + MONITOR, [],
                 id="an-items-bracket-does-not-close-its-scenario"),
    pytest.param("SCEN game\n[a]\n" + MONITOR + "\n[b]\n" + MONITOR, [], id="both-of-game"),
    pytest.param("SCEN game\n[a]\n" + MONITOR + "\n]\n[b]\n" + MONITOR, ["b"],
                 id="a-bracket-after-a-blank-line-closes-it"),
    pytest.param("SCEN game\n[a]\n" + MONITOR + "]\n]\n[b]\n" + MONITOR, ["b"],
                 id="a-second-bracket-closes-it"),
    pytest.param("SCEN game\n[a]\n" + MONITOR + "\nSCEN Default\n[b]\n" + MONITOR, ["b"],
                 id="scen-default"),
    pytest.param("[a]\n" + MONITOR + "\nSCEN game\n[b]\n" + MONITOR, ["a"], id="default-first"),
    pytest.param("SCEN default\n[a]\n" + MONITOR, [], id="small-letters-are-another-scenario"),
])
def test_a_scenario_holds_these_items(board, text, names):
    board.conf(text)
    board.start()
    assert activated(board) == names


def test_algorithms_of_a_sensor_wake_in_the_order_of_the_file(board):
    for name in ("z", "a", "m"):
        board.monitor(name)
    board.ss("b", set_point=60000, set_point_clr=50000)
    board.start()
    assert activated(board) == ["z", "a", "m", "b"]


# Values.

def first_decision(board, name="hot"):
    return board.wait_log_start(monitor_line(name)).text


def test_words_without_digits_are_threshold_zero(board):
    board.monitor("hot", thresholds="60000 word", thresholds_clr="50000 0", actions="gpu gpu",
                  action_info="1 2")
    board.start()
    assert first_decision(board) == monitor_line("hot", 60000, 0, 2)


def test_numbers_are_read_up_to_the_first_letter(board):
    board.monitor("hot", thresholds="+59999C 70000.5", thresholds_clr="50x 60x", actions="gpu gpu",
                  action_info="3rd 4th")
    board.start()
    board.wait_writes("gpu", ["3"])


def test_numbers_beyond_32_bits_are_cut_to_32_bits(board):
    board.monitor("hot", thresholds="4294967297 99999999999999999999", thresholds_clr="0 0",
                  actions="gpu gpu", action_info="1 2")
    board.start()
    # 2^32 + 1 is 1; what is beyond 64 bits becomes the largest of them, whose low half is -1.
    assert first_decision(board) == monitor_line("hot", 60000, 0, 2)


def test_threshold_lines_append(board):
    board.conf("[hot]\nalgo_type monitor\nsensor cpu\nsampling 20\nthresholds 50000\n"
               "thresholds 55000 58000\nthresholds_clr 1\nthresholds_clr 2 3\n"
               "actions gpu gpu gpu\naction_info 1 2 3\n")
    board.start()
    board.wait_writes("gpu", ["3"])


def test_a_second_actions_line_adds_to_the_first_rows(board):
    board.device("lcd")
    board.conf("[hot]\nalgo_type monitor\nsensor cpu\nsampling 20\nthresholds 50000\n"
               "thresholds_clr 45000\nactions gpu\nactions lcd\naction_info 3\naction_info 4\n")
    board.start()
    board.wait_writes("lcd", ["4"])
    assert board.writes("gpu") == ["3"]


def test_plus_signs_separate_devices_and_levels_and_empty_ones_do_not_count(board):
    board.device("lcd")
    board.monitor("hot", actions="+gpu++lcd+", action_info="++5+6")
    board.start()
    board.wait_writes("lcd", ["6"])
    assert board.writes("gpu") == ["5"]


def test_a_row_of_plus_signs_drives_nothing(board):
    board.monitor("hot", thresholds="50000 60000", thresholds_clr="45000 55000", actions="gpu +",
                  action_info="3 4")
    board.start()
    assert first_decision(board) == monitor_line("hot", 60000, 0, 2)
    board.wait_decisions("hot", 5)
    assert board.writes("gpu") == []


def test_an_unknown_device_is_skipped(board):
    board.device("lcd")
    board.monitor("hot", actions="gpu+nothing+lcd", action_info="1+2+3")
    board.start()
    board.wait_writes("lcd", ["3"])
    assert board.writes("gpu") == ["1"]
    board.set("cpu", 20000)
    board.wait_writes("lcd", ["3", "0"])
    assert board.writes("gpu") == ["1", "0"]


def test_a_device_without_a_level_in_its_row_gets_no_request(board):
    board.device("lcd")
    board.device("fan")
    board.monitor("hot", actions="gpu+lcd+fan", action_info="1+2")
    board.monitor("witness", actions="fan", action_info="4")
    board.start()
    board.wait_writes("fan", ["4"])
    board.wait_writes("lcd", ["2"])
    board.wait_decisions("hot", 5)
    assert board.writes("fan") == ["4"]
    board.set("cpu", 20000)
    board.wait_writes("lcd", ["2", "0"])
    board.wait_writes("fan", ["4", "0"])


@pytest.mark.parametrize("rows", [
    {"actions": "gpu", "action_info": "3 4"}, {"actions": "gpu gpu", "action_info": "3"},
], ids=["actions", "action_info"])
def test_a_level_without_its_row_drives_nothing(board, rows):
    board.monitor("hot", thresholds="50000 60000", thresholds_clr="45000 55000", **rows)
    board.set("cpu", 50000)
    board.start()
    board.wait_writes("gpu", ["3"])
    board.set("cpu", 60000)
    board.wait_log(monitor_line("hot", 60000, 1, 2))
    board.wait_writes("gpu", ["3", "0"])
    board.set("cpu", 50000)
    board.wait_log(monitor_line("hot", 50000, 2, 1))
    board.wait_writes("gpu", ["3", "0", "3"])
    board.set("cpu", 44999)
    board.wait_writes("gpu", ["3", "0", "3", "0"])


def test_a_missing_clearing_threshold_is_that_levels_threshold(board):
    board.monitor("hot", thresholds="50000 60000", thresholds_clr="45000", actions="gpu gpu",
                  action_info="1 2")
    board.start()
    board.wait_writes("gpu", ["2"])
    board.set("cpu", 59999)
    board.wait_log(monitor_line("hot", 59999, 2, 1))
    board.set("cpu", 45000)
    board.wait_log(monitor_line("hot", 45000, 1, 1))
    board.set("cpu", 44999)
    board.wait_writes("gpu", ["2", "1", "0"])


@pytest.mark.parametrize("word, status", [("true", 0), ("True", 1), ("1", 1), ("TRUE", 1),
                                          ("truely", 1), ("false", 1), ("yes", 1)])
def test_only_the_word_true_makes_an_algorithm_act_on_cold(board, word, status):
    board.monitor("hot", lowactive=word)
    board.monitor("witness")
    board.start()
    board.wait_decisions("witness", 3)
    if status == 0:
        assert board.logs(monitor_line("hot")) == []
    else:
        assert board.logs(monitor_line("hot"))[0] == monitor_line("hot", 60000, 0, 1)


def test_an_ss_defaults_to_no_floor_no_stuck_rule_and_start_level_0(board):
    board.ss("step")
    board.monitor("witness", actions="nothing")
    board.start()
    # 60 - 40 + 1 steps, less one for the start level; the table ends at 9.
    board.wait_log(ss_line("step", 0, 60000, 9))
    board.wait_writes("gpu", ["9"])
    board.wait_decisions("witness", 10)
    assert len(board.logs(ss_line("step"))) == 1


@pytest.mark.parametrize("sampling", [None, "1000", "1000ms"])
def test_a_monitor_decides_every_1000_ms_if_it_says_nothing_else(board, sampling):
    board.monitor("hot", sampling=sampling)
    board.start()
    first = board.wait_log_start(monitor_line("hot"), 1)
    third = board.wait_log_start(monitor_line("hot"), 3)
    assert 1.98 <= third.time - first.time < 4


@pytest.mark.parametrize("sampling", ["0", "-3", "fast"])
def test_a_monitor_with_a_period_below_one_waits_a_millisecond(board, sampling):
    board.monitor("hot", sampling=sampling)
    board.start()
    first = board.wait_log_start(monitor_line("hot"), 1)
    last = board.wait_log_start(monitor_line("hot"), 201)
    assert last.time - first.time >= 0.2 * 0.99


# Threads: one for each period, scenario and kind.

def test_algorithms_share_a_thread_exactly_when_period_and_kind_are_the_same(board):
    board.monitor("a", sampling=30)
    board.monitor("b", sampling=30)
    board.monitor("c", sampling=40)
    board.ss("d", sampling=30)
    board.ss("e", sampling=30)
    board.start()
    starts = [monitor_line("a"), monitor_line("b"), monitor_line("c"), ss_line("d"), ss_line("e")]
    a, b, c, d, e = [board.wait_log_start(start).thread for start in starts]
    assert a == b
    assert d == e
    assert len({a, c, d, board.wait_samples("cpu", 1).thread}) == 4


def test_the_default_period_and_1000_share_a_thread(board):
    board.monitor("a", sampling=None)
    board.monitor("b", sampling=1000)
    board.start()
    threads = [board.wait_log_start(monitor_line(name)).thread for name in "ab"]
    assert threads[0] == threads[1]


def test_an_activation_names_sensor_algorithm_and_scenario(board):
    board.monitor("hot")
    board.start()
    board.wait_log(activate_line("cpu", "hot", "Default"))

"""The environment file: sections, keys, level tables, and what becomes of malformed ones."""

import pytest

from daemon import FAST, activate_line, monitor_line, sample_line, virtual_line

PARSED = "[TalmorThermal] EnvParse Passed!"


def sampled_sensors(daemon):
    """The real sensors that some passes of the clock's thread have sampled."""
    daemon.wait_samples("clock", 4)
    starts = daemon.logs("[TalmorThermal] Sensor [")
    return {line.split("[")[2].split("]")[0] for line in starts}


def add_clock(daemon):
    """A sensor in the first section, whose samples show that the daemon runs."""
    daemon.sensor("clock")


def drive(daemon, level, thresholds="50000"):
    """Has a monitor ask "knob" for a level."""
    daemon.sensor("cpu", 60000)
    daemon.monitor("hot", actions="knob", action_info=level, thresholds=thresholds)


# Sections.

@pytest.mark.parametrize("first_line", ["sensor cpu0", "cpu]", "# a comment", "x[cpu]", "]"])
def test_a_first_line_that_is_no_header_leaves_an_empty_board(daemon, first_line):
    daemon.env(f"\n  \n{first_line}\n\n")
    daemon.sensor("cpu")
    daemon.device("gpu")
    daemon.start()
    # Nothing is there to sample, so that the scenario thread alone goes on.
    daemon.wait_log("[TalmorThermal] There is no scen name: Default", count=2)
    assert PARSED in daemon.logs()
    assert daemon.logs("[TalmorThermal] Sensor") == []


@pytest.mark.parametrize("second_line", ["node_path @/late", "kind real", "Type real", "types real",
                                         "[type] real"])
def test_a_header_without_a_type_line_drops_the_rest_of_the_board(daemon, second_line):
    add_clock(daemon)
    daemon.env(f"[broken]\n{second_line}\n\n")
    daemon.sensor("late")
    daemon.start()
    assert sampled_sensors(daemon) == {"clock"}
    assert PARSED in daemon.logs()


def test_a_line_between_sections_that_is_no_header_drops_the_rest_of_the_board(daemon):
    add_clock(daemon)
    daemon.env("a stray line\n\n")
    daemon.sensor("late")
    daemon.start()
    assert sampled_sensors(daemon) == {"clock"}


def test_a_blank_line_after_the_header_drops_the_rest_of_the_board(daemon):
    add_clock(daemon)
    daemon.env("[broken]\n\ntype real\nnode_path @/late\n\n")
    daemon.sensor("late")
    daemon.start()
    assert sampled_sensors(daemon) == {"clock"}


def test_further_words_of_the_header_stand_in_for_a_blank_type_line(daemon):
    add_clock(daemon)
    daemon.node("cpu", "41000")
    daemon.env(f"[cpu] type real\n \t\nsampling {FAST}\nnode_path @/cpu\n\n")
    daemon.start()
    daemon.wait_log(sample_line("cpu", 41000))


def test_the_rest_of_a_header_line_is_ignored(daemon):
    daemon.node("cpu", "41000")
    daemon.env(f"[cpu] the big cores\ntype real and more\nsampling {FAST} ms\n"
               "node_path @/cpu here\n")
    daemon.start()
    daemon.wait_log(sample_line("cpu", 41000))


@pytest.mark.parametrize("header, name", [
    ("[cpu0", "cpu"), ("[cpu0)", "cpu0"), ("[[cpu]]", "[cpu]"), ("[]", ""), ("[c", ""),
    ("[cpu]x", "cpu]"), ("[a b]", ""),
])
def test_a_header_loses_its_first_and_its_last_character(daemon, header, name):
    daemon.node("cpu", "41000")
    daemon.env(f"{header}\ntype real\nsampling {FAST}\nnode_path @/cpu\n")
    daemon.start()
    daemon.wait_log(sample_line(name, 41000))


@pytest.mark.parametrize("kind", ["Real", "REAL", "reals", "thermistor", "Virtual", "device"])
def test_an_unknown_kind_is_read_and_dropped(daemon, kind):
    daemon.node("cpu")
    daemon.section("cpu", kind, sampling=FAST, node_path="@/cpu", level_table="1 2")
    add_clock(daemon)
    daemon.start()
    assert sampled_sensors(daemon) == {"clock"}


@pytest.mark.parametrize("kind", ["Charger", "gpu_freq", "CPUFREQ", "cpu"])
def test_an_unknown_device_kind_makes_no_device(daemon, kind):
    daemon.device("knob", kind=kind)
    daemon.device("gpu")
    drive(daemon, "1+1")
    daemon.conf_text = daemon.conf_text.replace("actions knob", "actions knob+gpu")
    daemon.start()
    daemon.wait_writes("gpu", ["1"])
    assert daemon.write_events("knob") == []
    assert not daemon.path("knob").exists()


def test_sections_without_a_blank_line_between_them_merge(daemon):
    daemon.node("first", "31000")
    daemon.node("second", "32000")
    daemon.env(f"[first]\ntype real\nsampling {FAST}\nnode_path @/first\n"
               f"[second]\ntype real\nsampling {FAST}\nnode_path @/second\n\n")
    add_clock(daemon)
    daemon.start()
    assert sampled_sensors(daemon) == {"first", "clock"}
    assert sample_line("first", 32000) in daemon.logs()
    assert sample_line("first", 31000) not in daemon.logs()


def test_white_space_and_carriage_returns_around_lines_do_not_matter(daemon):
    daemon.node("cpu", "41000")
    daemon.env(f"\r\n \t\r\n  [cpu]\r\n\ttype \t real\r\n\v\fsampling\t\t{FAST}  \r\n"
               " node_path   @/cpu\t\r\n   \t \r\n\r\n")
    add_clock(daemon)
    daemon.start()
    assert sampled_sensors(daemon) == {"cpu", "clock"}
    assert sample_line("cpu", 41000) in daemon.logs()


def test_a_last_line_without_a_line_end_counts(daemon):
    daemon.node("cpu", "41000")
    daemon.env(f"[cpu]\ntype real\nsampling {FAST}\nnode_path @/cpu")
    daemon.start()
    daemon.wait_log(sample_line("cpu", 41000))


def test_unknown_keys_are_ignored_and_the_last_of_a_repeated_key_wins(daemon):
    daemon.node("cpu", "41000")
    daemon.env("[cpu]\ntype real\n# a comment is an unknown key\nSampling 7\n"
               "node_path /nonexistent\nweights 1 2\nsampling 10000\n"
               f"sampling {FAST}\nnode_path @/cpu\nnode_paths /none\n")
    daemon.start()
    daemon.wait_samples("cpu", 3)
    assert daemon.logs("[TalmorThermal] Can't open node") == []
    assert sample_line("cpu", 41000) in daemon.logs()


def test_a_later_section_of_the_same_name_is_the_one_that_algorithms_get(daemon):
    daemon.sensor("cpu", 60000)
    daemon.node("other", "20000")
    daemon.section("cpu", "real", sampling=FAST, node_path="@/other")
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.start()
    daemon.wait_samples("cpu", 10)
    assert daemon.writes("gpu") == []
    daemon.set("other", 60000)
    daemon.wait_writes("gpu", ["1"])


# Sensors.

def test_a_sensor_without_a_period_shares_the_thread_of_1000_ms(daemon):
    daemon.sensor("said", sampling=1000)
    daemon.sensor("unsaid", sampling=None)
    daemon.env_text = daemon.env_text.replace("sampling None\n", "")
    daemon.sensor("other", sampling=500)
    daemon.start()
    events = {name: daemon.wait_samples(name, 2, since=0) for name in ("said", "unsaid", "other")}
    assert events["said"].thread == events["unsaid"].thread
    assert events["said"].thread != events["other"].thread


def test_sensors_of_one_period_share_one_thread_and_other_periods_have_their_own(daemon):
    for name, period in (("a", 40), ("b", 30), ("c", 40), ("d", "40ms"), ("e", "+30")):
        daemon.sensor(name, sampling=period)
    daemon.start()
    thread = {name: daemon.wait_samples(name, 2, since=0).thread for name in "abcde"}
    assert thread["a"] == thread["c"] == thread["d"]
    assert thread["b"] == thread["e"]
    assert thread["a"] != thread["b"]


def test_sensors_of_one_thread_are_sampled_in_the_order_of_the_file(daemon):
    for name in ("z", "a", "m"):
        daemon.sensor(name)
    daemon.start()
    daemon.wait_samples("m", 3)
    samples = [line for line in daemon.logs("[TalmorThermal] Sensor [")][:9]
    assert samples == [sample_line(name, 20000) for name in ("z", "a", "m")] * 3


@pytest.mark.parametrize("period", ["0", "-5", "none", "4294967295"])
def test_a_period_below_one_waits_a_millisecond_instead_of_spinning(daemon, period):
    daemon.sensor("cpu", sampling=period)
    daemon.start()
    first = daemon.wait_samples("cpu", 1, since=0)
    last = daemon.wait_samples("cpu", 201, since=0)
    assert last.time - first.time >= 0.2 * 0.99


def test_a_missing_sensor_node_is_logged_once_and_reads_zero_for_ever(daemon):
    daemon.section("cpu", "real", sampling=FAST, node_path="@/cpu")
    daemon.started()
    assert daemon.logs()[:3] == [
        "[TalmorThermal] Using Env Config!",
        f"[TalmorThermal] Can't open node: {daemon.path('cpu')}",
        PARSED]
    daemon.wait_samples("cpu", 2)
    daemon.node("cpu", "60000")
    daemon.wait_samples("cpu", 10)
    assert set(daemon.logs("[TalmorThermal] Sensor [cpu]")) == {sample_line("cpu", 0)}
    assert len(daemon.logs("[TalmorThermal] Can't open node")) == 1


def test_a_sensor_without_a_node_path_reads_zero(daemon):
    daemon.section("cpu", "real", sampling=FAST)
    daemon.start()
    daemon.wait_log(sample_line("cpu", 0))
    assert "[TalmorThermal] Can't open node: " in daemon.logs()


def test_open_failures_are_logged_in_the_order_of_the_sections(daemon):
    daemon.section("b", "real", node_path="/nonexistent/b")
    daemon.section("knob", "backlight", node_path="/nonexistent/knob", level_table="1 2")
    daemon.section("a", "real", node_path="/nonexistent/a")
    daemon.section("report", "report", node_path="/nonexistent/report")
    daemon.started()
    assert daemon.logs()[1:6] == [
        "[TalmorThermal] Can't open node: /nonexistent/b",
        "[TalmorThermal] [TalmorThermal] Device [knob] open failed",
        "[TalmorThermal] Can't open node: /nonexistent/a",
        "[TalmorThermal] [TalmorThermal] Device [report] open failed",
        PARSED]


def test_a_device_may_bear_the_name_of_a_sensor(daemon):
    daemon.sensor("cpu", 60000)
    daemon.section("cpu", "cpuhotplug", node_path="@/cores", level_table="8 4")
    daemon.monitor("hot", actions="cpu")
    daemon.start()
    daemon.wait_writes("cores", ["4"])
    assert sample_line("cpu", 60000) in daemon.logs()


# Virtual sensors.

def add_virtual(daemon, source=50000, **keys):
    """A virtual sensor over "cpu" that is switched on from the start, but for the keys given."""
    daemon.sensor("cpu", source)
    daemon.section("skin", "virtual", **{
        "sampling": FAST, "set_point": 40000, "set_point_clr": 30000, "sensors": "cpu",
        "weights": 1, "trip_sensor": "cpu", **keys})


def virtual_values(daemon, count):
    daemon.wait_log_start("[TalmorThermal] Sensor[skin] ", count)
    return daemon.logs("[TalmorThermal] Sensor[skin] ")[:count]


def test_a_source_that_is_defined_further_down_does_not_count(daemon):
    add_virtual(daemon, sensors="late cpu", weights="5 2")
    daemon.sensor("late", 70000)
    daemon.start()
    # (0 + 2 x 50000) / 7
    assert virtual_values(daemon, 1) == [virtual_line("skin", 14285)]


def test_a_virtual_sensor_without_sources_has_its_offsets_alone(daemon):
    add_virtual(daemon, sensors="", weights=1, offsets="10 20")
    daemon.start()
    assert virtual_values(daemon, 2) == [virtual_line("skin", 3000), virtual_line("skin", 6000)]


def test_repeated_list_lines_of_a_virtual_sensor_append(daemon):
    daemon.sensor("gpu", 30000)
    daemon.sensor("cpu", 50000)
    daemon.env(f"[skin]\ntype virtual\nsampling {FAST}\nset_point 40000\ntrip_sensor cpu\n"
               "sensors cpu\nsensors gpu\nweights 1\nweights 3\noffsets 1\noffsets 2\n")
    daemon.start()
    # (0 + 1 x 50000 + 3 x 30000 + 100 x 3) / 4
    assert virtual_values(daemon, 1) == [virtual_line("skin", 35075)]


def test_a_source_may_be_named_twice(daemon):
    add_virtual(daemon, sensors="cpu cpu", weights="1 3")
    daemon.start()
    assert virtual_values(daemon, 1) == [virtual_line("skin", 50000)]


def test_a_missing_weight_counts_as_zero(daemon):
    daemon.sensor("gpu", 30000)
    add_virtual(daemon, sensors="cpu gpu", weights="2")
    daemon.start()
    assert virtual_values(daemon, 1) == [virtual_line("skin", 50000)]


@pytest.mark.parametrize("trip_sensor", ["skin", "nothing", "other", None])
def test_a_trip_sensor_that_is_no_real_sensor_is_ignored(daemon, trip_sensor):
    daemon.sensor("clock", 60000)
    daemon.section("other", "virtual", sampling=FAST, sensors="clock", weights=1)
    add_virtual(daemon, trip_sensor=trip_sensor)
    daemon.start()
    daemon.wait_samples("clock", 10)
    assert daemon.logs("[TalmorThermal] Sensor[") == []


def test_a_virtual_sensor_without_a_period_is_sampled_every_1000_ms(daemon):
    add_virtual(daemon, sampling=None)
    daemon.start()
    first = daemon.wait_log_start("[TalmorThermal] Sensor[skin] ", 1)
    third = daemon.wait_log_start("[TalmorThermal] Sensor[skin] ", 3)
    assert 1.9 < third.time - first.time < 4


def test_the_keys_of_one_virtual_sensor_do_not_reach_the_next(daemon):
    add_virtual(daemon, source=35000, offsets="100")
    daemon.section("rim", "virtual", sampling=FAST, sensors="cpu", weights=1, trip_sensor="cpu")
    daemon.start()
    # Its set point is 0, its offsets are none; that of the first one is out of reach.
    daemon.wait_log_start("[TalmorThermal] Sensor[rim] ")
    assert daemon.logs("[TalmorThermal] Sensor[")[0] == virtual_line("rim", 35000)
    assert daemon.logs("[TalmorThermal] Sensor[skin]") == []


# The configuration's file name.

def test_the_last_file_name_wins_and_its_section_name_does_not_matter(daemon):
    daemon.env("[cpu]\ntype conf_file\nfile_name one.conf\nfile_name two.conf of two words\n\n")
    daemon.env("[gpu]\ntype conf_file\nfile_name three.conf\nsampling 5\n\n")
    add_clock(daemon)
    daemon.start()
    assert sampled_sensors(daemon) == {"clock"}
    assert ("[TalmorThermal] Conf file is copied!(/vendor/etc/talmor-thermal.conf -> "
            "/data/vendor/thermal/config/three.conf)") in daemon.logs()


# Level tables. Each word decides how the entries are written: as a number, in hexadecimal, as text
# or, with 0b, never.

@pytest.mark.parametrize("level_table, level, written", [
    pytest.param("100 200 300", 1, "200", id="decimal"),
    pytest.param("100 200 300", 2, "300", id="decimal-last"),
    pytest.param("100 -200", 1, "-200", id="negative"),
    pytest.param("100 +7x", 1, "7", id="leading-digits-alone"),
    pytest.param("off on", 1, "0", id="words-without-digits-are-zero"),
    pytest.param("0x10 20", 1, "0", id="hex-drops-two-characters-of-a-decimal-entry-too"),
    pytest.param("0x10 0x1F", 1, "1f", id="hex-in-lower-case-without-prefix"),
    pytest.param("0 0xDEADBEEF", 1, "deadbeef", id="hex-large"),
    pytest.param("0x10 1F", 1, "0", id="hex-entry-of-two-characters"),
    pytest.param("0x10 1F7a", 1, "7a", id="hex-entry-without-prefix"),
    pytest.param("10 200 0x1", 1, "0", id="a-later-hex-word-counts-for-all"),
    pytest.param("0X10 0X1F", 1, "0", id="a-capital-x-is-decimal"),
    pytest.param("a0xb 110x", 1, "0", id="0x-anywhere-makes-hex"),
    pytest.param('"low power" high', 0, None, id="level-0-is-not-written-at-start"),
    pytest.param('high "low power"', 1, "low power", id="quoted"),
    pytest.param('high "low   \t power mode" x', 1, "low power mode", id="quoted-joined-by-blanks"),
    pytest.param('"low power" high', 1, "high", id="a-word-beside-a-quoted-one"),
    pytest.param('0x10 "on"', 1, "on", id="one-quoted-word"),
    pytest.param('"on" 0x10', 1, "10", id="the-last-word-that-says-decides-hex"),
    pytest.param('0x10 "on" 007', 2, "007", id="the-last-word-that-says-decides-string"),
    pytest.param('1 2 "three', 2, "three", id="unclosed-at-the-last-word"),
    pytest.param('1 "two and more', 1, "two and more", id="unclosed-takes-the-rest-of-the-line"),
    pytest.param('low " high', 2, "high", id="a-lone-quote-is-one-entry"),
    pytest.param('low "" high', 2, "high", id="two-quotes-are-one-entry"),
    pytest.param('low in"side" high', 1, "0", id="a-quote-inside-a-word-is-no-quote"),
])
def test_a_level_table_is_written_by_its_type(daemon, level_table, level, written):
    daemon.device("knob", level_table)
    daemon.device("witness")
    drive(daemon, f"{level}+1")
    daemon.conf_text = daemon.conf_text.replace("actions knob", "actions knob+witness")
    daemon.start()
    daemon.wait_writes("witness", ["1"])
    assert daemon.writes("knob") == ([] if written is None else [written])


def test_a_second_level_table_line_appends(daemon):
    daemon.env("[knob]\ntype charger\nnode_path @/knob\nlevel_table 10 20\nlevel_table 30 40\n\n")
    drive(daemon, 3)
    daemon.start()
    daemon.wait_writes("knob", ["40"])


def test_a_level_table_in_binary_notation_never_writes(daemon):
    daemon.device("knob", "0b1 0b10 0b11")
    daemon.device("witness")
    drive(daemon, "1+1 2+2", thresholds="50000 55000")
    daemon.conf_text = daemon.conf_text.replace(
        "actions knob", "actions knob+witness knob+witness").replace("clr 45000", "clr 45000 52000")
    daemon.set("cpu", 51000)
    daemon.start()
    daemon.wait_writes("witness", ["1"])
    daemon.set("cpu", 60000)
    daemon.wait_writes("witness", ["1", "2"])
    assert daemon.writes("knob") == []


def test_the_type_starts_anew_for_each_device(daemon):
    daemon.device("first", '"a b" c')
    daemon.device("second", "0x1 0x2")
    daemon.device("third", "007 008")
    drive(daemon, "1+1+1")
    daemon.conf_text = daemon.conf_text.replace("actions knob", "actions first+second+third")
    daemon.start()
    daemon.wait_writes("third", ["8"])
    assert daemon.writes("second") == ["2"]
    assert daemon.writes("first") == ["c"]


def test_sensors_and_devices_reach_the_algorithms_by_name(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.start()
    daemon.wait_log(activate_line("cpu", "hot"))
    daemon.wait_log(monitor_line("hot", 60000, 0, 1))

"""What sensors read, which algorithms they wake, and virtual sensors."""

import os

import pytest

from daemon import FAST, activate_line, monitor_line, sample_line, virtual_line


# Real sensors.

@pytest.mark.parametrize("text, value", [
    ("45000\n", 45000), ("45000", 45000), ("letters\n", 0), ("-12500\n", -12500),
    ("+30000\n", 30000), ("  \t\n 41000 99000\n", 41000), ("45000mC\n", 45000), ("45.5\n", 45),
    ("0\n", 0), ("-\n", 0),
    ("007\n", 7), ("0x10\n", 0), ("", 0), ("\n \n", 0), ("2147483647\n", 2147483647),
    ("-2147483648\n", -2147483648), ("2147483648\n", -2147483648), ("4294967297\n", 1),
    ("99999999999999999999\n", -1), ("-99999999999999999999\n", 0),
], ids=repr)
def test_a_node_reads_as(daemon, text, value):
    daemon.sensor("cpu")
    daemon.path("cpu").write_text(text)
    daemon.start()
    daemon.wait_samples("cpu", 3, since=0)
    assert daemon.logs("[TalmorThermal] Sensor [cpu]")[:3] == [sample_line("cpu", value)] * 3


def test_every_sample_reads_the_node_anew(daemon):
    daemon.sensor("cpu", 20000)
    daemon.start()
    for temperature in (20000, 45000, -3000, 7, 110000):
        daemon.set("cpu", temperature)
        daemon.wait_log(sample_line("cpu", temperature))


def test_a_node_without_a_line_end_is_read_again_and_again(daemon):
    daemon.sensor("cpu")
    daemon.path("cpu").write_text("45000")
    daemon.start()
    daemon.wait_log(sample_line("cpu", 45000), count=5)
    descriptor = os.open(daemon.path("cpu"), os.O_WRONLY)
    os.pwrite(descriptor, b"46", 0)
    os.close(descriptor)
    daemon.wait_log(sample_line("cpu", 46000), count=5)


def test_one_failed_read_leaves_a_sensor_at_zero_for_ever(daemon):
    daemon.sensor("cpu", 41000)
    daemon.start()
    daemon.wait_log(sample_line("cpu", 41000))
    os.truncate(daemon.path("cpu"), 0)
    daemon.wait_log(sample_line("cpu", 0))
    daemon.set("cpu", 42000)
    mark = daemon.mark()
    daemon.wait_samples("cpu", 10, mark)
    assert set(daemon.logs("[TalmorThermal] Sensor [cpu]", mark)) == {sample_line("cpu", 0)}


def test_the_node_is_opened_once_and_kept(daemon):
    daemon.sensor("cpu", 41000)
    daemon.start()
    daemon.wait_log(sample_line("cpu", 41000))
    daemon.path("cpu").rename(daemon.path("moved"))
    daemon.set("moved", 42000)
    daemon.wait_log(sample_line("cpu", 42000))


def test_samples_come_once_per_period(daemon):
    daemon.sensor("cpu", sampling=50)
    daemon.start()
    first = daemon.wait_samples("cpu", 1, since=0)
    last = daemon.wait_samples("cpu", 41, since=0)
    assert 0.05 * 0.99 <= (last.time - first.time) / 40 <= 0.1


# Waking algorithms.

@pytest.mark.parametrize("temperature, lowactive, woken", [
    (49999, "false", False), (50000, "false", True), (50001, "false", True),
    (50001, "true", False), (50000, "true", True), (49999, "true", True),
])
def test_an_algorithm_wakes_at_its_start_temperature(daemon, temperature, lowactive, woken):
    daemon.sensor("cpu", temperature)
    daemon.device("gpu")
    daemon.monitor("watch", thresholds_clr=50000, lowactive=lowactive)
    daemon.ss("step", set_point=50000, set_point_clr=50000, lowactive=lowactive)
    daemon.start()
    daemon.wait_samples("cpu", 5)
    expected = [activate_line("cpu", name) for name in ("watch", "step")] if woken else []
    assert daemon.logs("[TalmorThermal] Sensor [cpu] activate") == expected


def test_an_awake_algorithm_is_not_woken_again(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.start()
    daemon.wait_samples("cpu", 20)
    assert daemon.logs("[TalmorThermal] Sensor [cpu] activate") == [activate_line("cpu", "hot")]


def test_an_algorithm_is_woken_right_after_the_sample_by_its_sensors_thread(daemon):
    daemon.sensor("cpu", 20000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.monitor("hotter", thresholds=60000)
    daemon.start()
    daemon.wait_samples("cpu", 2)
    daemon.set("cpu", 60000)
    woken = daemon.wait_log(activate_line("cpu", "hotter"))
    events = [event for event in daemon.log_events() if event.thread == woken.thread]
    at = events.index(woken)
    assert [event.text for event in events[at - 2:at + 1]] == [
        sample_line("cpu", 60000), activate_line("cpu", "hot"), activate_line("cpu", "hotter")]


def test_an_algorithm_wakes_again_after_it_has_gone_to_sleep(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.start()
    for round_ in range(1, 4):
        daemon.wait_writes("gpu", (["1", "0"] * round_)[:-1])
        daemon.set("cpu", 20000)
        daemon.wait_writes("gpu", ["1", "0"] * round_)
        daemon.set("cpu", 60000)
    daemon.wait_log(activate_line("cpu", "hot"), count=4)


# Virtual sensors.

class Skin:
    """A virtual sensor "skin", switched by "trip" and fed by "cpu" but for the keys given."""

    def __init__(self, daemon, trip=50000, source=50000, **keys):
        self.daemon = daemon
        daemon.sensor("cpu", source)
        daemon.sensor("trip", trip)
        self.add("skin", **keys)

    def add(self, name, **keys):
        self.daemon.section(name, "virtual", **{
            "sampling": FAST, "set_point": 40000, "set_point_clr": 30000, "sensors": "cpu",
            "weights": 1, "trip_sensor": "trip", **keys})

    def values(self, count, name="skin"):
        """The first values, as the log gives them."""
        start = f"[TalmorThermal] Sensor[{name}] temp("
        self.daemon.wait_log_start(start, count)
        return [int(line[len(start):-1]) for line in self.daemon.logs(start)[:count]]

    def is_sampled(self, name="skin"):
        """Whether the sensor has been computed in the passes after this moment's samples."""
        self.daemon.wait_samples("trip", 2)
        mark = self.daemon.mark()
        self.daemon.wait_samples("trip", 5, mark)
        return bool(self.daemon.logs(f"[TalmorThermal] Sensor[{name}] ", mark))

    def trip(self, temperature):
        self.daemon.set("trip", temperature)
        self.daemon.wait_log(sample_line("trip", temperature), since=self.daemon.mark())


@pytest.mark.parametrize("keys, values", [
    pytest.param({}, [50000, 100000, 150000, 200000], id="one-weight-accumulates"),
    pytest.param({"weights": 2}, [50000, 75000, 87500, 93750], id="weight-2-settles-at-twice"),
    pytest.param({"source": 30000, "sensors": "cpu trip", "weights": "1 3"}, [45000, 56250, 59062],
                 id="two-sources"),
    pytest.param({"weights": 3, "offsets": "1 2"}, [50100, 66800, 72366], id="offsets-times-100"),
    pytest.param({"weights": 2, "offsets": "-1000 -1"}, [-50, -75, -87], id="rounds-toward-zero"),
    pytest.param({"sensors": "cpu trip", "weights": "3 -3"}, [0, 0, 0], id="weights-that-sum-to-0"),
    pytest.param({"weights": None}, [0, 0, 0], id="no-weights"),
    pytest.param({"weights": -2}, [50000, 25000, 37500], id="negative-weight"),
    pytest.param({"weights": 2, "math": 7}, [50000, 75000], id="math-is-not-consulted"),
    pytest.param({"source": 2147483647}, [2147483647, -2, 2147483645], id="a-sum-that-wraps"),
    pytest.param({"source": -2147483648, "weights": -1}, [-2147483648, 0, -2147483648],
                 id="the-one-quotient-that-wraps"),
])
def test_a_virtual_sensor_combines_its_sources_with_its_last_value(daemon, keys, values):
    skin = Skin(daemon, **keys)
    daemon.start()
    assert skin.values(len(values)) == values


def test_a_virtual_sensor_of_a_virtual_sensor(daemon):
    skin = Skin(daemon, weights=2)
    skin.add("rim", sensors="skin", weights=1)
    daemon.start()
    assert skin.values(3, "rim") == [50000, 125000, 212500]


@pytest.mark.parametrize("temperature, sampled", [(39999, False), (40000, False), (40001, True)])
def test_a_trip_above_the_set_point_switches_a_virtual_sensor_on(daemon, temperature, sampled):
    skin = Skin(daemon, trip=temperature)
    daemon.start()
    assert skin.is_sampled() == sampled


@pytest.mark.parametrize("temperature, sampled", [(30001, True), (30000, True), (29999, False)])
def test_a_trip_below_the_clearing_point_switches_a_virtual_sensor_off(daemon, temperature,
                                                                       sampled):
    skin = Skin(daemon)
    skin.add("never", set_point=200000)  # as long as this one is off, the other can be switched off
    daemon.start()
    skin.values(1)
    skin.trip(temperature)
    assert skin.is_sampled() == sampled


def test_a_lone_virtual_sensor_is_never_switched_off(daemon):
    skin = Skin(daemon)
    daemon.start()
    skin.values(1)
    skin.trip(-40000)
    assert skin.is_sampled()


def test_once_all_virtual_sensors_are_on_none_is_switched_off(daemon):
    skin = Skin(daemon)
    skin.add("rim", set_point=45000, set_point_clr=44000)
    daemon.start()
    skin.values(1)
    skin.values(1, "rim")
    skin.trip(20000)
    assert skin.is_sampled("skin")
    assert skin.is_sampled("rim")


def test_a_virtual_sensor_goes_on_from_its_last_value_when_it_is_switched_on_again(daemon):
    skin = Skin(daemon, weights=2)
    skin.add("never", set_point=200000)
    daemon.start()
    skin.values(3)
    skin.trip(20000)
    assert not skin.is_sampled()
    start = "[TalmorThermal] Sensor[skin] temp("
    last = int(daemon.logs(start)[-1][len(start):-1])
    mark = daemon.mark()
    skin.trip(50000)
    daemon.wait_log_start(start, since=mark)
    assert daemon.logs(start, mark)[0] == virtual_line("skin", (last + 100000) // 2)


def test_a_virtual_sensor_has_the_thread_of_its_own_period(daemon):
    skin = Skin(daemon, trip=20000, sampling=30)
    daemon.start()
    assert not skin.is_sampled()
    skin.trip(50000)
    skin.values(5)
    virtual = daemon.wait_log_start("[TalmorThermal] Sensor[skin] ")
    assert virtual.thread != daemon.wait_samples("trip", 1).thread


def test_a_virtual_sensor_wakes_its_algorithms(daemon):
    skin = Skin(daemon, trip=20000)
    daemon.device("gpu")
    daemon.monitor("warm", sensor="skin", thresholds=100000, thresholds_clr=1)
    daemon.start()
    daemon.wait_samples("trip", 5)
    assert daemon.writes("gpu") == []
    skin.trip(50000)
    daemon.wait_writes("gpu", ["1"])
    logs = daemon.logs()
    at = logs.index(activate_line("skin", "warm"))
    assert logs.index(virtual_line("skin", 100000)) < at
    assert [value for value in skin.values(2)] == [50000, 100000]
    assert daemon.logs(monitor_line("warm"))[0].endswith(" status(0 -> 1)")

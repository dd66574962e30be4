"""The daemon on attributes of the kernel's own sysfs: the two ends of a virtual Ethernet pair.

The mtu of one end is the sensor's node, that of the other the device's.
"""

import pytest

from daemon import FAST, monitor_line, sample_line

SENSOR, DEVICE = "/sys/class/net/probe/mtu", "/sys/class/net/knob/mtu"
WITH_PAIR = ["sh", "-ec", 'ip link add probe type veth peer name knob; exec "$@"', "sh"]


@pytest.fixture
def pair(daemon):
    def start(level_table, levels):
        daemon.section("probe", "real", sampling=FAST, node_path=SENSOR)
        daemon.section("knob", "gpufreq", node_path=DEVICE, level_table=level_table)
        thresholds = [2000 + 1000 * i for i in range(len(levels))]
        daemon.monitor("hot", sensor="probe", thresholds=" ".join(map(str, thresholds)),
                       thresholds_clr=" ".join(str(value - 100) for value in thresholds),
                       actions=" ".join(["knob"] * len(levels)),
                       action_info=" ".join(map(str, levels)))
        daemon.start(prefix=WITH_PAIR, network=True)
        daemon.wait_log(sample_line("probe", 1500))
        return daemon
    return start


def mtu(daemon, end):
    words = daemon.box.run(["ip", "-o", "link", "show", "dev", end]).split()
    return int(words[words.index("mtu") + 1])


def set_probe(daemon, value):
    daemon.box.run(["ip", "link", "set", "dev", "probe", "mtu", str(value)])


def test_a_change_of_a_kernel_attribute_makes_the_daemon_write_another(pair):
    daemon = pair("1500 1400 1300", [1, 2])
    assert mtu(daemon, "knob") == 1500
    set_probe(daemon, 2000)
    daemon.wait(lambda: mtu(daemon, "knob") == 1400, "mtu 1400")
    set_probe(daemon, 3000)
    daemon.wait(lambda: mtu(daemon, "knob") == 1300, "mtu 1300")
    set_probe(daemon, 1500)
    daemon.wait(lambda: mtu(daemon, "knob") == 1500, "mtu 1500")
    assert [(event.data, event.offset) for event in daemon.write_events("mtu")] == [
        (b"1400", 0), (b"1300", 0), (b"1500", 0)]
    for value, old, new in ((2000, 0, 1), (3000, 1, 2), (1500, 2, 0)):
        assert monitor_line("hot", value, old, new) in daemon.logs()


def test_an_entry_that_the_driver_refuses_is_never_tried_again_while_the_level_goes_on(pair):
    daemon = pair("1500 1 1300", [1, 2])  # an mtu of 1 is refused
    set_probe(daemon, 2000)
    daemon.wait_log(monitor_line("hot", 2000, 1, 1), count=3)
    assert mtu(daemon, "knob") == 1500
    set_probe(daemon, 3000)
    daemon.wait_log(monitor_line("hot", 3000, 2, 2), count=3)
    # Neither is the refused entry tried again, late, nor does that of the next level get out.
    assert mtu(daemon, "knob") == 1500
    assert [event.data for event in daemon.write_events("mtu")] == [b"1"]

"""Worker threads: how they sleep, wake and keep their pace."""

from daemon import activate_line, monitor_line, sample_line, ss_line, ss_stop_line


def decisions_stop(board, start, clock="cpu"):
    """Whether no line that begins so is logged while a sensor is sampled ten times."""
    mark = board.mark()
    board.wait_samples(clock, 10, mark)
    return board.logs(start, mark) == []


def test_a_woken_worker_makes_its_first_pass_at_once(daemon):
    daemon.sensor("cpu")
    daemon.device("gpu")
    daemon.monitor("slow", sampling=20000)
    daemon.ss("step", sampling=20000, start_level=1)
    daemon.start()
    daemon.wait_samples("cpu", 3)
    daemon.set("cpu", 60000)
    woken = daemon.wait_log(activate_line("cpu", "step"))
    decided = [daemon.wait_log_start(start) for start in (monitor_line("slow"), ss_line("step"))]
    assert max(event.time for event in decided) - woken.time < 10


def test_a_worker_without_active_items_rests_until_the_next_activation(daemon):
    daemon.sensor("cpu")
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.ss("step", start_level=1, set_point=50000, set_point_clr=45000)
    daemon.start()
    assert decisions_stop(daemon, "[TalmorThermal] [TalmorThermal]")
    for _ in range(3):
        mark = daemon.mark()
        daemon.set("cpu", 60000)
        daemon.wait_log(monitor_line("hot", 60000, 0, 1), since=mark)
        daemon.wait_log_start(ss_line("step"), since=mark)
        daemon.set("cpu", 20000)
        daemon.wait_log(monitor_line("hot", 20000, 1, 0), since=mark)
        daemon.wait_log(ss_stop_line("step", 60000, 20000, 11), since=mark)
        assert decisions_stop(daemon, "[TalmorThermal] [TalmorThermal]")


def test_a_worker_goes_on_until_the_last_of_its_items_is_asleep(daemon):
    daemon.sensor("cpu", 60000)
    daemon.sensor("skin", 60000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.monitor("warm", sensor="skin")
    daemon.start()
    daemon.wait_decisions("hot", 2)
    daemon.wait_decisions("warm", 2)
    daemon.set("cpu", 20000)
    daemon.wait_log(monitor_line("hot", 20000, 1, 0))
    assert decisions_stop(daemon, monitor_line("hot"))
    daemon.wait_decisions("warm", 5)
    daemon.set("skin", 20000)
    daemon.wait_log(monitor_line("warm", 20000, 1, 0))
    assert decisions_stop(daemon, "[TalmorThermal] [TalmorThermal]")
    daemon.set("cpu", 60000)
    daemon.wait_log(monitor_line("hot", 60000, 0, 1), count=2)
    assert decisions_stop(daemon, monitor_line("warm"))


def test_the_items_of_a_worker_decide_in_the_order_of_the_file(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    for name in ("z", "a", "m"):
        daemon.monitor(name)
    daemon.start()
    for name in ("z", "a", "m"):
        daemon.wait_log_start(monitor_line(name))
    mark = daemon.mark()
    daemon.wait_log_start(monitor_line("m"), 4, mark)
    lines = daemon.logs("[TalmorThermal] [TalmorThermal] Monitor [", mark)
    names = "".join(line.split("[")[3][0] for line in lines)
    assert names[names.index("z"):].startswith("zam" * 3)


def test_a_slow_worker_does_not_hold_up_a_fast_one(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.monitor("slow", sampling=20000)
    daemon.monitor("fast", sampling=20)
    daemon.start()
    daemon.wait_log_start(monitor_line("slow"))
    daemon.wait_decisions("fast", 20)
    assert len(daemon.logs(monitor_line("slow"))) == 1


def test_a_slow_sensor_does_not_hold_up_a_fast_one(daemon):
    daemon.sensor("slow", 41000, sampling=20000)
    daemon.sensor("fast", 42000)
    daemon.start()
    daemon.wait_samples("fast", 30)
    assert daemon.logs("[TalmorThermal] Sensor [slow]") == [sample_line("slow", 41000)]


def test_a_decision_uses_the_temperature_of_the_last_sample(daemon):
    daemon.sensor("cpu", 60000, sampling=20000)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.start()
    daemon.wait_decisions("hot", 3)
    daemon.set("cpu", 20000)
    daemon.wait_decisions("hot", 10)
    assert set(daemon.logs(monitor_line("hot"))) == {
        monitor_line("hot", 60000, 0, 1), monitor_line("hot", 60000, 1, 1)}
    assert daemon.writes("gpu") == ["1"]


def test_a_resting_daemon_burns_no_time(daemon):
    daemon.sensor("cpu", sampling=100)
    daemon.device("gpu")
    daemon.monitor("hot")
    daemon.started()
    daemon.wait_samples("cpu", 2)
    before = daemon.processor_seconds()
    first = daemon.wait_samples("cpu", 1)
    last = daemon.wait_samples("cpu", 20)
    assert daemon.processor_seconds() - before < 0.25 * (last.time - first.time)

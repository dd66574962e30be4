"""The same model fitted by scipy.optimize.least_squares: exact steps, all of it vectors, a numerical
Jacobian. What thermalctl fit is held against."""

import numpy as np
from scipy.optimize import least_squares
from scipy.signal import lfilter


# As many as thermalctl fit takes, as far from the guess.
STARTS = 3
SPREAD = 0.9


def fit(plant, guess, loads, readings, random):
    """`guess` is a Plant with wrong numbers; gives the best numbers of all starts, by the names of both."""
    nodes = list(plant.capacities)
    edges = list(plant.resistances)
    powers = loads * np.array([watts for watts, _ in plant.sources.values()])
    heats = np.zeros((len(nodes), powers.shape[1]))
    for k, (_, shares) in enumerate(plant.sources.values()):
        for node, share in shares.items():
            heats[nodes.index(node), k] = share
    rows = np.arange(len(readings))

    def temperatures(values):
        capacities = np.exp(values[:len(nodes)])
        conductances = np.zeros((len(nodes), len(nodes)))
        for (one, other), value in zip(edges, np.exp(-values[len(nodes):len(nodes) + len(edges)])):
            i = nodes.index(one)
            conductances[i, i] += value
            if other != "ambient":
                j = nodes.index(other)
                conductances[j, j] += value
                conductances[i, j] -= value
                conductances[j, i] -= value
        root = np.sqrt(capacities)
        rates, vectors = np.linalg.eigh(conductances / np.outer(root, root))
        drives = powers @ (heats / root[:, None]).T @ vectors
        start = (values[len(nodes) + len(edges) + 1:] - plant.ambient) * root @ vectors
        state = np.empty((len(powers) + 1, len(nodes)))
        decay, gain = np.exp(-rates), (1 - np.exp(-rates)) / rates
        for m in range(len(nodes)):
            inputs = np.concatenate([[start[m]], gain[m] * drives[:, m]])
            state[:, m] = lfilter([1], [1, -decay[m]], inputs)
        clock = values[len(nodes) + len(edges)]
        whole = int(np.floor(clock))
        part = clock - whole
        at = np.clip(rows + whole, 0, len(powers) - 1)
        modes = np.exp(-rates * part) * state[at] + (1 - np.exp(-rates * part)) / rates * drives[at]
        return plant.ambient + modes @ vectors.T / root

    first = readings[0]
    begin = np.concatenate([np.log(list(guess.capacities.values())), np.log(list(guess.resistances.values())),
                            [0.5], first])
    spread = np.log(10)
    count = len(nodes) + len(edges)
    low = np.concatenate([begin[:count] - spread, [-60], first - 30])
    high = np.concatenate([begin[:count] + spread, [60], first + 30])

    def from_start(number):
        start = begin.copy()
        if number > 0:
            start[:count] += SPREAD * np.clip(random.normal(size=count), -1, 1)
        return least_squares(lambda values: (temperatures(values) - readings).ravel(), start, bounds=(low, high),
                             x_scale="jac", loss="soft_l1")

    best = min(map(from_start, range(STARTS)), key=lambda found: found.cost)
    numbers = np.exp(best.x[:count])
    return dict(zip(nodes, numbers)), dict(zip(edges, numbers[len(nodes):]))

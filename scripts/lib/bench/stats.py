"""Medians, their ratio, and how far the ratio can be trusted."""

import random
import statistics

RESAMPLES = 1000
CONFIDENCE = 0.95
NARROW = 0.02       # the widest interval of a ratio whose aim is TIGHT or less
TIGHT = 1.05
TOLD_APART = 0.05   # for other aims: of the aim, where the aim lies inside the interval


def summary(values):
    """Median, minimum, and the half of the values that lies around the median, as a part of it."""
    ordered = sorted(values)
    median = statistics.median(ordered)
    quarter = len(ordered) // 4
    spread = (ordered[-1 - quarter] - ordered[quarter]) / median if median else 0.0
    return {"median": median, "min": ordered[0], "spread": spread, "count": len(ordered)}


def ratio(ours, peer):
    """The ratio of the medians with its 95 % interval, by resampling. Values of the same round stand at the same
    place and are drawn together, so that what slows a whole round down tells nothing."""
    middle = statistics.median(ours) / statistics.median(peer)
    if len(ours) == 1 and len(peer) == 1:
        return middle, middle, middle
    # The same data give the same interval.
    source = random.Random(len(ours) * 1000003 + len(peer))
    paired = len(ours) == len(peer)
    found = []
    for _ in range(RESAMPLES):
        drawn = source.choices(range(len(ours)), k=len(ours))
        other = drawn if paired else source.choices(range(len(peer)), k=len(peer))
        found.append(statistics.median([ours[i] for i in drawn]) / statistics.median([peer[i] for i in other]))
    found.sort()
    edge = int(RESAMPLES * (1 - CONFIDENCE) / 2)
    return middle, found[edge], found[-1 - edge]


def is_settled(aim, low, high):
    """Whether more rounds would tell nothing that is asked for."""
    if aim is None:
        return True
    if aim <= TIGHT:
        return high - low <= NARROW
    return not low < aim < high or high - low <= TOLD_APART * aim


def is_met(aim, low):
    """An aim inside the interval counts as met."""
    return low <= aim

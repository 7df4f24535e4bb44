"""What was measured of a row in one world: side -> number -> values, in nanoseconds of CPU time or in the row's unit."""

import stats


class Samples:
    def __init__(self):
        self.sides = {}

    def add(self, side, argument, value):
        self.sides.setdefault(side, {}).setdefault(argument, []).append(value)

    def arguments(self):
        """In the order in which they were measured first, numbers by size."""
        found = list(self.sides.get("ours", {}))
        return sorted(found, key=int) if all(each.isdigit() for each in found) else found

    def values(self, side, argument):
        return self.sides.get(side, {}).get(argument, [])

    def fastest(self, sides, argument):
        there = [side for side in sides if self.values(side, argument)]
        return min(there, key=lambda side: stats.summary(self.values(side, argument))["median"], default=None)

    def point(self, peer, argument):
        """The comparison at one number, or None where the peer has no case there."""
        side = self.fastest(peer.sides, argument)
        if side is None:
            return None
        ours, other = self.values("ours", argument), self.values(side, argument)
        middle, low, high = stats.ratio(ours, other)
        aim = peer.aim if peer.aims_at(argument) else None
        if peer.absolute:
            middle = low = high = stats.summary(ours)["median"]
        return {"argument": argument, "side": side, "ours": stats.summary(ours), "peer": stats.summary(other),
                "ratio": middle, "low": low, "high": high, "aim": aim,
                "met": None if aim is None else stats.is_met(aim, low)}

    def comparisons(self, row):
        found = []
        for peer in row.peers:
            points = [point for point in (self.point(peer, each) for each in self.arguments()) if point]
            if points:
                found.append({"peer": peer.name, "what": peer.what, "aim": peer.aim, "why": peer.why,
                              "absolute": peer.absolute, "points": points})
        return found

    def is_settled(self, row):
        return all(stats.is_settled(point["aim"], point["low"], point["high"])
                   for comparison in self.comparisons(row) for point in comparison["points"]
                   if not comparison["absolute"])

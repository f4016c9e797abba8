"""What the figures are held to: the limits written by hand, the peers, and what is asked of two rows at once."""

import dataclasses

from bench_report.figures import MODULE, Figure

# What one writes oneself: with less than the row asks for (no lock, no layers, no answer beyond the value), or more
# simply than the limit. Neither a limit nor a peer. Everything else is a peer: what a C++ developer would otherwise pick.
COMPARISONS = ("ordered maps", "one merged table", "hash chain")
AHEAD = "ahead of every peer"


@dataclasses.dataclass(frozen=True)
class Bound:
    """What the module's figure of a row is held to.
    @param of "limit", or the unit of the figure. @param peers whether it is to be ahead of every peer besides."""

    row: str  # or its beginning
    most: float
    of: str = "limit"
    peers: bool = False


BOUNDS = (
    Bound("lookup", 1.5, peers=True),
    Bound("whole answer", 2),
    Bound("set", 4),
    Bound("live read", 60, "ns"),
    Bound("load", 1.6),
    Bound("save", 2),
    Bound("put in", 15e6, "ns"),
    Bound("memory of a key", 1),
    Bound("memory of a live", 700, "bytes"),
)


@dataclasses.dataclass(frozen=True)
class Verdict:
    """@param bound as text. @param unsure whether it could fall the other way within the spreads."""

    bound: str
    kept: bool
    unsure: bool

    def __str__(self):
        return f"{self.bound}: {'kept' if self.kept else 'missed'}{', unsure' if self.unsure else ''}"


@dataclasses.dataclass(frozen=True)
class Ratio:
    """One figure to another."""

    name: str
    own: Figure
    other: Figure

    @property
    def ratio(self):
        return self.own.median / self.other.median

    def held_to(self, most, bound):
        """@param bound as text."""
        kept = self.ratio <= most
        could_be_missed = self.own.most() > most * self.other.least()
        could_be_kept = self.own.least() <= most * self.other.most()
        return Verdict(bound, kept, could_be_missed if kept else could_be_kept)


def is_limit(name):
    return name.startswith("limit:")


def is_comparison(name):
    return name.startswith(COMPARISONS)


def is_peer(name):
    return name != MODULE and not is_limit(name) and not is_comparison(name)


def against_best(subjects, wanted):
    """The module's figure to the smallest among the subjects that are wanted; None if there is none of either."""
    name = min((name for name in subjects if wanted(name)), key=lambda name: subjects[name].figure.median, default=None)
    if name is None or MODULE not in subjects:
        return None
    return Ratio(name, subjects[MODULE].figure, subjects[name].figure)


def verdicts_of(row, subjects, shown):
    """What the module's figure of a row is held to, part by part. @param shown figure and unit -> text."""
    bound = next((bound for bound in BOUNDS if row.startswith(bound.row)), None)
    if bound is None or MODULE not in subjects:
        return []
    found = []
    if bound.of != "limit":
        own = Ratio(MODULE, subjects[MODULE].figure, Figure(1, unit=bound.of))
        found.append(own.held_to(bound.most, shown(bound.most, bound.of)))
    elif limit := against_best(subjects, is_limit):
        found.append(limit.held_to(bound.most, f"{bound.most:g} × limit"))
    if bound.peers and (peer := against_best(subjects, is_peer)):
        found.append(peer.held_to(1, AHEAD))
    return found


def relations(rows):
    """What is asked of two rows at once: pairs of a Ratio, named by what it tells, and how much it may be."""

    def own(beginning, figure="figure"):
        return {row: getattr(subjects[MODULE], figure) for row, subjects in rows.items()
                if row.startswith(beginning) and MODULE in subjects}

    stores = own("a store of")
    joins = [figure for row, figure in stores.items() if "joins" in row]
    replaced = [figure for row, figure in stores.items() if "replaced" in row]
    threads, live = list(own("read by").values()), list(own("live read").values())
    # A burst is many threads' work, and is measured by the clock.
    bursts, saves = list(own("burst", "by_the_clock").values()), list(own("save", "by_the_clock").values())
    found = []
    if len(joins) == 2:
        found.append((Ratio("a store that joins: 100,000 keys to 10,000", joins[1], joins[0]), 12))
    if len(replaced) == 2:
        found.append((Ratio("a store that is replaced: 100,000 keys to 10,000", replaced[1], replaced[0]), 12))
    if len(joins) == 2 and len(replaced) == 2:
        found.append((Ratio("a store that is replaced, to one that joins: 100,000 keys", replaced[1], joins[1]), 3))
    if len(threads) == 2:
        found.append((Ratio("a read of two threads to one of one", threads[1], threads[0]), 1))
    if bursts and saves:
        found.append((Ratio("a burst, in whole-file writes", bursts[0], saves[0]), 20))
    if len(live) == 2:
        found.append((Ratio("a live read among 100,000 to one among 1,000", live[1], live[0]), 1))
    return found

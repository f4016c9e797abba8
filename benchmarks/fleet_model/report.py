"""The tables of an outcome, and the same for machines."""

from . import costs
from .client import End
from .server import State

# What is told beside the fleet as it is given: a name, and what is different.
SCENARIOS = {
    "all well": {},
    "HomeUdsVersion set": {"knows_version": True},
    "servers in turn": {"in_turn": True},
    "in turn, HomeUdsVersion set": {"in_turn": True, "knows_version": True},
    "HTTP (version below 11), HomeUdsVersion set": {"secure": False, "knows_version": True},
    "beyond its places a server refuses": {"refuses": True},
    "first server silent": {"first": State.SILENT},
    "first server silent, HomeUdsVersion set": {"first": State.SILENT, "knows_version": True},
    "first server silent, in turn": {"first": State.SILENT, "in_turn": True},
    "first server's ports closed": {"first": State.CLOSED},
    "first server slow": {"first": State.SLOW},
    "telephony connects at the edge": {"edge": 1.0},
}

COLUMNS = ("scenario", "version queries", "file requests", "connections", "GB", "most a second at one server: requests",
           "Mbit", "of its cores", "most connections at once", "unanswered in time", "refused", "clients without file",
           "wait: half, 99 %, longest", "last file after")


def peak(servers, counter):
    return max(max(getattr(server, counter).values(), default=0) for server in servers)


def share(waits, part):
    """The wait that a part of the served clients does not exceed, in seconds; none if nobody was served."""
    return sorted(waits)[min(len(waits) - 1, int(part * len(waits)))] if waits else None


def counts(outcome):
    """What is counted in an outcome, under names that stay."""
    asked = outcome.asked
    return {
        "versionQueries": asked[costs.VERSION],
        "fileRequests": asked[costs.SECURE_FILE] + asked[costs.PLAIN_FILE],
        "connections": sum(sum(server.taken.values()) for server in outcome.servers),
        "bytesUp": sum(server.up for server in outcome.servers),
        "bytesDown": sum(server.down for server in outcome.servers),
        "peakRequestsPerSecond": peak(outcome.servers, "taken_in_second"),
        "peakBitsPerSecond": 8 * peak(outcome.servers, "bytes_in_second"),
        "mostConnectionsAtOnce": max(server.most_open for server in outcome.servers),
        "answered": outcome.answered,
        "answeredTooLate": outcome.late,
        "neverTakenOn": outcome.lost,
        "refused": outcome.refused,
        "served": outcome.ends[End.DELIVERED],
        "everyServerFailed": outcome.ends[End.EXHAUSTED],
        "noVersion": outcome.ends[End.STALLED],
    }


def answer(outcome, one_for=1):
    """The figures of an outcome in which one client stands for many: counts, and what does not grow with clients."""
    return {
        **{name: number * one_for for name, number in counts(outcome).items()},
        "busiestSecond": round(max(server.busiest() for server in outcome.servers), 3),
        "waitHalf": share(outcome.waits, 0.5),
        "wait99": share(outcome.waits, 0.99),
        "waitLongest": share(outcome.waits, 1),
        "lastFileAfter": outcome.last,
    }


def seconds(value):
    return "-" if value is None else f"{value:.2f}" if value < 1 else f"{value:.1f}" if value < 10 else f"{value:.0f}"


def row(name, figures):
    """A line of the table in Markdown."""
    size = (figures["bytesUp"] + figures["bytesDown"]) / 1e9
    waits = ", ".join(seconds(figures[wait]) for wait in ("waitHalf", "wait99", "waitLongest"))
    cells = (name, f"{figures['versionQueries']:,}", f"{figures['fileRequests']:,}", f"{figures['connections']:,}",
             f"{size:.2f}", f"{figures['peakRequestsPerSecond']:,}", f"{figures['peakBitsPerSecond'] / 1e6:.0f}",
             f"{100 * figures['busiestSecond']:.0f} %", f"{figures['mostConnectionsAtOnce']:,}",
             f"{figures['answeredTooLate'] + figures['neverTakenOn']:,}", f"{figures['refused']:,}",
             f"{figures['everyServerFailed'] + figures['noVersion']:,}", f"{waits} s",
             f"{seconds(figures['lastFileAfter'])} s")
    return "| " + " | ".join(cells) + " |"


def heading():
    return "| " + " | ".join(COLUMNS) + " |\n|---" + "|--:" * (len(COLUMNS) - 1) + "|"

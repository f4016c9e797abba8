"""The figures of a run: what its repetitions say of each subject of each row."""

import dataclasses
import re
import statistics

MODULE = "corvid"
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}

# How the rows of a family begin, in the order of the tables.
FAMILIES = ("lookup", "whole answer", "set", "live read", "read by", "load", "save", "burst", "put in", "a store",
            "memory")


@dataclasses.dataclass(frozen=True)
class Figure:
    """A median, and half the distance between the quartiles in per cent of it."""

    median: float
    spread_percent: float = 0
    unit: str = "ns"

    def least(self):
        return self.median * (1 - self.spread_percent / 100)

    def most(self):
        return self.median * (1 + self.spread_percent / 100)


@dataclasses.dataclass(frozen=True)
class Subject:
    """What a subject of a row takes: in the row's own measure, and by the clock."""

    figure: Figure
    by_the_clock: Figure
    repetitions: int


def family_of(row):
    """The place of its family among all, one behind the last for a row of none."""
    return next((place for place, beginning in enumerate(FAMILIES) if row.startswith(beginning)), len(FAMILIES))


def place_of(row):
    """Where a row stands: numbers in its name count as numbers, and a miss comes after every layer."""
    numbers = [int(number) for number in re.findall("[0-9]+", row)]
    return family_of(row), re.sub("[0-9]+.*|miss", "", row), numbers + [9] * row.endswith("miss"), row


def figure_of(values, unit):
    median = statistics.median(values)
    low, _, high = statistics.quantiles(values, n=4) if len(values) > 1 else (median,) * 3
    return Figure(median, round(50 * (high - low) / median, 1) if median else 0, unit)


def read_rows(runs):
    """Row to subject's name to Subject, in the order of the tables. @param runs as Google Benchmark tells of them: a
    benchmark is named ROW/SUBJECT."""
    rows = {}
    for run in runs:
        if run.get("run_type") != "iteration" or run.get("error_occurred"):
            continue
        row, subject = run["name"].split("/")[:2]
        elapsed = run["real_time"] * NANOSECONDS[run["time_unit"]]
        if "bytes" in run:
            measured = (run["bytes"], "bytes", elapsed)
        elif "real_time" in run["name"]:
            measured = (elapsed, "ns", elapsed)
        else:
            measured = (run["cpu_time"] * NANOSECONDS[run["time_unit"]], "ns", elapsed)
        rows.setdefault(row, {}).setdefault(subject, []).append(measured)
    return {row: {name: subject_of(measured) for name, measured in rows[row].items()}
            for row in sorted(rows, key=place_of)}


def subject_of(measured):
    values, units, elapsed = zip(*measured)
    return Subject(figure_of(values, units[0]), figure_of(elapsed, "ns"), len(values))

"""The tables of a run, in Markdown."""

from bench_report import verdicts
from bench_report.figures import FAMILIES, MODULE, family_of

LARGEST_MODULE = 1.5e6


def shown(figure, unit):
    if unit == "bytes":
        return f"{figure:.0f} B"
    for size, name in ((1e6, "ms"), (1e3, "µs")):
        if figure >= 10 * size or (name == "ms" and figure >= size):
            return f"{figure / size:.{1 if figure < 100 * size else 0}f} {name}"
    return f"{figure:.0f} ns"


def with_spread(figure):
    return f"{shown(figure.median, figure.unit)} ± {figure.spread_percent:.0f} %"


def line(cells):
    return "| " + " | ".join(cells) + " |"


def main_table(rows):
    """The module's figure of each row beside its limit, its best peer and the best comparison, and its bounds."""
    yield "| work | module | limit | × limit | best peer | × peer | comparison | × it | at most |"
    yield "|---|--:|--:|--:|---|--:|---|--:|---|"
    for row, subjects in rows.items():
        if MODULE not in subjects:
            continue
        cells = [row, with_spread(subjects[MODULE].figure)]
        limit = verdicts.against_best(subjects, verdicts.is_limit)
        cells += [with_spread(limit.other), f"{limit.ratio:.2f}"] if limit else ["", ""]
        for wanted in (verdicts.is_peer, verdicts.is_comparison):
            best = verdicts.against_best(subjects, wanted)
            cells += [f"{best.name}, {with_spread(best.other)}", f"{best.ratio:.2f}"] if best else ["", ""]
        cells.append("; ".join(map(str, verdicts.verdicts_of(row, subjects, shown))))
        yield line(cells)


def relations_table(found, size):
    """@param found relations with what they may be. @param size of the stripped module in bytes."""
    yield "| relation | ratio | at most |"
    yield "|---|--:|---|"
    for ratio, most in found:
        yield line([ratio.name, f"{ratio.ratio:.2f}", str(ratio.held_to(most, str(most)))])
    of_size = verdicts.Verdict(f"{LARGEST_MODULE / 1e6} MB", size < LARGEST_MODULE, False)
    yield line(["the stripped module", f"{size / 1e6:.2f} MB", str(of_size)])


def subject_tables(rows):
    """A table for each family of rows, with a column for each subject that has a figure there."""
    for family in range(len(FAMILIES) + 1):
        members = {row: subjects for row, subjects in rows.items() if family_of(row) == family}
        if not members:
            continue
        names = sorted({name for subjects in members.values() for name in subjects}, key=column_of)
        yield ""
        yield line(["work", *("module" if name == MODULE else name for name in names)])
        yield "|---|" + "--:|" * len(names)
        for row, subjects in members.items():
            yield line([row, *(with_spread(subjects[name].figure) if name in subjects else "" for name in names)])


def column_of(name):
    """Where a subject's column stands: the module, the limits, the peers, the comparisons."""
    kinds = (name == MODULE, verdicts.is_limit(name), verdicts.is_peer(name), verdicts.is_comparison(name))
    return kinds.index(True), name.lower()

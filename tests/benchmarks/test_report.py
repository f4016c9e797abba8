"""
The report of a benchmark run: which subject is the best peer, which bounds are kept, and which verdicts are unsure.
"""

import importlib.machinery
import importlib.util
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
BENCHMARKS = pathlib.Path(__file__).resolve().parents[2] / "benchmarks"
sys.path.insert(0, str(BENCHMARKS))

from bench_report import figures, machine, tables, verdicts  # noqa: E402

LOOKUP = "lookup, 1000 keys a layer, layer 1"


def load_script():
    loader = importlib.machinery.SourceFileLoader("report", str(BENCHMARKS / "report"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("report", loader))
    loader.exec_module(module)
    return module


SCRIPT = load_script()


def run(name, cpu, real=None, **more):
    """One repetition, as Google Benchmark tells of it."""
    return {"name": name, "run_type": "iteration", "cpu_time": cpu, "real_time": cpu if real is None else real,
            "time_unit": "ns", **more}


def subjects(spread=0, **medians):
    """Subjects by what they are: a figure each, all with the same spread."""
    names = {"module": "corvid", "limit": "limit: hash chain", "maps": "ordered maps", "merged": "one merged table",
             "alone": "hash chain, value alone"}
    made = {names.get(word, word): figures.Figure(median, spread) for word, median in medians.items()}
    return {name: figures.Subject(figure, figure, 7) for name, figure in made.items()}


def told(row, found):
    return [str(verdict) for verdict in verdicts.verdicts_of(row, found, tables.shown)]


class Figures(unittest.TestCase):
    def test_are_the_median_of_the_repetitions_and_half_the_distance_of_the_quartiles(self):
        rows = figures.read_rows(run("set/corvid", cpu) for cpu in (90, 110, 100, 80, 120))
        self.assertEqual(rows["set"]["corvid"].figure, figures.Figure(100, 15.0, "ns"))
        self.assertEqual(rows["set"]["corvid"].repetitions, 5)

    def test_leave_out_summaries_and_what_has_failed(self):
        self.assertEqual(figures.read_rows([{"run_type": "aggregate", "name": "set/corvid_mean"},
                                            run("set/corvid", 1, error_occurred=True)]), {})

    def test_are_by_the_clock_where_that_is_measured_and_in_bytes_where_those_are(self):
        rows = figures.read_rows([run("burst/corvid/real_time", 5, 7, time_unit="ms"), run("save/corvid", 5, 7),
                                  run("memory/corvid", 5, bytes=260)])
        self.assertEqual(rows["burst"]["corvid"].figure.median, 7e6)
        self.assertEqual((rows["save"]["corvid"].figure.median, rows["save"]["corvid"].by_the_clock.median), (5, 7))
        self.assertEqual(rows["memory"]["corvid"].figure, figures.Figure(260, 0, "bytes"))

    def test_stand_in_the_order_of_families_layers_and_numbers(self):
        rows = ["memory", "other", "set", "lookup, 1000 keys, miss", "lookup, 1000 keys, layer 8",
                "lookup, 100 keys, miss", "lookup, 1000 keys, layer 1"]
        self.assertEqual(sorted(rows, key=figures.place_of),
                         ["lookup, 100 keys, miss", "lookup, 1000 keys, layer 1", "lookup, 1000 keys, layer 8",
                          "lookup, 1000 keys, miss", "set", "memory", "other"])


class TheBestPeer(unittest.TestCase):
    def best(self, found, wanted):
        return verdicts.against_best(found, wanted).name

    def test_is_the_fastest_of_what_one_would_otherwise_pick(self):
        found = subjects(module=50, limit=1, maps=2, merged=3, alone=4, POCO=30, KConfig=20)
        found["GKeyFile (INI)"] = figures.Subject(figures.Figure(10), figures.Figure(10), 7)
        self.assertEqual(self.best(found, verdicts.is_peer), "GKeyFile (INI)")

    def test_is_neither_a_limit_nor_what_one_writes_oneself(self):
        found = subjects(module=50, limit=1, maps=2, merged=3, alone=4)
        self.assertIsNone(verdicts.against_best(found, verdicts.is_peer))
        self.assertEqual(self.best(found, verdicts.is_comparison), "ordered maps")
        self.assertEqual(self.best(found, verdicts.is_limit), "limit: hash chain")

    def test_is_set_against_the_module_alone(self):
        self.assertIsNone(verdicts.against_best(subjects(POCO=3), verdicts.is_peer))
        self.assertEqual(verdicts.against_best(subjects(module=6, POCO=3), verdicts.is_peer).ratio, 2)

    def test_is_of_a_kind_whatever_the_subject_is(self):
        sources = "".join(path.read_text(encoding="utf-8") for path in sorted((BENCHMARKS / "limits").glob("*.cpp")))
        for name in verdicts.COMPARISONS:
            self.assertIn(f'"{name}', sources)
        self.assertNotIn('"floor:', sources)


class ALookup(unittest.TestCase):
    def test_is_to_be_near_the_limit_and_ahead_of_every_peer(self):
        for module, limit, peer, expected in (
            (75, 50, 80, ["1.5 × limit: kept", "ahead of every peer: kept"]),
            (75, 50, 70, ["1.5 × limit: kept", "ahead of every peer: missed"]),
            (76, 50, 80, ["1.5 × limit: missed", "ahead of every peer: kept"]),
            (76, 50, 70, ["1.5 × limit: missed", "ahead of every peer: missed"]),
        ):
            self.assertEqual(told(LOOKUP, subjects(module=module, limit=limit, POCO=peer)), expected)

    def test_is_not_held_to_what_one_writes_oneself(self):
        self.assertEqual(told(LOOKUP, subjects(module=75, limit=50, POCO=80, maps=1, merged=1)),
                         ["1.5 × limit: kept", "ahead of every peer: kept"])

    def test_is_held_to_what_was_measured(self):
        self.assertEqual(told(LOOKUP, subjects(module=75)), [])
        self.assertEqual(told(LOOKUP, subjects(limit=75, POCO=3)), [])


class OtherRows(unittest.TestCase):
    def test_are_held_to_their_own_bounds(self):
        for row, most in (("whole answer", 2), ("set", 4), ("load", 1.6), ("save", 2), ("memory of a key", 1)):
            self.assertEqual(told(row, subjects(module=100 * most, limit=100, POCO=1)), [f"{most} × limit: kept"])
            self.assertEqual(told(row, subjects(module=101 * most, limit=100, POCO=1)), [f"{most} × limit: missed"])
        self.assertEqual(told("live read, 1000", subjects(module=60)), ["60 ns: kept"])
        self.assertEqual(told("live read, 1000", subjects(module=61)), ["60 ns: missed"])
        self.assertEqual(told("put in", subjects(module=15.1e6)), ["15.0 ms: missed"])
        self.assertEqual(told("memory of a live value", subjects(module=701)), ["700 B: missed"])
        self.assertEqual(told("burst", subjects(module=1, limit=9)), [])


class AVerdict(unittest.TestCase):
    def test_is_unsure_where_it_could_fall_either_way_within_the_spreads(self):
        for module, spread, expected in (
            (200, 0, "2 × limit: kept"),
            (200, 1, "2 × limit: kept, unsure"),
            (201, 1, "2 × limit: missed, unsure"),
            (180, 5, "2 × limit: kept"),
            (182, 5, "2 × limit: kept, unsure"),
            (221, 5, "2 × limit: missed, unsure"),
            (222, 5, "2 × limit: missed"),
        ):
            self.assertEqual(told("save", subjects(spread, module=module, limit=100)), [expected])

    def test_is_unsure_in_each_half_by_itself(self):
        self.assertEqual(told(LOOKUP, subjects(3, module=100, limit=90, POCO=103)),
                         ["1.5 × limit: kept", "ahead of every peer: kept, unsure"])

    def test_of_a_number_minds_the_spread_of_the_module_alone(self):
        self.assertEqual(told("live read", subjects(5, module=58)), ["60 ns: kept, unsure"])
        self.assertEqual(told("live read", subjects(5, module=57)), ["60 ns: kept"])


class Relations(unittest.TestCase):
    ROWS = {"a store of 10000 keys joins": 10, "a store of 100000 keys joins": 121,
            "a store of 10000 keys is replaced": 33, "a store of 100000 keys is replaced": 363, "read by 1 thread": 100,
            "read by 2 threads": 95, "burst of 10000 changes": 30, "save 10000 entries": 2,
            "live read, 1000 live values": 20, "live read, 100000 live values": 21}

    def test_are_found_between_two_rows(self):
        found = verdicts.relations({row: subjects(module=median) for row, median in self.ROWS.items()})
        shown = [(ratio.name, round(ratio.ratio, 2), str(ratio.held_to(most, str(most)))) for ratio, most in found]
        self.assertEqual(shown, [
            ("a store that joins: 100,000 keys to 10,000", 12.1, "12: missed"),
            ("a store that is replaced: 100,000 keys to 10,000", 11, "12: kept"),
            ("a store that is replaced, to one that joins: 100,000 keys", 3, "3: kept"),
            ("a read of two threads to one of one", 0.95, "1: kept"),
            ("a burst, in whole-file writes", 15, "20: kept"),
            ("a live read among 100,000 to one among 1,000", 1.05, "1: missed"),
        ])

    def test_take_a_burst_and_a_save_by_the_clock(self):
        rows = {row: {"corvid": figures.Subject(figures.Figure(1), figures.Figure(clock), 7)}
                for row, clock in (("burst", 50), ("save", 2))}
        self.assertEqual([ratio.ratio for ratio, _ in verdicts.relations(rows)], [25])

    def test_mind_the_spreads_of_both_rows(self):
        rows = {"read by 1 thread": subjects(5, module=100), "read by 2 threads": subjects(5, module=105)}
        (ratio, most), = verdicts.relations(rows)
        self.assertEqual(str(ratio.held_to(most, "1")), "1: missed, unsure")

    def test_need_both_rows(self):
        for row in self.ROWS:
            self.assertEqual(verdicts.relations({row: subjects(module=1)}), [])


class TheMachine(unittest.TestCase):
    def test_has_the_model_of_its_processor(self):
        self.assertEqual(machine.processor_model("processor\t: 0\nmodel name\t: Some Processor 9\nflags\t: a b\n"),
                         "Some Processor 9")
        self.assertEqual(machine.processor_model(""), "unknown")

    def test_has_the_compiler_that_made_the_module(self):
        self.assertEqual(machine.compiler_of(b"\0x\0GCC: (Debian 12.2.0-14) 12.2.0\0.bss"),
                         "GCC (Debian 12.2.0-14) 12.2.0")
        self.assertEqual(machine.compiler_of(b"\0Debian clang version 14.0.6\0"), "clang version 14.0.6")
        self.assertEqual(machine.compiler_of(b""), "unknown")

    def test_has_the_versions_of_the_libraries_that_are_there(self):
        installed = {"a": "2.9.14+dfsg-1.3~deb12u6", "b": "1.74.0.3", "c": "1:5.15-2"}
        found = machine.versions([("A", "a"), ("B", "b"), ("C", "c"), ("D", "d")], lambda name: installed.get(name, ""))
        self.assertEqual(found, {"A": "2.9.14", "B": "1.74.0.3", "C": "5.15"})


class TheScript(unittest.TestCase):
    RAW = {"context": {"num_cpus": 2, "mhz_per_cpu": 2600, "load_avg": [0.5, 1, 2], "date": "2026-01-02T03:04:05"},
           "benchmarks": [run(f"{LOOKUP}/corvid", 70), run(f"{LOOKUP}/limit: hash chain", 50),
                          run(f"{LOOKUP}/POCO", 60), run(f"{LOOKUP}/ordered maps", 35),
                          run("live read, 1000 live values/corvid", 20)]}

    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as directory:
            folder = pathlib.Path(directory)
            (folder / "raw.json").write_text(json.dumps(cls.RAW), encoding="utf-8")
            (folder / "module.so").write_bytes(b"GCC: (Some 12) 12.2.0\0")
            files = [folder / name for name in ("module.so", "out.json", "raw.json")]
            done = subprocess.run([BENCHMARKS / "report", *files], capture_output=True, text=True, check=True)
            cls.page, cls.written = done.stdout, json.loads((folder / "out.json").read_text(encoding="utf-8"))

    def test_sets_the_module_beside_limit_peer_and_comparison_with_their_spreads(self):
        self.assertIn(f"\n| {LOOKUP} | 70 ns ± 0 % | 50 ns ± 0 % | 1.40 | POCO, 60 ns ± 0 % | 1.17 | ordered maps, "
                      "35 ns ± 0 % | 2.00 | 1.5 × limit: kept; ahead of every peer: missed |\n", self.page)
        self.assertIn("\n| live read, 1000 live values | 20 ns ± 0 % |  |  |  |  |  |  | 60 ns: kept |\n", self.page)

    def test_has_a_table_of_each_family_with_every_subject(self):
        self.assertIn("\n## Every subject of every row\n", self.page)
        self.assertIn("\n| work | module | limit: hash chain | POCO | ordered maps |\n|---|--:|--:|--:|--:|\n"
                      f"| {LOOKUP} | 70 ns ± 0 % | 50 ns ± 0 % | 60 ns ± 0 % | 35 ns ± 0 % |\n\n"
                      "| work | module |\n|---|--:|\n| live read, 1000 live values | 20 ns ± 0 % |\n", self.page)

    def test_leaves_a_place_empty_where_a_subject_has_no_figure(self):
        rows = {"set a": subjects(module=1, POCO=2), "set b": subjects(module=3)}
        self.assertEqual(list(tables.subject_tables(rows))[3:],
                         ["| set a | 1 ns ± 0 % | 2 ns ± 0 % |", "| set b | 3 ns ± 0 % |  |"])

    def test_tells_of_the_machine_below_the_table(self):
        line = next(line for line in self.page.splitlines() if line.startswith("Machine: "))
        self.assertIn(", 2 cores at 2600 MHz, load 0.50, 1.00, 2.00 at the start, 2026-01-02. "
                      "Compiler: GCC (Some 12) 12.2.0. Libraries: ", line)
        self.assertEqual(self.written["machine"]["compiler"], "GCC (Some 12) 12.2.0")
        self.assertIn("libraries", self.written["machine"])
        self.assertTrue(self.written["machine"]["processor"])

    def test_writes_figures_and_verdicts_for_machines(self):
        row = self.written["rows"][LOOKUP]
        self.assertEqual(row["subjects"]["POCO"],
                         {"median": 60, "spread_percent": 0, "unit": "ns", "by_the_clock": 60, "repetitions": 1})
        self.assertEqual((row["limit"], row["best_peer"], row["comparison"]),
                         ({"name": "limit: hash chain", "ratio": 1.4}, {"name": "POCO", "ratio": 1.17},
                          {"name": "ordered maps", "ratio": 2}))
        self.assertEqual(row["verdicts"], [{"bound": "1.5 × limit", "kept": True, "unsure": False},
                                           {"bound": "ahead of every peer", "kept": False, "unsure": False}])
        self.assertEqual(self.written["stripped_module_bytes"], 22)

    def test_holds_the_module_to_its_size(self):
        self.assertIn("\n| the stripped module | 0.00 MB | 1.5 MB: kept |\n", self.page)
        self.assertIn("| the stripped module | 1.50 MB | 1.5 MB: missed |", list(tables.relations_table([], 1500000)))

    def test_says_how_it_is_used(self):
        done = subprocess.run([BENCHMARKS / "report", "one"], capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (1, "report: expected STRIPPED-MODULE OUT.json RAW.json...\n"))


if __name__ == "__main__":
    unittest.main()

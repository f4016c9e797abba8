"""
The counts of instructions: what grows by more than the tolerance fails, and so does what takes more of its limit than
it may, or more than it is known to.
"""

import contextlib
import importlib.machinery
import importlib.util
import io
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

sys.dont_write_bytecode = True
BENCHMARKS = pathlib.Path(__file__).resolve().parents[2] / "benchmarks"


def load_script():
    loader = importlib.machinery.SourceFileLoader("count_instructions", str(BENCHMARKS / "count-instructions"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("count_instructions", loader))
    sys.modules["count_instructions"] = module  # where its classes look for themselves
    loader.exec_module(module)
    return module


SCRIPT = load_script()


def said_by(function, *arguments):
    """What a function gives back, and the lines that it prints."""
    output = io.StringIO()
    with contextlib.redirect_stdout(output):
        result = function(*arguments)
    return result, output.getvalue().splitlines()


class ACount(unittest.TestCase):
    def expect(self, number, well, line):
        self.assertEqual(said_by(SCRIPT.compare, {"load": 100000}, {"load": number}),
                         (well, [f"load: {number} instructions, {line}"]))

    def test_may_grow_by_three_per_cent(self):
        self.expect(100000, True, "+0.0%: well")
        self.expect(102000, True, "+2.0%: well")
        self.expect(102900, True, "+2.9%: well")
        self.expect(103100, False, "+3.1%: more than allowed")
        self.expect(104000, False, "+4.0%: more than allowed")

    def test_may_fall_as_far_and_is_to_be_written_down_if_it_has_fallen_further(self):
        self.expect(97100, True, "-2.9%: well")
        self.expect(96900, False, "-3.1%: less than is known: write the file anew")
        self.expect(50000, False, "-50.0%: less than is known: write the file anew")

    def test_is_to_be_in_the_file_and_in_the_program(self):
        self.assertEqual(said_by(SCRIPT.compare, {}, {"load": 7}),
                         (False, ["load: 7 instructions, and nothing to compare with; write the file anew"]))
        self.assertEqual(said_by(SCRIPT.compare, {"load": 7}, {}),
                         (False, ["load: is in the file, and is counted no more; write the file anew"]))

    def test_fails_among_others_that_are_well(self):
        known = {"a": 100, "b": 100, "c": 100}
        self.assertEqual(said_by(SCRIPT.compare, known, {"a": 100, "b": 104, "c": 100})[0], False)


class ALimit(unittest.TestCase):
    REASON = SCRIPT.Excess(5.1, "an observer is told")

    def expect(self, excesses, count, well, line):
        found = said_by(SCRIPT.hold_to_limits, excesses, {"set-and-observer": count, "limit-set": 100})
        self.assertEqual(found, (well, [f"set-and-observer: {line}"]))

    def test_may_be_taken_as_often_as_is_told(self):
        self.expect({}, 400, True, "4.00 times its limit, 4 allowed: well")
        self.expect({}, 401, False, "4.01 times its limit, 4 allowed: more than allowed")

    def test_may_be_exceeded_as_far_as_is_known_and_the_reason_is_told(self):
        known = {"set-and-observer": self.REASON}
        self.expect(known, 510, True, "5.10 times its limit, 4 allowed: known to be 5.1: an observer is told")
        self.expect(known, 525, True, "5.25 times its limit, 4 allowed: known to be 5.1: an observer is told")
        self.expect(known, 526, False, "5.26 times its limit, 4 allowed: more than the 5.1 that is known")
        self.expect(known, 400, True, "4.00 times its limit, 4 allowed: well again: write the file anew")

    def test_is_asked_of_every_operation_that_has_one(self):
        bounds = {operation: most for operation, _, most in SCRIPT.BOUNDS}
        self.assertEqual(bounds, {"lookup-layer-1": 1.5, "lookup-layer-8": 1.5, "lookup-miss": 1.5, "whole-answer": 2,
                                  "set-and-observer": 4, "load": 1.6, "save": 2,
                                  "join-100000": 12, "replace-100000": 12, "replace": 3})
        for operation, limit, most in SCRIPT.BOUNDS:
            for times, well in ((most, True), (1.01 * most, False)):
                counts = {operation: 1000 * times, limit: 1000}
                self.assertEqual(said_by(SCRIPT.hold_to_limits, {}, counts)[0], well, operation)

    def test_is_missed_where_an_excess_is_known_of_what_has_none(self):
        found = said_by(SCRIPT.hold_to_limits, {"start": self.REASON}, {"start": 7})
        self.assertEqual(found, (False, ["start: is known to take more than its limit allows, and has none; "
                                         "write the file anew"]))


class AnExcess(unittest.TestCase):
    def lowered(self, ratio, count):
        excesses = SCRIPT.lowered({"save": SCRIPT.Excess(ratio, "why")}, {"save": count, "limit-save": 100})
        return {operation: excess.ratio for operation, excess in excesses.items()}

    def test_falls_and_never_rises(self):
        self.assertEqual(self.lowered(5.1, 453), {"save": 4.53})
        self.assertEqual(self.lowered(5.1, 520), {"save": 5.1})

    def test_goes_when_the_bound_is_kept_or_there_is_none(self):
        self.assertEqual(self.lowered(5.1, 200), {})
        self.assertEqual(SCRIPT.lowered({"gone": SCRIPT.Excess(5.1, "why")}, {"save": 1}), {})


class TheFile(unittest.TestCase):
    def test_is_read_as_it_is_written(self):
        known = SCRIPT.Known("compiler 12", {"save": 7, "limit-save": 2}, {"save": SCRIPT.Excess(3.5, "it is so")})
        lines = list(SCRIPT.lines_of(known))
        self.assertEqual(lines[1:4] + lines[5:],
                         ["# Made of: compiler 12", "save 7", "limit-save 2", "known: save 3.5 it is so"])
        self.assertEqual(SCRIPT.parse(lines), known)

    def test_in_the_tree_has_every_operation_and_every_limit(self):
        text = (BENCHMARKS / "instructions.txt").read_text(encoding="utf-8")
        known = SCRIPT.parse(text.splitlines())
        source = (BENCHMARKS / "instructions/main.cpp").read_text(encoding="utf-8")
        self.assertEqual(list(known.counts), re.findall(r'^        \{"([\w-]+)", 1', source, re.MULTILINE))
        self.assertEqual(sorted(name for name in known.counts if name.startswith("limit-")),
                         sorted(limit for _, limit, _ in SCRIPT.BOUNDS if limit.startswith("limit-")))
        for operation, limit, _ in SCRIPT.BOUNDS:
            self.assertIn(operation, known.counts)
            self.assertIn(limit, known.counts)
        self.assertEqual(text, "".join(line + "\n" for line in SCRIPT.lines_of(known)))

    def test_in_the_tree_keeps_every_bound_or_tells_why_not(self):
        known = SCRIPT.parse((BENCHMARKS / "instructions.txt").read_text(encoding="utf-8").splitlines())
        well, lines = said_by(SCRIPT.hold_to_limits, known.excesses, known.counts)
        self.assertTrue(well, lines)
        self.assertEqual(SCRIPT.lowered(known.excesses, known.counts), known.excesses)


# Stands in for valgrind, and for the program: each operation takes 5 turns of as many instructions as a file says, and
# "replace" $REPLACE times as many.
VALGRIND = """#!/bin/sh
for operation; do :; done
case "$operation" in replace) times=${REPLACE:-1} ;; *) times=1 ;; esac
echo "==1== Collected : $(($(cat "$COUNTED") * 5 * times))" >&2
echo 5
"""
PROGRAM = """#!/bin/sh
case "$1" in
  --made-of) echo compiler 12 ;;
  '') echo ${OPERATIONS:-save} ;;
esac
"""


class TheScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name, text in (("valgrind", VALGRIND), ("program", PROGRAM)):
            (self.folder / name).write_text(text, encoding="utf-8")
            (self.folder / name).chmod(0o755)
        self.file = self.folder / "instructions.txt"

    def run_with(self, count, *arguments, path=None):
        (self.folder / "count").write_text(str(count), encoding="utf-8")
        environment = {**os.environ, "COUNTED": str(self.folder / "count"),
                       "PATH": f"{self.folder}:{os.environ['PATH']}" if path is None else path}
        return subprocess.run([sys.executable, BENCHMARKS / "count-instructions", self.folder / "program", self.file,
                               *arguments], capture_output=True, text=True, check=False, env=environment)

    def test_fails_when_a_count_has_changed(self):
        self.file.write_text("# Made of: compiler 12\nsave 1000\n", encoding="utf-8")
        self.assertEqual([self.run_with(count).returncode for count in (1000, 1020, 980, 1040, 1300, 900)],
                         [0, 0, 0, 1, 1, 1])

    def test_writes_what_it_has_counted(self):
        self.file.write_text("# Made of: compiler 11\nsave 1\ngone 2\n", encoding="utf-8")
        self.assertEqual(self.run_with(1234, "--write").returncode, 0)
        known = SCRIPT.parse(self.file.read_text(encoding="utf-8").splitlines())
        self.assertEqual(known, SCRIPT.Known("compiler 12", {"save": 1234}))

    def test_compares_nothing_with_what_was_made_otherwise_and_says_so(self):
        self.file.write_text("# Made of: compiler 11\nsave 1\n", encoding="utf-8")
        run = self.run_with(1000)
        self.assertEqual((run.returncode, run.stdout), (77, "count-instructions: compared with limits only, since the "
                                                            "file was written with compiler 11, and this is compiler "
                                                            "12\n"))

    def test_holds_what_was_made_otherwise_to_the_limits(self):
        self.file.write_text("# Made of: compiler 11\nreplace 1\njoin 1\n", encoding="utf-8")
        with unittest.mock.patch.dict(os.environ, {"OPERATIONS": "replace join"}):
            self.assertEqual(self.run_with(1000).returncode, 77)
        with unittest.mock.patch.dict(os.environ, {"OPERATIONS": "replace join", "REPLACE": "4"}):
            run = self.run_with(1000)
        self.assertEqual(run.returncode, 1)
        self.assertIn("replace: 4.00 times its limit, 3 allowed: more than allowed\n", run.stdout)

    def test_says_that_valgrind_is_missing(self):
        run = self.run_with(1000, path="/nowhere")
        self.assertEqual((run.returncode, run.stdout), (77, "count-instructions: skipped, since valgrind is not "
                                                            "installed\n"))


if __name__ == "__main__":
    unittest.main()

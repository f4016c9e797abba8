"""
The tree of calls: what callgrind has recorded becomes lines that say where an operation's instructions go.
"""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import re
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
BENCHMARKS = pathlib.Path(__file__).resolve().parents[2] / "benchmarks"


def load_script():
    loader = importlib.machinery.SourceFileLoader("flame", str(BENCHMARKS / "flame"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("flame", loader))
    loader.exec_module(module)
    return module


FLAME = load_script()

WIDE = "std::__cxx11::basic_string<wchar_t, std::char_traits<wchar_t>, std::allocator<wchar_t> >"
INVOKER = "std::_Function_handler<void (unsigned long), (anonymous namespace)::prepare()::{lambda(unsigned long)#1}>::_M_invoke"

# What callgrind writes with --separate-callers: the instructions of each function by the calls that led to it.
# "calls=" is followed by what the call cost, which the called function has counted already.
RECORDED = f"""# callgrind format
version: 1
positions: line
events: Ir
summary: 2000

ob=(1) /usr/bin/program
fl=(1) ???
fn=(2) Chain::get({WIDE} const&) const'{INVOKER}(std::_Any_data const&)'corvidCounted'main'(below main)
80 900
+4 100
fi=(3) other.h
-7 200
fe=(1)
cfn=(4) non-virtual thunk to Store::find({WIDE} const&)'Chain::get({WIDE} const&) const'{INVOKER}(std::_Any_data const&)'corvidCounted'main'(below main)
calls=10 51
* 640
cfn=(6)
calls=10 51
+3 110

fn=(6) __memmove_avx_unaligned_erms'Chain::get({WIDE} const&) const'corvidCounted'main'(below main)
12 30

fn=(4)
7 40
cfn=(8) Store::find({WIDE} const&)'non-virtual thunk to Store::find({WIDE} const&)'Chain::get({WIDE} const&) const'corvidCounted'main
calls=10 9
7 600

fn=(8)
9 300

fn=(10) _int_malloc'malloc'operator new(unsigned long)'Store::find({WIDE} const&)'Chain::get({WIDE} const&) const'corvidCounted'main
9 250
9 50

fn=(12) 0x000000000001ab70'Store::find({WIDE} const&)'2'Store::find({WIDE} const&)'Chain::get({WIDE} const&) const'corvidCounted'main
9 110

fn=(14) beforehand'main
1 100000
fn=(16) corvidCounted'main
5 20
totals: 2000
""".splitlines()

TREE = """get: 200 instructions
  all   own  %
 99.0  61.5  Chain::get
 37.5  22.5    Store::find
 15.0  15.0      operator new"""


class ATree(unittest.TestCase):
    def test_shows_what_each_function_takes_with_those_it_calls(self):
        self.assertEqual(FLAME.draw(RECORDED, 10, "get"), TREE)

    def test_counts_every_instruction_of_the_operation_once(self):
        self.assertEqual(sum(FLAME.read_costs(RECORDED).values()), 2000)
        self.assertEqual(FLAME.tree_of({("a",): 1, ("a", "b"): 2, ("c",): 4}).cost, 7)

    def test_has_the_dearest_first_and_leaves_out_what_is_under_two_per_cent(self):
        costs = {("cheap",): 19, ("b",): 20, ("a",): 20, ("dear", "inner"): 941}
        lines = FLAME.draw_costs(costs, 1, "work").splitlines()
        self.assertEqual(lines[2:], [" 94.1   0.0  dear", " 94.1  94.1    inner", "  2.0   2.0  a", "  2.0   2.0  b"])


class ANameIsShortened(unittest.TestCase):
    def expect(self, name, short):
        self.assertEqual(FLAME.shortened(name), short)

    def test_to_what_it_is_called_without_arguments(self):
        self.expect("main", "main")
        self.expect(f"ConfigStoreManager::getValue({WIDE} const&, {WIDE}&, bool)", "ConfigStoreManager::getValue")
        self.expect("StoreChain::Lock::~Lock()", "StoreChain::Lock::~Lock")
        self.expect("pthread_mutex_lock@@GLIBC_2.2.5", "pthread_mutex_lock")
        self.expect("KeyedValues::find[abi:cxx11](FoldedKey const&) const", "KeyedValues::find")
        self.expect("(anonymous namespace)::append(std::string&) [clone .isra.0]", "append")

    def test_without_template_arguments_and_what_it_gives_back(self):
        self.expect("void StoreChain::walk<Visit<int> >(Visit<int> const&)", "StoreChain::walk")
        self.expect("std::vector<int, std::allocator<int> >::push_back(int&&)", "std::vector::push_back")
        self.expect(f"{WIDE}::_M_assign({WIDE} const&)", "std::wstring::_M_assign")

    def test_and_keeps_operators(self):
        self.expect("operator new(unsigned long)", "operator new")
        self.expect("operator delete(void*, unsigned long)", "operator delete")
        self.expect("bool operator< <char>(std::pair<char, char> const&)", "operator<")
        self.expect("Less::operator()(int, int) const", "Less::operator()")
        self.expect("Pointer<int>::operator->() const", "Pointer::operator->")

    def test_to_the_function_that_a_lambda_stands_in(self):
        self.expect("Adapter::pass(int)::{lambda()#1}::operator()() const", "Adapter::pass::lambda")

    def test_without_the_processor_that_it_was_made_for(self):
        self.expect("__wmemcmp_evex_movbe", "wmemcmp")
        self.expect("__memmove_avx_unaligned_erms", "memmove")


class APage(unittest.TestCase):
    page = (BENCHMARKS.parent / "docs/flames.md").read_text(encoding="utf-8")

    def test_gets_new_trees_and_keeps_its_text(self):
        page = "# Title\n\n<!-- flame one -->\n\n```text\nold\n```\n\nText.\n\n<!-- flame the-other -->\n\n```text\n```\n"
        page = page.replace("```text\n```", "```text\n\n```")
        written = FLAME.rewrite(page, lambda operation: f"tree of {operation}")
        self.assertEqual(written, "# Title\n\n<!-- flame one -->\n\n```text\ntree of one\n```\n\nText.\n\n"
                                  "<!-- flame the-other -->\n\n```text\ntree of the-other\n```\n")
        self.assertEqual(FLAME.rewrite(written, lambda operation: f"tree of {operation}"), written)

    def test_has_the_trees_of_lookup_change_and_load(self):
        known = (BENCHMARKS / "instructions.txt").read_text(encoding="utf-8")
        for operation in ("lookup-layer-8", "set-and-observer", "load"):
            tree = re.search(rf"<!-- flame {operation} -->\n\n```text\n{operation}: ([\d,]+) instructions\n", self.page)
            self.assertIsNotNone(tree, operation)
            shown = int(tree[1].replace(",", ""))
            counted = int(re.search(rf"^{operation} (\d+)$", known, re.MULTILINE)[1])
            self.assertLess(abs(shown / counted - 1), 0.03, f"{operation}: write docs/flames.md anew")


class ATreeOfAPage(unittest.TestCase):
    PAGE = f"<!-- flame get -->\n\n```text\n{TREE}\n 12.0  12.0        malloc\n```\n"

    def compare(self, now):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            well = FLAME.compare(self.PAGE, lambda operation: now)
        return well, output.getvalue()

    def test_is_well_while_its_first_functions_are_the_same(self):
        alike = (True, "get: begins as the page shows it\n")
        self.assertEqual(self.compare(TREE), alike)
        self.assertEqual(self.compare(TREE.replace("200", "300")), alike)
        self.assertEqual(self.compare(TREE.replace("37.5", "34.6")), alike)
        self.assertEqual(self.compare(TREE + "\n 40.0   1.0    other"), alike)

    def test_is_stale_when_one_of_them_has_another_name_place_or_share(self):
        for change in (("operator new", "malloc"), ("    Store", "      Store"), ("37.5", "34.4"), ("37.5", "40.6")):
            now = TREE.replace(*change)
            self.assertEqual(self.compare(now), (False, "get: begins otherwise, write the page anew:\n" + now + "\n"))
        self.assertFalse(self.compare("\n".join(TREE.splitlines()[:4]))[0])


class TheScript(unittest.TestCase):
    def test_says_how_it_is_used(self):
        for arguments in ((), ("program",), ("program", "--write"), ("program", "load", "save"),
                          ("program", "--compare"), ("program", "--compare", "page", "more")):
            run = subprocess.run([BENCHMARKS / "flame", *arguments], capture_output=True, text=True, check=False)
            self.assertEqual((run.returncode, run.stdout), (2, ""))
            self.assertIn("flame PROGRAM --write PAGE", run.stderr)


if __name__ == "__main__":
    unittest.main()

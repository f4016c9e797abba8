"""
The model of a fleet: a client asks as the module does, a server never does more than it can, and nobody is forgotten.
"""

import contextlib
import dataclasses
import importlib.machinery
import importlib.util
import io
import json
import pathlib
import subprocess
import sys
import types
import unittest

sys.dont_write_bytecode = True
BENCHMARKS = pathlib.Path(__file__).resolve().parents[2] / "benchmarks"
sys.path.insert(0, str(BENCHMARKS))

from fleet_model import costs, report, simulation  # noqa: E402
from fleet_model.client import Client, End, Request, Setup  # noqa: E402
from fleet_model.server import Offer, Server, State  # noqa: E402

COSTS = costs.Costs(costs.Cost(700, 3000, 0.0008), costs.Cost(710, 4000, 0.0007), costs.Cost(70, 1300, 0.0001))
# Servers that are too small for their clients, so that each way of failing is seen.
CROWDED = simulation.Fleet(clients=300, within=1.5, cores=0.01, places=20)


def follow(client, answers):
    """The requests of a client's course, and how it ends; answers says for each server and kind whether it answers."""
    course, asked, answered = client.course(), [], None
    while True:
        try:
            request = course.send(answered)
        except StopIteration as stop:
            return asked, stop.value
        asked.append(request)
        answered = answers(request)


def version(server):
    return Request(server, costs.VERSION, 10)


def file(server):
    return Request(server, costs.SECURE_FILE, 10)


class AClient(unittest.TestCase):
    def test_asks_the_first_server_for_its_version_and_its_file(self):
        self.assertEqual(follow(Client(Setup((0, 1, 2))), lambda _: True), ([version(0), file(0)], End.DELIVERED))

    def test_asks_nobody_for_a_version_that_it_knows(self):
        client = Client(Setup((0, 1, 2), knows_version=True))
        self.assertEqual(follow(client, lambda _: True), ([file(0)], End.DELIVERED))

    def test_gives_a_file_over_http_three_seconds(self):
        client = Client(Setup((0, 1, 2), knows_version=True, secure=False))
        self.assertEqual(follow(client, lambda _: True), ([Request(0, costs.PLAIN_FILE, 3)], End.DELIVERED))

    def test_asks_the_next_server_when_one_fails_and_the_version_only_once(self):
        asked, end = follow(Client(Setup((0, 1, 2))), lambda request: request.server == 2)
        self.assertEqual(asked, [version(0), version(1), version(2), file(0), file(1), file(2)])
        self.assertIs(end, End.DELIVERED)

    def test_ends_when_each_server_was_asked_once(self):
        asked, end = follow(Client(Setup((1, 0, 1))), lambda request: request.kind == costs.VERSION)
        self.assertEqual(asked, [version(1), file(1), file(0)])
        self.assertIs(end, End.EXHAUSTED)

    def test_asks_for_no_file_without_a_version(self):
        asked, end = follow(Client(Setup((0, 1, 2))), lambda _: False)
        self.assertEqual(asked, [version(0), version(1), version(2)])
        self.assertIs(end, End.STALLED)

    def test_asks_nobody_for_a_version_twice(self):
        asked, end = follow(Client(Setup((1, 0, 1))), lambda _: False)
        self.assertEqual(asked, [version(1), version(0)])
        self.assertIs(end, End.STALLED)

    def test_asks_the_servers_for_the_version_first_and_three_in_all(self):
        asked, end = follow(Client(Setup((0, 1, 2), (3, 4))), lambda _: False)
        self.assertEqual(asked, [version(3), version(4), version(0)])
        self.assertIs(end, End.STALLED)

    def test_asks_only_the_primary_for_the_version_again(self):
        for version_servers, again in (((), []), ((3, 4), [version(3)])):
            client = Client(Setup((0, 1, 2), version_servers))
            follow(client, lambda _: False)
            self.assertEqual(follow(client, lambda _: False), (again, End.STALLED))

    def test_remembers_the_version_for_its_next_course(self):
        client = Client(Setup((0, 1, 2)))
        follow(client, lambda _: True)
        self.assertEqual(follow(client, lambda _: True), ([file(0)], End.DELIVERED))


class AServer(unittest.TestCase):
    def test_works_in_the_order_of_coming_and_no_faster_than_its_cores(self):
        server = Server(cores=2, places=10)
        ends = [server.connect(0, costs.VERSION, costs.Cost(1, 1, 0.5)) for _ in range(3)]
        self.assertEqual(ends, [0.25, 0.5, 0.75])
        self.assertEqual(server.connect(5, costs.VERSION, costs.Cost(1, 1, 0.5)), 5.25)
        self.assertEqual(server.busiest(), 0.75)

    def test_spreads_long_work_over_the_seconds_that_it_takes(self):
        server = Server(cores=2, places=10)
        server.connect(0.5, costs.VERSION, costs.Cost(1, 1, 4))
        self.assertEqual(server.work_in_second, {0: 1, 1: 2, 2: 1})
        self.assertEqual(server.busiest(), 1)

    def test_adds_the_round_trips_of_a_connection(self):
        server = Server(cores=1, places=10, round_trip=0.1)
        self.assertAlmostEqual(server.connect(0, costs.SECURE_FILE, costs.Cost(1, 1, 1)), 1.3)
        self.assertAlmostEqual(server.connect(9, costs.PLAIN_FILE, costs.Cost(1, 1, 1)), 10.2)

    def test_holds_a_place_until_the_answer_and_lets_those_beyond_fall(self):
        server = Server(cores=1, places=1)
        self.assertEqual(server.connect(0, costs.VERSION, costs.Cost(1, 1, 1)), 1)
        self.assertIs(server.connect(0.9, costs.VERSION, COSTS.version), Offer.LOST)
        self.assertEqual(server.connect(1, costs.VERSION, costs.Cost(1, 1, 1)), 2)
        self.assertEqual((server.most_open, server.taken[costs.VERSION]), (1, 2))

    def test_refuses_those_beyond_its_places_if_told_to(self):
        server = Server(cores=1, places=1, refuses=True)
        server.connect(0, costs.VERSION, costs.Cost(1, 1, 1))
        self.assertIs(server.connect(0, costs.VERSION, COSTS.version), Offer.REFUSED)

    def test_is_as_its_state_says(self):
        def offer_of(state):
            return Server(cores=1, places=1, state=state, delay=5).connect(0, costs.VERSION, costs.Cost(1, 1, 1))

        self.assertEqual([offer_of(state) for state in (State.WELL, State.SILENT, State.CLOSED, State.SLOW)],
                         [1, Offer.LOST, Offer.REFUSED, 6])


class AStart(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.crowded = {name: simulation.simulate(dataclasses.replace(CROWDED, **different), COSTS)
                       for name, different in report.SCENARIOS.items()}

    def outcomes(self):
        """Every scenario on servers that are too small."""
        return self.crowded.items()

    def test_serves_each_client_or_counts_it_as_failed(self):
        for name, outcome in self.outcomes():
            with self.subTest(name):
                self.assertEqual(sum(outcome.ends.values()), CROWDED.clients)
                self.assertGreaterEqual(len(outcome.waits), outcome.ends[End.DELIVERED])

    def test_accounts_for_each_request(self):
        for name, outcome in self.outcomes():
            with self.subTest(name):
                self.assertEqual(sum(outcome.asked.values()),
                                 outcome.answered + outcome.late + outcome.lost + outcome.refused)
                taken = sum(sum(server.taken.values()) for server in outcome.servers)
                self.assertEqual(taken, outcome.answered + outcome.late)

    def test_adds_its_bytes_up(self):
        for name, outcome in self.outcomes():
            with self.subTest(name):
                for server in outcome.servers:
                    expected = [(COSTS.of(kind).up * n, COSTS.of(kind).down * n) for kind, n in server.taken.items()]
                    self.assertEqual((server.up, server.down), tuple(map(sum, zip(*expected))) or (0, 0))
                    self.assertEqual(sum(server.bytes_in_second.values()), server.up + server.down)

    def test_never_exceeds_what_a_server_can(self):
        for name, outcome in self.outcomes():
            with self.subTest(name):
                for server in outcome.servers:
                    self.assertLessEqual(server.most_open, CROWDED.places)
                    self.assertLessEqual(max(server.work_in_second.values(), default=0), CROWDED.cores + 1e-9)

    def test_is_too_much_for_small_servers(self):
        crowded = self.crowded["all well"]
        self.assertGreater(crowded.lost, 0)
        self.assertGreater(crowded.servers[1].taken[costs.VERSION], 0)
        self.assertGreater(crowded.ends[End.STALLED], 0)
        self.assertGreater(self.crowded["HomeUdsVersion set"].servers[1].taken[costs.SECURE_FILE], 0)
        self.assertGreater(self.crowded["first server slow"].late, 0)

    def test_serves_fewer_when_servers_refuse_since_nobody_tries_again(self):
        refusing, waiting = self.crowded["beyond its places a server refuses"], self.crowded["all well"]
        self.assertLess(len(refusing.waits), len(waiting.waits))

    def test_stands_for_more_clients_than_are_simulated(self):
        fleet = simulation.Fleet(clients=2000, within=3, cores=0.5, places=50)
        smaller = simulation.Simulation(dataclasses.replace(fleet, one_for=5), COSTS).servers[0]
        self.assertEqual((smaller.cores, smaller.places), (0.1, 10))
        whole, part = (report.answer(simulation.simulate(dataclasses.replace(fleet, one_for=number), COSTS), number)
                       for number in (1, 5))
        self.assertEqual(part["served"] + part["everyServerFailed"] + part["noVersion"], 2000)
        for figure in ("versionQueries", "bytesDown", "served"):
            self.assertLess(abs(part[figure] / whole[figure] - 1), 0.1, figure)

    def test_asks_two_requests_of_the_first_server_for_each_client_when_all_is_well(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, round_trip=0.02), COSTS)
        self.assertEqual(outcome.servers[0].taken, {costs.VERSION: 300, costs.SECURE_FILE: 300})
        self.assertEqual([sum(server.taken.values()) for server in outcome.servers], [600, 0, 0])
        self.assertEqual(len(outcome.waits), 300)
        self.assertLess(max(outcome.waits), 0.14)
        self.assertLessEqual(outcome.last, 60.14)

    def test_takes_two_time_limits_longer_when_the_first_server_is_silent(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, first=State.SILENT), COSTS)
        self.assertEqual([sum(server.taken.values()) for server in outcome.servers], [0, 600, 0])
        self.assertEqual(outcome.lost, 600)
        self.assertTrue(all(20.1 < wait < 20.2 for wait in outcome.waits))

    def test_asks_the_next_server_at_once_when_the_first_is_closed(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, first=State.CLOSED), COSTS)
        self.assertEqual([sum(server.taken.values()) for server in outcome.servers], [0, 600, 0])
        self.assertEqual(outcome.refused, 600)
        self.assertLess(max(outcome.waits), 0.2)

    def test_loses_clients_over_http_to_a_server_that_takes_longer_than_three_seconds(self):
        slow = simulation.Fleet(clients=300, first=State.SLOW, delay=5, knows_version=True)
        self.assertEqual(simulation.simulate(slow, COSTS).late, 0)
        self.assertEqual(simulation.simulate(dataclasses.replace(slow, secure=False), COSTS).late, 300)

    def test_repeats_what_was_not_taken_on_after_a_second(self):
        outcome = simulation.simulate(simulation.Fleet(clients=2, within=0, places=1, knows_version=True), COSTS)
        self.assertEqual([round(wait, 2) for wait in outcome.waits], [0.06, 1.06])

    def test_shares_clients_among_the_servers_in_turn(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, in_turn=True), COSTS)
        self.assertEqual([sum(server.taken.values()) for server in outcome.servers], [200, 200, 200])

    def test_asks_for_the_file_again_at_the_edge_and_counts_a_client_once(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, edge=1), COSTS)
        self.assertEqual(outcome.asked, {costs.VERSION: 300, costs.SECURE_FILE: 600})
        self.assertEqual((len(outcome.waits), outcome.ends[End.DELIVERED]), (300, 300))
        self.assertLess(max(outcome.waits), 0.14)

    def test_asks_machines_of_their_own_for_the_version(self):
        outcome = simulation.simulate(simulation.Fleet(clients=300, version_servers=1), COSTS)
        self.assertEqual(outcome.servers[0].taken, {costs.SECURE_FILE: 300})
        self.assertEqual(outcome.servers[3].taken, {costs.VERSION: 300})


def load_script():
    """The script as a module, which spares each test the start of a process."""
    loader = importlib.machinery.SourceFileLoader("fleet", str(BENCHMARKS / "fleet"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("fleet", loader))
    loader.exec_module(module)
    return module


SCRIPT = load_script()


class TheScript(unittest.TestCase):
    @staticmethod
    def run_with(*arguments):
        """What the script prints on standard output and error, and its exit status."""
        output, errors, status = io.StringIO(), io.StringIO(), 0
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            try:
                SCRIPT.main(arguments)
            except SystemExit as end:
                status = end.code
        return types.SimpleNamespace(stdout=output.getvalue(), stderr=errors.getvalue(), returncode=status)

    def test_runs_by_itself(self):
        run = subprocess.run([BENCHMARKS / "fleet", "--clients", "10", "--scenario", "all well"], capture_output=True,
                             text=True, check=True)
        self.assertIn("\n| all well | 10 | 10 | 20 |", run.stdout)

    def test_gives_the_same_answer_to_the_same_seed_and_prints_it(self):
        arguments = ("--clients", "500", "--scenario", "servers in turn", "--within", "2", "--cores", "0.1", "--seed")
        first, again, other = (self.run_with(*arguments, seed).stdout for seed in ("7", "7", "8"))
        self.assertIn("500 clients start within 2 s, seed 7;", first)
        self.assertEqual(first, again)
        self.assertNotEqual(first.replace("seed 7", "seed 8"), other)

    def test_answers_in_json(self):
        answer = json.loads(self.run_with("--clients", "100", "--scenario", "all well", "--json").stdout)
        figures = answer["scenarios"]["all well"]
        self.assertEqual((answer["clients"], figures["versionQueries"], figures["fileRequests"]), (100, 100, 100))
        measured, _ = costs.read(costs.MEASURED, "rsa2048")
        self.assertEqual(figures["bytesUp"] + figures["bytesDown"], 100 * (
            measured.version.up + measured.version.down + measured.secure_file.up + measured.secure_file.down))

    def test_refuses_a_number_that_is_none_in_one_line(self):
        for wrong in ("0", "many"):
            answer = self.run_with(f"--clients={wrong}")
            self.assertEqual(answer.returncode, 2)
            self.assertIn(f"'{wrong}': expected a whole number above 0", answer.stderr)

    def test_refuses_what_it_cannot_do(self):
        for arguments, reason in ((("--within", "inf"), "'inf': expected a number above 0"),
                                  (("--within", "long"), "'long': expected a number above 0"),
                                  (("--one-for", "3"), "expected a number that divides 10000 clients"),
                                  (("--measure", "--tool", "nowhere"), "there is no tool at nowhere; build it first")):
            answer = self.run_with(*arguments)
            self.assertEqual((answer.returncode, answer.stdout), (2, ""))
            self.assertIn(reason, answer.stderr)


class ThePage(unittest.TestCase):
    page = (BENCHMARKS.parent / "docs/fleet.md").read_text(encoding="utf-8")

    def expect_on_page(self, count, *arguments):
        """Each line of the table that the script prints stands on the page."""
        lines = TheScript.run_with(*arguments).stdout.splitlines()[2:]
        self.assertEqual(len(lines), 2 + count)
        for line in lines:
            self.assertIn(line + "\n", self.page)

    def test_shows_what_the_script_prints_of_ten_thousand(self):
        self.expect_on_page(len(report.SCENARIOS), "--clients", "10000")

    def test_shows_what_the_script_prints_of_a_million(self):
        """Two of its lines: they take a second, and the others, with crowded servers, more than a minute."""
        self.expect_on_page(2, "--clients", "1000000", "--one-for", "10",
                            "--scenario", "HTTP (version below 11), HomeUdsVersion set",
                            "--scenario", "in turn, HomeUdsVersion set")

    def test_has_every_scenario_for_both_fleets(self):
        for name in report.SCENARIOS:
            self.assertEqual(self.page.count(f"\n| {name} |"), 2, name)

    def test_has_the_measured_costs(self):
        for row, kind in (("| version, over", costs.VERSION), ("| file, over HTTPS", costs.SECURE_FILE),
                          ("| file, over HTTP (", costs.PLAIN_FILE)):
            cells = next(line for line in self.page.splitlines() if line.startswith(row)).split(" | ")
            rsa, ecdsa = (costs.read(costs.MEASURED, key)[0].of(kind) for key in ("rsa2048", "ecdsa256"))
            self.assertEqual(cells[3:7], [f"{rsa.up:,}", f"{rsa.down:,}", f"{1000 * rsa.seconds + 1e-9:.2f} ms",
                                          f"{1000 * ecdsa.seconds + 1e-9:.2f} ms"])


if __name__ == "__main__":
    unittest.main()

"""The course of a start: every client from its first request to its file, or to its giving up."""

import collections
import dataclasses
import heapq
import itertools
import random

from .client import Client, End, Setup
from .server import Offer, Server, State

# When the kernel of a client repeats an attempt to connect that nobody has answered, in seconds from the first.
REPEATS = (1.0, 3.0, 7.0, 15.0)


@dataclasses.dataclass(frozen=True)
class Fleet:
    """What is simulated. Times in seconds.

    within: how long it takes until all clients have started, evenly at random.
    version_servers: how many servers beyond the three tell the version (HubcipServer1 and on), 0 to 3.
    in_turn: each third of the clients has another first server.
    edge: the share of clients whose telephony connects 5 to 30 seconds after the start, and who then fetch again.
    one_for: of how many clients one is simulated, on servers as many times smaller.
    first: the state of the first server; delay: how long it takes for each request if it is slow.
    """

    clients: int = 10_000
    one_for: int = 1
    within: float = 60.0
    seed: int = 1
    secure: bool = True
    knows_version: bool = False
    version_servers: int = 0
    in_turn: bool = False
    edge: float = 0.0
    cores: float = 4
    places: int = 4 * 768 + 511
    refuses: bool = False
    first: State = State.WELL
    delay: float = 5.0
    round_trip: float = 0.02


@dataclasses.dataclass
class Outcome:
    """What has come of it.

    asked, answered, late, lost and refused count requests; a late one was answered after its client had gone, a lost
    one was never taken on. ends has for each client how its last course ended. waits has the seconds from a client's
    start to its first file, last the moment at which the last client has it.
    """

    servers: list
    asked: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    answered: int = 0
    late: int = 0
    lost: int = 0
    refused: int = 0
    ends: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    waits: list = dataclasses.field(default_factory=list)
    last: float = 0.0


class Simulation:
    """One run over a fleet. The same fleet and costs always come to the same outcome."""

    def __init__(self, fleet, costs):
        self.fleet = fleet
        self.costs = costs
        self.servers = self._servers()
        self.outcome = Outcome(self.servers)
        self.setups = self._setups()
        self.events = []
        self.order = itertools.count()
        self.random = random.Random(fleet.seed)

    def run(self):
        clients = self.fleet.clients // self.fleet.one_for
        starts = sorted(self.random.uniform(0, self.fleet.within) for _ in range(clients))
        for number, start in enumerate(starts):
            self._pass_until(start)
            Start(self, Client(self.setups[number % len(self.setups)]), start)
        self._pass_until(float("inf"))
        return self.outcome

    def at(self, time, action, *arguments):
        """Has an action done at a time, which it is given first; those of one time in the order of their coming."""
        heapq.heappush(self.events, (time, next(self.order), action, arguments))

    def _pass_until(self, time):
        while self.events and self.events[0][0] <= time:
            now, _, action, arguments = heapq.heappop(self.events)
            action(now, *arguments)

    def _servers(self):
        fleet = self.fleet
        states = [fleet.first] + [State.WELL] * (2 + fleet.version_servers)
        cores, places = fleet.cores / fleet.one_for, max(1, fleet.places // fleet.one_for)
        return [Server(cores, places, fleet.refuses, state, fleet.delay, fleet.round_trip) for state in states]

    def _setups(self):
        fleet = self.fleet
        orders = [(0, 1, 2), (1, 2, 0), (2, 0, 1)] if fleet.in_turn else [(0, 1, 2)]
        version_servers = tuple(range(3, 3 + fleet.version_servers))
        return [Setup(order, version_servers, fleet.knows_version, fleet.secure) for order in orders]


class Start:
    """One client's way through a simulation."""

    __slots__ = ("run", "client", "start", "course", "again", "began", "request", "served")

    def __init__(self, run, client, start):
        self.run = run
        self.client = client
        self.start = start
        self.served = False
        self.again = None
        if run.fleet.edge > 0 and run.random.random() < run.fleet.edge:
            self.again = start + run.random.uniform(5, 30)
        self._begin(start)

    def _begin(self, now):
        self.course = self.client.course()
        self._go_on(now, None)

    def _go_on(self, now, answered):
        try:
            self.request = self.course.send(answered)
        except StopIteration as stop:
            self._end(now, stop.value)
            return
        self.began = now
        self.run.outcome.asked[self.request.kind] += 1
        self._connect(now, 0)

    def _connect(self, now, repeats):
        request, outcome = self.request, self.run.outcome
        offer = self.run.servers[request.server].connect(now, request.kind, self.run.costs.of(request.kind))
        given_up = self.began + request.limit
        if offer is Offer.REFUSED:
            outcome.refused += 1
            self.run.at(now + self.run.fleet.round_trip, self._go_on, False)
        elif offer is Offer.LOST:
            self._repeat(repeats, given_up)
        elif offer > given_up:
            outcome.late += 1
            self.run.at(given_up, self._go_on, False)
        else:
            outcome.answered += 1
            self.run.at(offer, self._go_on, True)

    def _repeat(self, repeats, given_up):
        again = self.began + REPEATS[repeats]
        if again < given_up:
            self.run.at(again, self._connect, repeats + 1)
        else:
            self.run.outcome.lost += 1
            self.run.at(given_up, self._go_on, False)

    def _end(self, now, end):
        if end is End.DELIVERED and not self.served:
            self._serve(now)
        if self.again is not None:
            # Telephony connects now or later; what the first course has brought is fetched again.
            now, self.again = max(now, self.again), None
            self.run.at(now, self._begin)
            return
        self.run.outcome.ends[end] += 1

    def _serve(self, now):
        self.served = True
        self.run.outcome.waits.append(now - self.start)
        self.run.outcome.last = max(self.run.outcome.last, now)


def simulate(fleet, costs):
    """Runs a fleet through its start. Returns an Outcome."""
    return Simulation(fleet, costs).run()

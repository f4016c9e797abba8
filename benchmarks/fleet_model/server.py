"""A server: what it takes on, when it is done with it, and whom it turns away."""

import collections
import enum
import heapq

ROUND_TRIPS = {"version": 3, "file over HTTPS": 3, "file over HTTP": 2}


class State(enum.Enum):
    """How a server is today."""

    WELL = "well"
    SILENT = "silent"
    CLOSED = "closed"
    SLOW = "slow"


class Offer(enum.Enum):
    """What becomes of an attempt to connect that is not taken on."""

    LOST = "nothing comes back"
    REFUSED = "refused at once"


class Server:
    """Works on its requests in the order in which they came, on all its cores together.

    A request costs the seconds of one core that its Cost says. From the first word of a connection to the last it holds
    one of the server's places; beyond them the kernel lets attempts to connect fall, or refuses them if told to. The
    server does not notice that a client has gone: it does the work nonetheless.

    @param cores how many work at once; requests are shared among them as if they were one core, that much faster.
    @param places connections at once, those that wait to be accepted included.
    @param refuses whether those beyond are refused at once.
    @param delay seconds that a slow server lets pass with each request, without working.
    """

    def __init__(self, cores, places, refuses=False, state=State.WELL, delay=0.0, round_trip=0.0):
        self.cores = cores
        self.places = places
        self.beyond = Offer.REFUSED if refuses else Offer.LOST
        self.state = state
        self.delay = delay if state is State.SLOW else 0.0
        self.round_trip = round_trip
        self.work_until = 0.0
        self.open = []
        self.most_open = 0
        self.taken = collections.Counter()
        self.up = 0
        self.down = 0
        self.taken_in_second = collections.Counter()
        self.work_in_second = collections.Counter()
        self.bytes_in_second = collections.Counter()

    def connect(self, now, kind, cost):
        """Takes a request on and returns the time of the answer's last word, or the Offer that it gets instead."""
        if self.state is State.SILENT:
            return Offer.LOST
        if self.state is State.CLOSED:
            return Offer.REFUSED
        while self.open and self.open[0] <= now:
            heapq.heappop(self.open)
        if len(self.open) >= self.places:
            return self.beyond
        return self._take(now, kind, cost)

    def _take(self, now, kind, cost):
        begin = max(now, self.work_until)
        self.work_until = begin + cost.seconds / self.cores
        self._note_work(begin, self.work_until)
        end = self.work_until + self.delay + ROUND_TRIPS[kind] * self.round_trip
        heapq.heappush(self.open, end)
        self.most_open = max(self.most_open, len(self.open))
        self._count(int(now), kind, cost)
        return end

    def _note_work(self, begin, end):
        while int(begin) < int(end):
            self.work_in_second[int(begin)] += (int(begin) + 1 - begin) * self.cores
            begin = int(begin) + 1
        self.work_in_second[int(begin)] += (end - begin) * self.cores

    def _count(self, second, kind, cost):
        self.taken[kind] += 1
        self.up += cost.up
        self.down += cost.down
        self.taken_in_second[second] += 1
        self.bytes_in_second[second] += cost.up + cost.down

    def busiest(self):
        """The share of its cores that its busiest second has taken, 0 to 1."""
        return max(self.work_in_second.values(), default=0.0) / self.cores

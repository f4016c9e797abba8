"""What one client asks of its servers at a start, in the module's own order.

This is the behaviour of TftpConfigStore and UdsVersionQuery, by themselves: no clock, no network. A course is a
generator that yields a Request and is sent whether it was answered in time.
"""

import dataclasses
import enum
import typing

from . import costs

VERSION_LIMIT = 10.0
SECURE_LIMIT = 10.0
PLAIN_LIMIT = 3.0
MOST_VERSION_QUERIES = 3


class End(enum.Enum):
    """How a client's attempt to get its file ends."""

    DELIVERED = "delivered"
    EXHAUSTED = "every server has failed"
    STALLED = "nobody has told the version"


class Request(typing.NamedTuple):
    """A server by its number, one of costs.KINDS, and the seconds after which the client gives up."""

    server: int
    kind: str
    limit: float


@dataclasses.dataclass(frozen=True)
class Setup:
    """What a client is configured with.

    servers: the numbers of TFTPPrimaryServer, TFTPBackupServer1 and TFTPBackupServer2, in this order.
    version_servers: those of HubcipServer1 to HubcipServer3.
    knows_version: a store holds HomeUdsVersion, so that nobody is asked for it.
    secure: the servers' version is 11 or later, so that the file travels over HTTPS.
    """

    servers: tuple
    version_servers: tuple = ()
    knows_version: bool = False
    secure: bool = True


class Client:
    """One client, for as long as it runs. It remembers whom it has asked for the version, and that it knows it."""

    __slots__ = ("setup", "knows_version", "asked")

    def __init__(self, setup):
        self.setup = setup
        self.knows_version = setup.knows_version
        self.asked = ()

    def course(self):
        """One attempt to get the file: each server once, in their order. There is no retry. Returns an End."""
        for server in dict.fromkeys(self.setup.servers):
            if not self.knows_version:
                yield from self._find_version()
            if not self.knows_version:
                return End.STALLED
            if (yield self._file_from(server)):
                return End.DELIVERED
        return End.EXHAUSTED

    def _file_from(self, server):
        if self.setup.secure:
            return Request(server, costs.SECURE_FILE, SECURE_LIMIT)
        return Request(server, costs.PLAIN_FILE, PLAIN_LIMIT)

    def _find_version(self):
        """The first of the servers for the version is asked at each attempt, all others once and within the limit."""
        primary, *backups = self.setup.version_servers or (None,)
        if primary is not None:
            yield from self._ask_version(primary)
        for server in (*backups, *self.setup.servers):
            if not self.knows_version and len(self.asked) < MOST_VERSION_QUERIES and server not in self.asked:
                yield from self._ask_version(server)

    def _ask_version(self, server):
        self.asked += (server,)
        self.knows_version = yield Request(server, costs.VERSION, VERSION_LIMIT)

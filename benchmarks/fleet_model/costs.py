"""What a request costs a server: measured figures, kept in a file beside the script."""

import dataclasses
import json
import pathlib

MEASURED = pathlib.Path(__file__).resolve().parent.parent / "fleet_costs.json"

VERSION = "version"
SECURE_FILE = "file over HTTPS"
PLAIN_FILE = "file over HTTP"
KINDS = (VERSION, SECURE_FILE, PLAIN_FILE)


@dataclasses.dataclass(frozen=True)
class Cost:
    """Of one request, which has a connection of its own: bytes of TCP payload in both directions, TLS included, and
    seconds of one core of the server."""

    up: int
    down: int
    seconds: float


@dataclasses.dataclass(frozen=True)
class Costs:
    """Of each kind of request, for a server with a certificate of one kind."""

    version: Cost
    secure_file: Cost
    plain_file: Cost

    def of(self, kind):
        return {VERSION: self.version, SECURE_FILE: self.secure_file, PLAIN_FILE: self.plain_file}[kind]

    def with_file_of(self, size, measured_size):
        """The same for a file of another size. Only its bytes count: encrypting them is little beside a handshake."""
        def grown(cost):
            return dataclasses.replace(cost, down=cost.down + size - measured_size)

        return dataclasses.replace(self, secure_file=grown(self.secure_file), plain_file=grown(self.plain_file))


def read(path, certificate):
    """The costs of a file that --measure has written, and the size of the file that was served meanwhile."""
    text = json.loads(pathlib.Path(path).read_text(encoding="utf-8"))
    kinds = text["certificates"][certificate]
    return Costs(*(Cost(**kinds[kind]) for kind in KINDS)), text["file_bytes"]

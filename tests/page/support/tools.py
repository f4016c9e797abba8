"""The built tool: as the inspector of a profile, and as the server that the profile's client asks."""

import json
import subprocess


class Running:
    """A process of the tool's, which an interruption ends."""

    def __init__(self, words):
        self.process = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        self.process.terminate()
        self.process.communicate(timeout=120)

    def line(self):
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"{self.process.args} ended with status {self.process.wait()}")
        return line


class Inspector(Running):
    def __init__(self, tool, profile, *arguments):
        super().__init__([tool, *profile.arguments(), "--log-level", "2", "-o", "jsonl", *arguments, "inspect"])
        answer = json.loads(self.line())
        self.link = answer["url"]
        self.port = answer["port"]


class Server(Running):
    """Serves a file at an address; its certificate's authority is among the profile's."""

    def __init__(self, tool, profile, file, address):
        authority = profile.directory / "ca.pem"
        super().__init__([tool, "serve", str(file), "--address", address, "--write-ca", str(authority)])
        while not authority.exists():
            self.line()

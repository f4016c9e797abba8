"""A client's directories of a test's own: the user's configuration, the installation, and a server's file."""

from xml.sax.saxutils import escape, quoteattr


def user_file(values):
    """A file of the user's or the installation's, as the client writes it."""
    lines = [f"  <userConfig name={quoteattr(key)} value={quoteattr(value)}/>" for key, value in values.items()]
    return '<?xml version="1.0" encoding="utf-8"?>\n<Corvid>\n' + "\n".join(lines) + "\n</Corvid>\n"


def server_file(values, sensitive=()):
    """An administrator's file, as it lies on a server. The keys are names of XML."""
    marks = {key: ' sensitive="true"' for key in sensitive}
    lines = [f"    <{key}{marks.get(key, '')}>{escape(value)}</{key}>" for key, value in values.items()]
    return ('<?xml version="1.0" encoding="utf-8"?>\n<config version="1.0">\n  <Options>\n' + "\n".join(lines)
            + "\n  </Options>\n</config>\n")


class Profile:
    """
    The user has VoicemailPrimaryServer and DockedWindow, both of which others have, too, and TelemetryEnabled, which
    waits behind the administrator's override file. A copy of the server's file is kept.
    """

    def __init__(self, directory):
        self.directory = directory
        (directory / "config" / "Cache").mkdir(parents=True)
        (directory / "install").mkdir()
        self.write_defaults({"DockedWindow": "true", "LaunchOnSystemStartup": "false", "TelemetryEnabled": "true"})
        self.write_bootstrap({})
        self.write_override({"TelemetryEnabled": "false"})
        self.write_copy({"VoicemailPrimaryServer": "voicemail-1.example.org", "VoicmeailPollingInterval": "30"})
        self.write_user({"VoicemailPrimaryServer": "voicemail-2.example.org", "DockedWindow": "false",
                         "TelemetryEnabled": "true"})

    def arguments(self):
        """What the tool is to be told about where things are."""
        authority = self.directory / "ca.pem"
        return ["--config-dir", str(self.directory / "config"), "--install-dir", str(self.directory / "install"),
                *(["--ca-file", str(authority)] if authority.exists() else [])]

    def write_user(self, values):
        self._write("config/corvidLocalConfig.xml", user_file({"PrimaryConfigStores": "TFTPConfigStore:240;", **values}))

    def write_override(self, values, sensitive=()):
        self._write("config/corvid-config-user.xml", server_file(values, sensitive))

    def write_copy(self, values, sensitive=()):
        """What is left of the last download."""
        self._write("config/Cache/cachedTFTPConfigStore.xml", server_file(values, sensitive))

    def write_defaults(self, values):
        self._write("install/corvid-config-defaults.xml", user_file(values))

    def write_bootstrap(self, values):
        self._write("install/bootstrap.properties", "".join(f"{key}: {value}\n" for key, value in values.items()))

    def write_server(self, values, sensitive=()):
        """The file that a server of this test serves. Gives its path."""
        return self._write("corvid-config.xml", server_file(values, sensitive))

    def write_many(self, number):
        """Key00001 and so on, of which the user overrides every seventh."""
        self.write_copy({f"Key{index:05}": f"value {index}" for index in range(1, number + 1)})
        self.write_user({f"Key{index:05}": "mine" for index in range(7, number + 1, 7)})

    def _write(self, name, text):
        path = self.directory / name
        path.write_text(text, encoding="utf-8")
        return path

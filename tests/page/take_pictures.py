"""Takes the pictures of docs/pictures from the sample profile and a server of its own: see scripts/take-pictures."""

import pathlib
import shutil
import sys
import tempfile

from support.browser import Browser
from support.page import Page
from support.tools import Inspector, Server

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
ADDRESS = "127.61.0.1"
PICTURES = {
    "inspector-keys.png": ("#keys/VoicemailPrimaryServer", ".stack tbody tr"),
    "inspector-chain.png": ("#chain/VoicemailPrimaryServer", ".layer-box"),
}


# Where the pictures were taken is nobody's business.
MOVE_HOME = """
const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (texts.nextNode()) texts.currentNode.data = texts.currentNode.data.replaceAll(arguments[0], '/home/alice');
"""


class Sample:
    """The sample profile, with a server that the installer named."""

    def __init__(self, folder):
        self.directory = folder
        shutil.copytree(ROOT / "share/corvid/sample", folder / "profile")
        (folder / "install").mkdir()
        shutil.copy(ROOT / "share/corvid/corvid-config-defaults.xml", folder / "install")
        bootstrap = (ROOT / "share/corvid/bootstrap.properties").read_text() + f"\nTftpServer1: {ADDRESS}\n"
        (folder / "install/bootstrap.properties").write_text(bootstrap)

    def arguments(self):
        return ["--config-dir", str(self.directory / "profile"), "--install-dir", str(self.directory / "install"),
                "--ca-file", str(self.directory / "ca.pem")]


def main():
    tool, target = sys.argv[1], pathlib.Path(sys.argv[2])
    target.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder, Browser() as browser:
        sample = Sample(pathlib.Path(folder))
        file = ROOT / "share/corvid/sample-server/corvid-config.xml"
        with Server(tool, sample, file, ADDRESS), Inspector(tool, sample) as inspector:
            for name, (address, sign) in PICTURES.items():
                page = Page(browser, inspector, address)
                page.driver.set_window_size(1360, 960)
                page.wait(lambda: page.texts(sign) and "TFTPConfigStore" in page.text("main"))
                page.script(MOVE_HOME, folder)
                page.picture(target / name)


if __name__ == "__main__":
    main()

"""What the tests of the inspector's page stand on: a profile, the tool, a browser, and the way between the two."""

import os
import pathlib

import pytest

from support.browser import Browser
from support.page import Page
from support.profile import Profile
from support.relay import Relay
from support.tools import Inspector, Server


def pytest_addoption(parser):
    parser.addoption("--tool", required=True, help="the corvidctl to test")
    parser.addoption("--chromedriver", help="the program that drives the browser")
    parser.addoption("--pictures", help="the folder that pictures of the views are kept in")
    parser.addoption("--patience", type=float, default=30, help="seconds after which something will not happen any more")


@pytest.fixture(scope="session")
def relay():
    with Relay() as relay:
        yield relay


@pytest.fixture(scope="session")
def browser(relay, request):
    option = request.config.getoption
    with Browser(relay.address, option("--patience"), option("--chromedriver")) as browser:
        yield browser


@pytest.fixture
def profile(tmp_path):
    return Profile(tmp_path / "profile")


@pytest.fixture
def running():
    """Processes that end with the test."""
    processes = []
    yield processes
    for process in reversed(processes):
        process.stop()


@pytest.fixture
def start(request, profile, running):
    """Starts the inspector on the profile, with more options if a test wishes."""

    def start_inspector(*options):
        running.append(Inspector(tool(request), profile, *options))
        return running[-1]

    return start_inspector


@pytest.fixture
def serve(request, profile, running):
    """Serves a file to the profile's client, which finds the server named by the installer. Gives the file's path."""

    def serve_file(values, **terms):
        # Tests run one after the other; several runs of them take different addresses.
        address = f"127.61.{os.getpid() // 250 % 250}.{os.getpid() % 250 + 1}"
        profile.write_bootstrap({"TftpServer1": address})
        file = profile.write_server(values, **terms)
        running.append(Server(tool(request), profile, file, address))
        return file

    return serve_file


def tool(request):
    return os.path.abspath(request.config.getoption("--tool"))


@pytest.fixture
def open_page(browser, relay, start, request):
    """
    Opens the page at one of its addresses ("#live"). Afterwards nothing may have been complained of: no error of a
    script, nothing that the content security policy kept out, no request that left this machine.
    """
    opened = []

    def open_address(address="", inspector=None, **terms):
        page = Page(browser, inspector or start(), address, **terms)
        opened.append(page)
        return page

    relay.reset()
    yield open_address
    complaints = browser.complaints()
    browser.close_pages()
    relay.restore()
    if not any(page.expects_complaints for page in opened):
        assert complaints == []
    assert relay.strangers == []


@pytest.fixture
def pictures(request):
    """The folder for pictures, if they are wanted."""
    folder = request.config.getoption("--pictures")
    if folder:
        pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    return folder and pathlib.Path(folder)

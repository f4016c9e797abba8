"""The connection to the tool, lost and found."""

import contextlib
import socket
import urllib.request

import pytest


def test_a_lost_connection_is_told_and_found_again(relay, start, open_page):
    inspector = start()
    page = open_page("", inspector, expects_complaints=True)
    relay.cut()
    page.wait_for_texts("#connection", ["Connection lost"])
    assert page.text("#banner").startswith("The connection to the tool is lost.")
    assert page.text("#banner").endswith("or start “corvidctl inspect” again, which prints a new link.")
    # Somebody changes a value where this page cannot hear of it.
    change_beside(page, inspector)
    relay.restore()
    page.wait_for_texts("#connection", ["Connected"])
    page.wait_for_texts("#banner", [])
    page.wait_for_value("DockedWindow", "meanwhile")


def test_the_end_of_the_tool_is_told(start, open_page):
    inspector = start()
    page = open_page("", inspector, expects_complaints=True)
    inspector.process.terminate()
    page.wait_for_texts("#connection", ["Connection lost"])


def change_beside(page, inspector):
    origin = f"http://127.0.0.1:{inspector.port}"
    request = urllib.request.Request(
        origin + "/api/set", data=b'{"key": "DockedWindow", "value": "meanwhile"}',
        headers={"Content-Type": "application/json", "Origin": origin, "Cookie": page.cookies()})
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    with opener.open(request) as answer:
        assert answer.status == 200


PARTS = ["about", "batches", "events", "keys", "problems", "stores"]


@pytest.mark.parametrize("address, more", (
    ("#problems", []),
    ("#keys/VoicemailPrimaryServer", ["explain", "history"]),
    ("#chain/VoicemailPrimaryServer", ["explain"])))
def test_the_first_load_reads_each_part_once_and_an_idle_page_asks_for_nothing(address, more, relay, open_page):
    page = open_page(address)
    page.wait_until_idle()
    relay.reset()
    page.driver.refresh()
    page.wait_for_texts("#connection", ["Connected"])
    page.wait_for_texts("#tab-problems .number", ["2"])
    page.wait_until_idle()
    assert sorted(relay.requests()) == sorted(PARTS + more)


def test_many_changes_are_read_together(relay, open_page):
    page = open_page()
    page.wait_for_texts("#tab-problems .number", ["2"])
    relay.reset()
    seconds = page.script("""const body = (value) => JSON.stringify({key: 'DockedWindow', value});
        const begun = performance.now();
        const set = (value) => fetch('api/set',
          {method: 'POST', headers: {'Content-Type': 'application/json'}, body: body(value)});
        return (async () => { for (let index = 0; index < 30; ++index) await set(String(index)); return (performance.now() - begun) / 1000; })()""")
    page.wait_for_value("DockedWindow", "29")
    page.wait_until_idle()
    assert relay.requests().count("set") == 30
    # Once a second at most, however long the tool takes for the changes.
    assert relay.requests().count("keys") < seconds + 5
    assert relay.requests().count("problems") < seconds + 5
    assert relay.requests().count("stores") == 0


def test_one_page_too_many_is_told_and_asks_no_more(relay, start, open_page):
    inspector = start()
    first = open_page("", inspector)
    with contextlib.ExitStack() as streams:
        for _ in range(15):
            streams.enter_context(open_stream(first, inspector))
        relay.reset()
        page = open_page("", inspector, expects_complaints=True, connection="Not connected")
        page.wait_for_text("#banner", "Too many pages are open already: close one.")
        page.wait(lambda: page.row("DockedWindow"))
        page.wait(lambda: page.texts("#tab-problems .number"))
        page.wait_until_idle()
        # The stream that was refused, and why; then each part.
        assert sorted(relay.requests()) == sorted(["events", *PARTS, "server"])


def test_what_could_not_be_read_is_told_until_it_is(open_page):
    page = open_page("#problems", expects_complaints=True)
    page.wait_until_idle()
    page.script("""const real = window.fetch;
        window.isBroken = true;
        window.fetch = (url, options) => window.isBroken && String(url).includes('problems')
          ? Promise.resolve(new Response('{"error": "Not today."}', {status: 500})) : real(url, options);""")
    page.set_value("DockedWindow", "one")
    page.wait_for_texts("#banner", ["Reading the problems failed. Not today."])
    page.set_value("DockedWindow", "two")
    page.wait_until_idle()
    assert page.texts("#banner") == ["Reading the problems failed. Not today."], "other parts were read meanwhile"
    page.script("window.isBroken = false")
    page.set_value("DockedWindow", "three")
    page.wait_for_texts("#banner", [])


def open_stream(page, inspector):
    """A stream of events as another page would have it."""
    stream = socket.create_connection(("127.0.0.1", inspector.port))
    stream.sendall(f"GET /api/events HTTP/1.1\r\nHost: 127.0.0.1:{inspector.port}\r\nCookie: {page.cookies()}\r\n\r\n".encode())
    assert stream.recv(4096).startswith(b"HTTP/1.1 200")
    return stream

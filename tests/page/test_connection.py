"""The connection to the tool, lost and found."""

import contextlib
import socket
import urllib.request


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
    cookies = "; ".join(f"{cookie['name']}={cookie['value']}" for cookie in page.driver.get_cookies())
    request = urllib.request.Request(
        origin + "/api/set", data=b'{"key": "DockedWindow", "value": "meanwhile"}',
        headers={"Content-Type": "application/json", "Origin": origin, "Cookie": cookies})
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    with opener.open(request) as answer:
        assert answer.status == 200


def test_the_first_load_reads_no_part_over_and_over_and_an_idle_page_asks_for_nothing(relay, open_page):
    page = open_page("#problems")
    page.wait_for_texts("#tab-problems .number", ["2"])
    page.wait(lambda: len(relay.requests()) >= 7)
    relay.reset()
    page.driver.refresh()
    page.wait_for_texts("#tab-problems .number", ["2"])
    page.wait(lambda: len(relay.requests()) >= 7)
    whatever_was_put_off_comes_due(page)
    # The start of the stream may come behind the first answers, which are read once more then.
    requests = relay.requests()
    assert set(requests) == {"about", "batches", "events", "keys", "problems", "server", "stores"}
    assert max(requests.count(name) for name in requests) <= 2
    whatever_was_put_off_comes_due(page)
    assert relay.requests() == requests


def whatever_was_put_off_comes_due(page):
    """The page's own clock runs for longer than it puts anything off."""
    page.script("return new Promise((resolve) => setTimeout(resolve, 3500))")


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
    page.wait(lambda: "problems" in relay.requests())
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
        asked = len(relay.requests())
        page.script("return new Promise((resolve) => setTimeout(resolve, 3500))")
        assert len(relay.requests()) == asked


def open_stream(page, inspector):
    """A stream of events as another page would have it."""
    cookies = "; ".join(f"{cookie['name']}={cookie['value']}" for cookie in page.driver.get_cookies())
    stream = socket.create_connection(("127.0.0.1", inspector.port))
    stream.sendall(f"GET /api/events HTTP/1.1\r\nHost: 127.0.0.1:{inspector.port}\r\nCookie: {cookies}\r\n\r\n".encode())
    assert stream.recv(4096).startswith(b"HTTP/1.1 200")
    return stream

"""The connection to the tool, lost and found."""

import urllib.request


def test_a_lost_connection_is_told_and_found_again(relay, start, open_page):
    inspector = start()
    page = open_page("", inspector, expects_complaints=True)
    relay.cut()
    page.wait_for_texts("#connection", ["Connection lost"])
    assert page.text("#banner").startswith("The connection to the tool is lost.")
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

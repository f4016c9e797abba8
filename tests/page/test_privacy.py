"""What must not leave the tool."""

import http.server
import threading

SECRET = "only-the-server-knows-4711"


def test_a_sensitive_value_never_reaches_the_browser(serve, start, relay, open_page):
    serve({"ContactSearchToken": SECRET, "Plain": "the control"}, sensitive=["ContactSearchToken"])
    page = open_page()
    page.wait_for_value("contactsearchtoken", "VALUE_HIDDEN")
    page.open_key("contactsearchtoken")
    page.type("#user-value", "another secret")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: page.texts(".answer p"))
    assert "another secret" not in page.text(".answer")
    for view in ("chain/ContactSearchToken", "live", "server", "problems"):
        page.go(view)
        page.wait(lambda: page.texts("#view-" + view.split("/")[0]))
    assert b"the control" in relay.received()
    assert SECRET.encode() not in relay.received()
    assert SECRET not in page.driver.page_source
    assert b"another secret" not in relay.received()


def test_with_reveal_the_page_says_so(profile, start, open_page):
    profile.write_override({"BDIConnectionUsername": SECRET}, sensitive=["BDIConnectionUsername"])
    page = open_page("", start("--reveal"))
    page.wait_for_texts(".reveal", ["sensitive values are shown"])
    page.wait_for_value("bdiconnectionusername", SECRET)


def test_the_token_does_not_stay_in_the_address(open_page):
    page = open_page("#live")
    assert "token" not in page.driver.current_url


def test_another_server_of_this_machine_is_not_handed_the_cookie(open_page):
    # An icon of its own keeps the browser from asking for one just when the server stops.
    document = b"<!DOCTYPE html><title>Curious</title><link rel='icon' href='data:,'>"

    class Curious(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            self.server.heard.append(self.headers.get("Cookie"))
            self.send_response(200)
            self.send_header("Content-Type", "text/html")
            self.send_header("Content-Length", str(len(document)))
            self.end_headers()
            self.wfile.write(document)

        def log_message(self, *_):
            pass

    page = open_page()
    assert len(page.driver.get_cookies()) == 1
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Curious) as other:
        other.heard = []
        threading.Thread(target=other.serve_forever, daemon=True).start()
        page.driver.get(f"http://127.0.0.1:{other.server_port}/")
        other.shutdown()
    assert other.heard == [None]

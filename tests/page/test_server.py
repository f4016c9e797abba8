"""The servers, the fetching of their file, and what comes of it."""


def test_without_a_server_it_says_what_to_do(open_page):
    page = open_page("#server")
    page.wait_for_texts("#view-server .lead", ["No server is known."])
    page.wait_for_text("#view-server", "No store names a server: set TFTPPrimaryServer, or let the installer do it.")


def test_without_a_server_nothing_is_asked_and_it_says_so(open_page):
    page = open_page("#server", expects_complaints=True)  # the browser notes a refusal as one
    page.wait_for_texts("#view-server .lead", ["No server is known."])
    page.click_text("#view-server button", "Fetch again")
    page.wait_for_texts("#view-server .failure",
                        ["No store names a server that could be asked; set TFTPPrimaryServer first."])
    assert page.texts("#view-server .lead") == ["No server is known."]


def test_a_download_is_told_with_its_attempts(serve, open_page):
    serve({"fromtheserver": "yes", "Another": "1"})
    page = open_page("#server")
    page.wait_for_texts("#view-server .lead", ["The file was delivered, with 2 keys."])
    assert "12.5" in page.text(".facts")
    assert page.texts(".cycle h3 .end") == ["delivered"]
    assert "at the start" in page.text(".cycle h3")
    assert "corvid-config.xml" in page.text(".cycle li:last-child")
    assert "TFTPPrimaryServer" in page.text("#view-server tbody")


def test_a_new_file_comes_by_the_button_and_changes_the_row(serve, profile, open_page):
    serve({"fromtheserver": "before"})
    page = open_page()
    page.wait_for_value("fromtheserver", "before")
    profile.write_server({"fromtheserver": "after"})
    page.click("#tab-server")
    page.click_text("#view-server button", "Fetch again")
    page.wait(lambda: page.texts(".cycle h3 .end") == ["delivered", "delivered"])
    assert ["asked for" in text for text in page.texts(".cycle h3")] == [True, False]
    page.click("#tab-keys")
    page.wait_for_value("fromtheserver", "after")
    assert page.row("fromtheserver")[2] == "TFTPConfigStore"


def test_a_server_that_does_not_answer_is_told(profile, open_page):
    profile.write_bootstrap({"TftpServer1": "127.61.255.254"})
    page = open_page("#server")
    page.wait_for_text(".cycle", "Version of 127.61.255.254: no usable answer")
    assert page.text("#view-server .lead").startswith("The last cycle ended without a file")
    assert "no usable answer from 127.61.255.254" in page.text(".facts")
    page.go("problems")
    page.wait_for_text(".problems h2", "Nothing was fetched")

"""The picture of the chain."""


def test_stores_stand_in_the_order_of_the_chain(open_page):
    page = open_page("#chain")
    page.wait(lambda: page.texts(".store h2"))
    assert page.texts(".store h2")[:2] == ["TftpOverrideConfigStore", "LocalFileConfigStore"]
    assert page.texts(".store h2")[-1] == "corvid-config-defaults.xml"
    priorities = [int(text) for text in page.texts(".store .priority")]
    assert priorities == sorted(priorities)


def test_each_store_tells_its_kind_and_its_numbers(open_page):
    page = open_page("#chain")
    page.wait(lambda: page.texts(".store h2"))
    local = "[data-store=LocalFileConfigStore]"
    assert page.texts(f"{local} .tag") == ["writable", "profile", "live"]
    assert page.text(f"{local} .numbers") == "4 keys, wins 3, 2 times over another store"
    assert "corvidLocalConfig.xml" in page.text(f"{local} .source") and "loaded" in page.text(f"{local} .source")
    assert page.texts("[data-store='cachedTFTPConfigStore.xml'] .tag") == ["read-only", "local", "cached"]


def test_the_way_of_a_value_is_drawn(open_page):
    page = open_page("#chain/VoicemailPrimaryServer")
    page.wait(lambda: page.texts(".layer-box"))
    parts = dict(zip(page.texts(".store h2"), page.texts(".store .part")))
    assert parts["TftpOverrideConfigStore"] == "absent"
    assert parts["LocalFileConfigStore"] == "wins"
    assert parts["cachedTFTPConfigStore.xml"] == "shadowed"
    assert page.text("#view-chain .lead") == (
        'LocalFileConfigStore has VoicemailPrimaryServer first, and wins with "voicemail-2.example.org". The '
        'administrator\'s value is "voicemail-1.example.org", of cachedTFTPConfigStore.xml.')
    assert page.script("return document.querySelectorAll('.rail-stop.wins').length") == 1


def test_a_key_is_chosen_by_typing_and_let_go(open_page):
    page = open_page("#chain")
    page.type("#chain-key", "DockedWindow")
    page.wait_for_text("#view-chain .lead", "has DockedWindow first")
    assert page.driver.current_url.endswith("#chain/DockedWindow")
    page.click_text("#view-chain button", "No key")
    page.wait_for_texts(".layer-box", [])


def test_the_way_changes_with_the_value(start, open_page):
    inspector = start()
    picture = open_page("#chain/DockedWindow", inspector)
    picture.wait(lambda: picture.texts("[data-store=LocalFileConfigStore] .layer-value") == ["false"])
    other = open_page("#keys/DockedWindow", inspector)
    other.wait(lambda: other.texts(".stack tbody tr"))
    other.click_text(".user-value button", "Erase")
    picture.activate()
    picture.wait_for_texts("[data-store='corvid-config-defaults.xml'] .part", ["wins"])


def test_a_key_that_nobody_has_is_told(open_page):
    page = open_page("#chain/NobodyHasThis")
    page.wait_for_texts("#view-chain .lead", ["No store has NobodyHasThis."])


def test_a_store_that_could_not_be_loaded_tells_why(profile, open_page):
    (profile.directory / "config" / "corvid-config-user.xml").write_text("<config>\n<A>\n</config>\n")
    page = open_page("#chain")
    store = "[data-store=TftpOverrideConfigStore]"
    page.wait_for_text(f"{store} .failure", "line 3")
    assert page.texts(f"{store} .store-state") == ["failed"]
    assert page.text(f"{store} .numbers") == "0 keys, wins 0"
    assert page.texts("[data-store=LocalFileConfigStore] .failure") == []

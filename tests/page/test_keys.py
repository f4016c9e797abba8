"""The table of keys."""

import os

import pytest

STATES = {
    "DockedWindow": ["DockedWindow", "false", "LocalFileConfigStore", "true", "overridden"],
    "LaunchOnSystemStartup": ["LaunchOnSystemStartup", "false", "corvid-config-defaults.xml", "false", "default"],
    "telemetryenabled": ["telemetryenabled", "false", "TftpOverrideConfigStore", "false", "shadowed"],
    "VoicemailPrimaryServer": ["VoicemailPrimaryServer", "voicemail-2.example.org", "LocalFileConfigStore",
                               "voicemail-1.example.org", "overridden"],
    "VoicmeailPollingInterval": ["VoicmeailPollingInterval", "30", "cachedTFTPConfigStore.xml", "30", "administrator"],
}


def test_each_row_tells_value_store_administrators_value_and_state(open_page):
    page = open_page()
    assert {key: page.row(key)[:5] for key in STATES} == STATES


def test_rows_tell_how_old_a_value_is(open_page):
    page = open_page()
    assert page.row("DockedWindow")[5].endswith(("just now", "ago"))


def test_typing_filters_by_key_value_and_store(open_page):
    page = open_page()
    page.type("#filter", "voic")
    page.wait_for_keys(["VoicemailPrimaryServer", "VoicmeailPollingInterval"])
    page.type("#filter", "VOICEMAIL-2")
    page.wait_for_keys(["VoicemailPrimaryServer"])
    page.type("#filter", "tftpoverride tele")
    page.wait_for_keys(["telemetryenabled"])
    assert page.text("#view-keys .summary").startswith("1 of ")


def test_a_filter_that_nothing_passes_offers_to_open_the_key(open_page):
    page = open_page()
    page.type("#filter", "BrandNewKey")
    page.wait_for_text(".empty", "No key is like that.")
    page.click(".empty button")
    page.wait_for_texts(".detail h2", ["BrandNewKey"])
    page.wait(lambda: page.row("BrandNewKey")[4] == "undefined")


def test_states_are_counted_and_filter(open_page):
    page = open_page()
    page.click(".chip[data-state=shadowed]")
    page.wait_for_keys(["telemetryenabled"])
    assert page.text(".chip[data-state=shadowed]").split() == ["shadowed", "1"]
    page.click(".chip[data-state='']")
    page.wait(lambda: len(page.keys()) > 1)


def test_a_column_sorts_up_and_then_down(profile, open_page):
    profile.write_user({"b10": "2", "b9": "10", "a1": "1"})
    page = open_page()
    page.type("#filter", "LocalFileConfigStore")
    page.wait(lambda: "a1" in page.keys())
    ours = lambda: [key for key in page.keys() if key in ("b10", "b9", "a1")]
    assert ours() == ["a1", "b9", "b10"]
    page.click_text(".grid-head button", "Value")
    page.wait(lambda: ours() == ["a1", "b10", "b9"])
    assert page.find("[data-column=value]").get_attribute("aria-sort") == "ascending"
    page.click_text(".grid-head button", "Value")
    page.wait(lambda: ours() == ["b9", "b10", "a1"])
    assert page.find("[data-column=value]").get_attribute("aria-sort") == "descending"


@pytest.mark.parametrize("title, column", (("Winning store", 2), ("Administrator’s value", 3), ("State", 4)))
def test_every_column_sorts_by_its_texts(title, column, open_page):
    page = open_page()
    texts = lambda: [row[column].lower() for row in page.rows()]
    before = texts()
    assert before != sorted(before)
    page.click_text(".grid-head button", title)
    page.wait(lambda: texts() == sorted(before))


def test_the_age_sorts_by_the_time(profile, open_page):
    os.utime(profile.directory / "install" / "corvid-config-defaults.xml", (1_000_000_000, 1_000_000_000))
    page = open_page()
    page.click_text(".grid-head button", "Age")
    page.wait(lambda: page.keys()[-1] == "LaunchOnSystemStartup")
    page.click_text(".grid-head button", "Age")
    page.wait(lambda: page.keys()[0] == "LaunchOnSystemStartup")


def test_undefined_keys_are_shown_on_demand(open_page):
    page = open_page("#keys/NobodyHasThis")
    page.wait_for_texts(".detail h2", ["NobodyHasThis"])
    assert page.find("#undefined").is_selected()
    page.wait(lambda: page.row("NobodyHasThis")[1] == "–")
    page.click("#undefined")
    page.wait(lambda: page.row("NobodyHasThis") is None)


def test_an_opened_row_tells_the_stack_with_files_lines_and_parts(open_page):
    page = open_page()
    page.click_text(".grid-row .column-key", "VoicemailPrimaryServer")
    page.wait(lambda: "corvidLocalConfig.xml:4" in page.texts(".stack .where"))
    parts = dict(zip(page.texts(".stack tbody th"), page.texts(".stack .part")))
    assert parts["LocalFileConfigStore"] == "wins"
    assert parts["cachedTFTPConfigStore.xml"] == "shadowed"
    assert parts["corvid-config-defaults.xml"] == "absent"
    places = dict(zip(page.texts(".stack tbody th"), page.texts(".stack .where")))
    assert places["LocalFileConfigStore"] == "corvidLocalConfig.xml:4"
    assert places["cachedTFTPConfigStore.xml"] == "Cache/cachedTFTPConfigStore.xml:4"


def test_an_opened_row_tells_rules_and_recent_changes(open_page):
    page = open_page("#keys/VoicemailPrimaryServer")
    page.wait_for_text(".detail .rules", "cachedTFTPConfigStore.xml is the copy that was kept")
    page.open_key("DockedWindow")
    page.wait_for_text(".detail", "None since the inspector began.")
    page.type("#user-value", "undocked")
    page.click_text(".user-value button", "Set")
    page.wait_for_text(".detail .scrolled:last-child", "false → undocked")


def test_a_row_closes_when_it_is_pressed_again(open_page):
    page = open_page()
    page.click_text(".grid-row .column-key", "DockedWindow")
    page.wait_for_texts(".detail h2", ["DockedWindow"])
    page.click_text(".grid-row .column-key", "DockedWindow")
    page.wait_for_texts(".detail", [])
    assert page.driver.current_url.endswith("#keys")


def test_the_address_keeps_the_view_and_the_key(open_page):
    page = open_page("#keys/DockedWindow")
    page.wait_for_texts(".detail h2", ["DockedWindow"])
    page.driver.refresh()
    page.wait_for_texts(".detail h2", ["DockedWindow"])
    page.click("#tab-live")
    page.wait_for_texts("[role=tab][aria-selected=true]", ["Live"])
    page.driver.back()
    page.wait_for_texts(".detail h2", ["DockedWindow"])


def test_of_ten_thousand_keys_few_are_in_the_document(profile, open_page):
    profile.write_many(10000)
    page = open_page()
    page.wait_for_text("#view-keys .summary", "10,0")
    assert len(page.rows()) < 60
    page.type("#filter", "key0")
    page.wait(lambda: page.keys()[0] == "key00001")
    grid = page.find(".grid")
    assert int(grid.get_attribute("aria-rowcount")) == 10000
    page.script("arguments[0].scrollTop = arguments[0].scrollHeight", grid)
    page.wait(lambda: page.keys()[-1] == "key09999")
    assert len(page.rows()) < 60
    last = page.find(".grid-row[aria-rowindex='10000']")
    assert last.rect["y"] + last.rect["height"] <= grid.rect["y"] + grid.rect["height"] + 1
    page.script("arguments[0].scrollTop = arguments[0].scrollHeight / 2", grid)
    page.wait(lambda: "key05000" in page.keys())


def test_hostile_texts_are_shown_as_texts(profile, open_page):
    markup = '<img src=x onerror="window.hacked = 1"><script>window.hacked = 1</script>'
    hostile = {
        "markup": markup,
        "<b onclick=alert(1)>bold</b>": "1",
        "righttoleft": "\u202egnp.exe \u05d0\u05d1\u05d2",
        "long": "x" * 10000,
    }
    profile.write_user(hostile)
    page = open_page()
    page.wait(lambda: page.row("markup"))
    assert page.row("markup")[1] == markup
    assert page.row("<b onclick=alert(1)>bold</b>")[1] == "1"
    assert page.row("righttoleft")[1] == hostile["righttoleft"]
    assert page.row("long")[1] == "x" * 300 + "…"
    for key, value in hostile.items():
        page.script("location.hash = 'keys/' + encodeURIComponent(arguments[0])", key)
        page.wait_for_texts(".detail h2", [key])
        page.wait(lambda: value in page.script(
            "return [...document.querySelectorAll('.stack .long')].map((cell) => cell.textContent)"))
    page.go("chain/markup")
    page.wait(lambda: markup in page.texts(".layer-value"))
    for view in ("live", "problems", "server"):
        page.go(view)
    assert page.script("return window.hacked === undefined && document.querySelector('main img, main script, b') === null")


def test_a_long_value_does_not_widen_the_page(profile, open_page):
    profile.write_user({"long": "x" * 10000})
    page = open_page("#keys/Long")
    page.wait(lambda: page.texts(".stack tbody tr"))
    assert page.script("return document.documentElement.scrollWidth <= innerWidth")
    assert page.script("const grid = document.querySelector('.grid'); return grid.scrollWidth <= grid.clientWidth")


def test_an_address_that_is_no_encoding_stands_for_itself(open_page):
    page = open_page("#keys/%E0%A4%A")
    page.wait_for_texts(".detail h2", ["%E0%A4%A"])


def test_a_key_is_found_in_any_case(open_page):
    page = open_page("#keys/dockedWINDOW")
    page.wait_for_texts(".detail h2", ["DockedWindow"])
    page.wait(lambda: page.row("DockedWindow"))


RENAME = """
return import('./keys.js').then(({KeysView}) => {
  const row = (key) => ({key, value: '', originalValue: '', valueStoreName: '', state: 'user', since: null, isDefined: true,
    searched: ''});
  const model = Object.assign(new EventTarget(), {keys: [row('DOCKEDWindow')], loaded: new Set(['keys'])});
  model.askedRow = () => model.keys[0];
  const root = document.querySelector('main').appendChild(document.createElement('section'));
  const view = new KeysView(model, root, () => {});
  model.dispatchEvent(new Event('keys'));
  view.show('DOCKEDWindow');
  const before = root.querySelector('.detail h2').textContent;
  model.keys = [row('DockedWindow')];
  model.dispatchEvent(new Event('keys'));
  const after = root.querySelector('.detail h2')?.textContent;
  root.remove();
  return [before, after];
});
"""


def test_a_row_stays_open_when_another_store_writes_its_name_in_another_case(open_page):
    assert open_page().script(RENAME) == ["DOCKEDWindow", "DockedWindow"]


def test_an_address_that_objects_have_a_word_for_shows_the_keys(open_page):
    for address in ("#constructor", "#toString"):
        page = open_page(address)
        page.wait_for_texts("[role=tab][aria-selected=true]", ["Keys"])

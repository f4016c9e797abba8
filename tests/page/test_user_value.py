"""Setting and erasing the user's value, and the truth about it."""

import pytest


def answer(page):
    return page.texts(".user-value .answer p")


def test_setting_tells_what_wins_and_where_it_is_kept(profile, open_page):
    page = open_page("#keys/DockedWindow")
    page.wait(lambda: page.find("#user-value").get_attribute("value") == "false")
    page.type("#user-value", "floating")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: answer(page))
    first, last = answer(page)
    assert first == 'DockedWindow is "floating": LocalFileConfigStore has it and wins.'
    assert last == "It is kept in corvidLocalConfig.xml."
    page.wait_for_value("DockedWindow", "floating")
    assert 'value="floating"' in (profile.directory / "config" / "corvidLocalConfig.xml").read_text()


def test_a_value_that_waits_is_told_as_such(open_page):
    page = open_page("#keys/telemetryenabled")
    page.wait(lambda: page.texts(".stack tbody tr"))
    page.type("#user-value", "maybe")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: answer(page))
    assert answer(page)[:2] == ["The value is stored in LocalFileConfigStore, without effect.",
                                'TftpOverrideConfigStore still wins, with "false".']
    assert page.row("telemetryenabled")[1] == "false"


def test_erasing_tells_who_wins_then(open_page):
    page = open_page("#keys/VoicemailPrimaryServer")
    page.wait(lambda: page.texts(".stack tbody tr"))
    page.click_text(".user-value button", "Erase")
    page.wait(lambda: answer(page))
    assert answer(page) == ["The user's value is erased from LocalFileConfigStore; cachedTFTPConfigStore.xml wins with "
                            '"voicemail-1.example.org".']
    page.wait_for_value("VoicemailPrimaryServer", "voicemail-1.example.org")
    page.wait(lambda: page.row("VoicemailPrimaryServer")[4] == "administrator")
    assert page.find("#user-value").get_attribute("value") == ""


def test_erasing_what_is_not_there_changes_nothing(open_page):
    page = open_page("#keys/LaunchOnSystemStartup")
    page.wait(lambda: page.texts(".stack tbody tr"))
    page.click_text(".user-value button", "Erase")
    page.wait(lambda: answer(page))
    assert answer(page) == ["There is no user's value of LaunchOnSystemStartup to erase; corvid-config-defaults.xml wins "
                            'with "false".']


def test_enter_in_the_field_sets_the_value(open_page):
    page = open_page("#keys/DockedWindow")
    page.wait(lambda: page.texts(".stack tbody tr"))
    page.type("#user-value", "by the keyboard\n")
    page.wait_for_value("DockedWindow", "by the keyboard")


def test_a_second_page_sees_the_change_as_it_comes(start, open_page):
    inspector = start()
    first = open_page("#keys/DockedWindow", inspector)
    second = open_page("", inspector)
    assert second.row("DockedWindow")[1] == "false"
    first.activate()
    first.wait(lambda: first.texts(".stack tbody tr"))
    first.type("#user-value", "seen elsewhere")
    first.click_text(".user-value button", "Set")
    first.wait_for_value("DockedWindow", "seen elsewhere")
    second.activate()
    second.wait_for_value("DockedWindow", "seen elsewhere")
    assert "DockedWindow" in second.find("#announcer").get_attribute("textContent")


def test_what_is_being_typed_survives_a_change(start, open_page):
    inspector = start()
    first = open_page("#keys/DockedWindow", inspector)
    first.wait(lambda: first.texts(".stack tbody tr"))
    first.type("#user-value", "not yet")
    second = open_page("#keys/DockedWindow", inspector)
    second.wait(lambda: second.texts(".stack tbody tr"))
    second.type("#user-value", "another's\n")
    first.activate()
    first.wait_for_value("DockedWindow", "another's")
    assert first.find("#user-value").get_attribute("value") == "not yet"


def test_line_feeds_of_a_value_survive(profile, open_page):
    profile.write_user({"DockedWindow": "left\r\nright", "LaunchOnSystemStartup": "true"})
    user_file = profile.directory / "config" / "corvidLocalConfig.xml"
    page = open_page("#keys/DockedWindow")
    page.wait(lambda: page.find("#user-value").get_attribute("value") == "left\nright")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: answer(page))
    assert 'value="left&#13;&#10;right"' in user_file.read_text()
    page.find("#user-value").send_keys(" and above")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: 'right and above"' in user_file.read_text())
    assert 'value="left&#10;right and above"' in user_file.read_text()
    page.open_key("LaunchOnSystemStartup")
    page.wait(lambda: page.find("#user-value").tag_name == "input")


def test_a_value_that_is_not_shown_is_not_lost_to_an_empty_field(profile, open_page):
    profile.write_user({"BDIConnectionPassword": "the user's own"})
    user_file = profile.directory / "config" / "corvidLocalConfig.xml"
    before = user_file.read_text()
    page = open_page("#keys/BDIConnectionPassword")
    page.wait(lambda: page.find("#user-value").get_attribute("placeholder") == "set, and not shown")
    page.click_text(".user-value button", "Set")
    page.wait(lambda: answer(page))
    assert answer(page) == ["Nothing is stored: the value is not shown, and nobody has typed another one."]
    assert user_file.read_text() == before
    page.type("#user-value", "another\n")
    page.wait(lambda: "another" in user_file.read_text())


@pytest.mark.parametrize("key", ("ContactSearchToken", "BDIConnectionPassword"))
def test_a_sensitive_value_is_typed_hidden_even_if_no_store_has_it(key, open_page):
    page = open_page(f"#keys/{key}")
    page.wait(lambda: page.texts(".stack tbody tr"))
    assert page.find("#user-value").get_attribute("type") == "password"
    page.open_key("DockedWindow")
    page.wait(lambda: page.find("#user-value").get_attribute("type") == "text")


def test_what_programs_put_into_memory_is_not_the_users_value(open_page):
    found = open_page().script("""return import('./user-value.js').then(({UserValueForm}) => {
        const layer = (store) => ({store, isReadOnly: false, value: `of ${store}`});
        return ['InMemoryConfigStore', 'LocalFileConfigStore'].map((store) => {
          const form = new UserValueForm();
          form.showExplanation({layers: [layer(store)], isSensitive: false});
          return [form.field.value, form.field.placeholder];
        });
      });""")
    assert found == [["", "not set"], ["of LocalFileConfigStore", ""]]

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

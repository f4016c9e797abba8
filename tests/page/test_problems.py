"""What is wrong, or may surprise."""


def test_a_waiting_value_is_named_with_its_key(open_page):
    page = open_page("#problems")
    page.wait_for_text(".problems", "telemetryenabled")
    assert "User’s values that wait behind another store" in page.text(".problems h2")
    page.click_text(".problem a", "telemetryenabled")
    page.wait_for_texts(".detail h2", ["telemetryenabled"])


def test_an_unreadable_file_is_named_with_its_line(profile, open_page):
    (profile.directory / "config" / "corvid-config-user.xml").write_text("<config>\n<A>\n</config>\n")
    page = open_page("#problems")
    page.wait_for_text(".problems h2", "Unreadable files")
    assert "corvid-config-user.xml:3" in page.text(".problem[data-severity=error]")


def test_what_a_policy_has_erased_is_named_with_the_policy(profile, open_page):
    profile.write_override({"Customize_Voicemail_Server": "false"})
    page = open_page("#problems")
    page.wait_for_text(".problem[data-severity=warning]", "The client has erased the user's VoicemailPrimaryServer from "
                       "LocalFileConfigStore")
    assert 'since Customize_Voicemail_Server is "false", from TftpOverrideConfigStore.' in page.text(".problem")


def test_a_kept_copy_in_use_is_named(open_page):
    page = open_page("#problems")
    page.wait_for_text(".problem[data-severity=info]", "cachedTFTPConfigStore.xml is the copy that was kept")


def test_the_tab_counts_the_problems_and_follows_them(open_page):
    page = open_page("#keys/telemetryenabled")
    page.wait_for_texts("#tab-problems .number", ["2"])
    page.wait(lambda: page.texts(".stack tbody tr"))
    page.click_text(".user-value button", "Erase")
    page.wait_for_texts("#tab-problems .number", ["1"])
    assert page.find("#tab-problems").get_attribute("aria-label") == "Problems, 1"


DRAW_TWICE = """
return import('./problems.js').then(({ProblemsView}) => {
  const problem = (text) => ({severity: 'info', kind: 'not-on-disk', text, key: 'AKey', store: null, file: null, line: null});
  const model = Object.assign(new EventTarget(), {problems: [problem('before')]});
  const root = document.querySelector('main').appendChild(document.createElement('section'));
  new ProblemsView(model, root, document.createElement('button'));
  model.dispatchEvent(new Event('problems'));
  root.querySelector('a').focus();
  getSelection().selectAllChildren(root.querySelector('p'));
  model.problems = [problem(arguments[0])];
  model.dispatchEvent(new Event('problems'));
  const found = [root.querySelector('p').textContent, document.activeElement.textContent, getSelection().toString().trim()];
  root.remove();
  return found;
});
"""


def test_drawing_the_same_again_keeps_focus_and_selection(open_page):
    assert open_page().script(DRAW_TWICE, "before") == ["before", "AKey", "before"]


def test_drawing_something_else_gives_the_focus_back(open_page):
    assert open_page().script(DRAW_TWICE, "after")[:2] == ["after", "AKey"]

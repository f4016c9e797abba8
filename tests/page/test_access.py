"""Reading and working without a mouse, without sight of the screen, in the dark and in narrow windows."""

import pytest
from selenium.webdriver.common.keys import Keys

VIEWS = ("keys/VoicemailPrimaryServer", "chain/VoicemailPrimaryServer", "live", "server", "problems")


def test_everything_is_done_with_the_keyboard_alone(open_page):
    page = open_page()
    page.press("/")
    page.wait(lambda: page.focused() == "filter")
    page.press(*"docked", Keys.ARROW_DOWN)
    page.wait_for_keys(["DockedWindow"])
    assert page.focused() == "Keys"
    page.press(Keys.ENTER)
    page.wait_for_texts(".detail h2", ["DockedWindow"])
    page.wait(lambda: page.focused() == "DockedWindow")
    tab_to(page, "user-value")
    page.press(*"x", Keys.ENTER)
    page.wait(lambda: page.texts(".answer p"))
    page.press(Keys.ESCAPE)
    page.wait_for_texts(".detail", [])
    assert page.focused() == "Keys"


def tab_to(page, name):
    """Goes on until the focus is where it should be; a table that scrolls is on the way if it must scroll."""
    for _ in range(8):
        page.press(Keys.TAB)
        if page.focused() == name:
            return
    raise AssertionError(f"{name} cannot be reached")


def test_arrows_move_the_active_row_and_keep_it_in_sight(profile, open_page):
    profile.write_many(500)
    page = open_page()
    page.wait(lambda: len(page.rows()) > 10)
    grid = page.find(".grid")
    page.script("arguments[0].focus()", grid)
    active = lambda: page.script("""const row = document.getElementById(arguments[0].getAttribute('aria-activedescendant'));
        return row.firstChild.textContent;""", grid)
    first = active()
    page.press(Keys.ARROW_DOWN)
    page.wait(lambda: active() != first)
    page.press(Keys.END)
    page.wait(lambda: active() != first and page.script("return arguments[0].scrollTop > 5000", grid))
    last = page.find(".grid-row.active")
    assert last.rect["y"] + last.rect["height"] <= grid.rect["y"] + grid.rect["height"] + 1
    page.press(Keys.HOME)
    page.wait(lambda: active() == first)
    page.press(Keys.PAGE_DOWN, Keys.ENTER)
    page.wait_for_texts(".detail h2", [active()])


def test_arrows_move_along_the_tabs(open_page):
    page = open_page()
    page.script("document.getElementById('tab-keys').focus()")
    page.press(Keys.ARROW_RIGHT)
    page.wait_for_texts("[role=tab][aria-selected=true]", ["Chain"])
    assert page.focused() == "tab-chain"
    page.press(Keys.ARROW_LEFT, Keys.ARROW_LEFT)
    page.wait(lambda: page.find("#tab-problems").get_attribute("aria-selected") == "true")


def test_the_focus_can_be_seen(open_page):
    page = open_page()
    page.press(Keys.TAB, Keys.TAB)
    outline = page.script("const style = getComputedStyle(document.activeElement); return style.outlineStyle + style.outlineWidth")
    assert outline == "solid2px"


def test_screen_readers_are_told_the_roles(open_page):
    page = open_page("#keys/VoicemailPrimaryServer")
    page.wait(lambda: page.texts(".stack tbody tr"))
    count = lambda selector: page.script("return document.querySelectorAll(arguments[0]).length", selector)
    assert count("[role=tablist] [role=tab][aria-controls]") == 5
    assert count("[role=tabpanel][aria-labelledby]") == 5
    assert count("[role=grid][aria-label][aria-rowcount][aria-colcount='6']") == 1
    assert count("[role=row]:not([aria-rowindex])") == 0
    assert count(".grid-row:has(> [role=gridcell]:nth-child(6))") == len(page.rows())
    assert count("[role=columnheader][aria-sort]") == 6
    assert count("[aria-expanded=true]") == 1
    assert count("[aria-live=polite]") == 1


@pytest.mark.parametrize("address", VIEWS)
def test_every_field_and_button_has_a_name(address, open_page):
    page = open_page("#" + address)
    page.wait(lambda: page.texts("#view-" + address.split("/")[0]))
    assert page.script("""return [...document.querySelectorAll('button, input, select, textarea, a')]
        .filter((node) => node.checkVisibility())
        .filter((node) => !(node.ariaLabel || node.innerText.trim() || node.labels?.length))
        .map((node) => node.outerHTML)""") == []
    ids = page.script("return [...document.querySelectorAll('[id]')].map((node) => node.id)")
    assert len(ids) == len(set(ids))


CONTRASTS = """
const channel = (value) => (value /= 255) <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
const luminance = ([r, g, b]) => 0.2126 * channel(r) + 0.7152 * channel(g) + 0.0722 * channel(b);
const parts = (colour) => colour.match(/[0-9.]+/g).map(Number);
const backgroundOf = (node) => {
  for (let at = node; at; at = at.parentElement) {
    const colour = parts(getComputedStyle(at).backgroundColor);
    if (colour.length === 3 || colour[3] === 1) return colour;
  }
  return [255, 255, 255];
};
const poor = [];
for (const node of document.querySelectorAll('body *')) {
  const says = [...node.childNodes].some((child) => child.nodeType === 3 && child.data.trim());
  if (!says || !node.checkVisibility() || node.disabled) continue;
  const [light, dark] = [luminance(parts(getComputedStyle(node).color)), luminance(backgroundOf(node))].sort((a, b) => b - a);
  const contrast = (light + 0.05) / (dark + 0.05);
  if (contrast < 4.5) poor.push(`${node.className || node.tagName}: ${node.textContent.slice(0, 30)}: ${contrast.toFixed(2)}`);
}
return poor;
"""


@pytest.mark.parametrize("scheme", ("light", "dark"))
def test_texts_can_be_read(scheme, open_page, browser):
    page = open_page()
    browser.emulate(prefers_color_scheme=scheme)
    ground = page.script("return getComputedStyle(document.body).backgroundColor")
    assert (scheme == "dark") == (int(ground[4:].split(",")[0]) < 128)
    for address in VIEWS:
        page.go(address)
        page.wait(lambda: page.texts("#view-" + address.split("/")[0]))
        assert page.script(CONTRASTS) == []


def test_a_narrow_window_shows_everything_without_scrolling_sideways(open_page):
    page = open_page()
    page.driver.set_window_size(500, 800)
    for address in VIEWS:
        page.go(address)
        page.wait(lambda: page.texts("#view-" + address.split("/")[0]))
        assert page.script("return document.documentElement.scrollWidth <= innerWidth"), address
        assert page.script("const view = document.querySelector('main > :not([hidden])');"
                           "return view.scrollWidth <= view.clientWidth"), address


def test_a_narrower_window_leaves_out_the_administrators_value_and_the_age(open_page):
    page = open_page()
    all_columns = ["Key", "Value", "Winning store", "Administrator’s value", "State", "Age"]
    for width, columns in ((1300, all_columns), (1100, ["Key", "Value", "Winning store", "State"])):
        page.driver.set_window_size(width, 800)
        page.wait(lambda: page.script("return innerWidth") == width)
        assert [text.split("\n")[0] for text in page.texts("[role=columnheader]")] == columns


def test_nothing_moves_for_those_who_do_not_want_it(open_page, browser):
    page = open_page()
    browser.emulate(prefers_reduced_motion="reduce")
    assert page.script("""return [...document.querySelectorAll('*')]
        .every((node) => getComputedStyle(node).transitionDuration === '0s')""")


ORDER = "return [...document.querySelectorAll('.grid-body > [role=row]')].map((row) => Number(row.ariaRowIndex))"


def test_the_document_has_the_rows_in_their_order_and_the_detail_behind_its_row(profile, open_page):
    profile.write_many(300)
    page = open_page("#keys/Key00150")
    page.wait(lambda: page.texts(".stack tbody tr"))

    def check():
        order = page.script(ORDER)
        assert order == sorted(set(order))
        assert page.script("""const detail = document.querySelector('.grid-detail');
            return detail.previousSibling.ariaExpanded + (detail.ariaRowIndex - detail.previousSibling.ariaRowIndex)""") == "true1"

    check()
    page.click_text(".grid-head button", "Value")
    page.wait_for_texts("[aria-sort=ascending]", ["Value"])
    check()
    page.click_text(".grid-head button", "Key")
    page.go("keys/Key00007")
    page.wait(lambda: page.text(".detail h2").lower() == "key00007")
    check()
    assert page.find(".grid").get_attribute("aria-rowcount") == str(2 + int(page.text("#view-keys .summary").split()[0]))

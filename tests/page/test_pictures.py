"""Pictures of every view, to be looked at."""

import pytest

VIEWS = {"keys": "", "key": "#keys/VoicemailPrimaryServer", "chain": "#chain/VoicemailPrimaryServer", "live": "#live",
         "server": "#server", "problems": "#problems"}


@pytest.mark.parametrize("scheme", ("light", "dark"))
@pytest.mark.parametrize("view", VIEWS)
def test_picture(view, scheme, open_page, browser, pictures):
    page = open_page(VIEWS[view])
    browser.emulate(prefers_color_scheme=scheme)
    if view == "live":
        page.set_value("DockedWindow", "true")
        page.wait(lambda: page.texts(".batch"))
    page.wait(lambda: page.texts({"key": ".stack tbody tr", "chain": ".layer-box"}.get(view, "main > section")))
    if pictures:
        page.picture(pictures / f"{view}-{scheme}.png")

"""Changes as they come."""


def test_a_change_comes_in_its_batch_with_its_cause(open_page):
    page = open_page("#live")
    page.set_value("DockedWindow", "seen")
    page.wait_for_text(".batch", "DockedWindow")
    assert page.texts(".batch:first-child .cause") == ["set"]
    assert page.texts(".batch:first-child tbody .long") == ["false → seen"]


def test_the_newest_batch_is_above(open_page):
    page = open_page("#live")
    for value in ("one", "two", "three"):
        page.set_value("DockedWindow", value)
    page.wait(lambda: page.texts(".batch:first-child tbody .long") == ["two → three"])
    page.driver.refresh()
    page.wait(lambda: page.texts(".batch:first-child tbody .long") == ["two → three"])


def test_paused_changes_wait(open_page):
    page = open_page("#live")
    page.set_value("DockedWindow", "one")
    page.wait_for_text(".batch:first-child", "false → one")
    page.click_text("#view-live button", "Pause")
    page.set_value("DockedWindow", "two")
    page.wait_for_texts("#view-live [aria-pressed]", ["Go on (1 waiting)"])
    assert "two" not in page.text(".batches")
    page.click_text("#view-live button", "Go on (1 waiting)")
    page.wait_for_text(".batch:first-child", "one → two")


def test_changes_are_filtered_by_text_and_cause(open_page):
    page = open_page("#live")
    page.set_value("DockedWindow", "one")
    page.set_value("OtherKey", "two")
    page.wait_for_text(".batches", "OtherKey")
    page.type("#live-filter", "docked")
    page.wait(lambda: "OtherKey" not in page.text(".batches"))
    assert "DockedWindow" in page.text(".batches")
    page.type("#live-filter", "no such thing")
    page.wait_for_texts("#view-live .empty", ["No change is like that."])
    page.type("#live-filter", " ")
    page.click("#live-cause option[value=set]")
    page.type("#live-filter", "two")
    page.wait(lambda: set(page.texts(".batch .cause")) == {"set"})


def test_a_key_of_a_change_can_be_opened(open_page):
    page = open_page("#live")
    page.set_value("DockedWindow", "one")
    page.wait_for_text(".batches", "DockedWindow")
    page.click_text(".batch a", "DockedWindow")
    page.wait_for_texts(".detail h2", ["DockedWindow"])


def test_a_large_batch_is_shown_in_parts(profile, serve, open_page):
    serve({f"Key{index:04}": "1" for index in range(700)})
    page = open_page("#live")
    page.wait_for_texts(".batch button", ["Show more (681)"])
    page.click_text(".batch button", "Show more (681)")
    page.wait_for_texts(".batch button", ["Show more (181)"])
    page.wait(lambda: page.script("return document.querySelectorAll('.batch tbody tr').length") > 500)


def test_a_hidden_page_gives_its_stream_back_and_catches_up(start, open_page):
    inspector = start()
    page = open_page("#live", inspector)
    page.set_hidden(True)
    page.wait_for_texts("#connection", ["Connecting"])
    page.set_value("DockedWindow", "meanwhile")
    page.set_hidden(False)
    page.wait_for_texts("#connection", ["Connected"])
    page.wait_for_text(".batch:first-child", "false → meanwhile")


def test_an_older_answer_does_not_take_a_newer_batch_away(open_page):
    page = open_page("#live")
    page.set_value("DockedWindow", "one")
    page.wait_for_text(".batch:first-child", "false → one")
    page.script("""const real = window.fetch;
        window.fetch = async (url, options) => {
          const answer = await real(url, options);
          if (String(url).includes('batches')) {
            window.isHeld = true;
            await new Promise((resolve) => { window.letGo = resolve; });
          }
          return answer;
        };""")
    page.set_hidden(True)
    page.set_hidden(False)
    page.wait(lambda: page.script("return window.isHeld === true"))
    page.set_value("DockedWindow", "two")
    page.wait_for_text(".batch:first-child", "one → two")
    page.script("window.letGo(); document.querySelector('.batches').firstChild.dataset.isOld = true;")
    page.wait(lambda: page.script("return !document.querySelector('.batches').firstChild.dataset.isOld"))
    assert "one → two" in page.text(".batch:first-child")
    assert "false → one" in page.text(".batches")


def test_older_batches_are_shown_on_demand(open_page):
    found = open_page().script("""return import('./live.js').then(({LiveView}) => {
        const batches = Array.from({length: 130}, (_, index) => ({batch: index + 1, time: '2030-01-01T00:00:00Z', cause: 'set',
          changes: [{key: 'K', oldValue: '', newValue: '1', oldStore: '', newStore: 'S'}]}));
        const model = Object.assign(new EventTarget(), {batches, dropped: {batches: 0, changes: 0}});
        const root = document.createElement('section');
        const view = new LiveView(model, root);
        const shown = () => [root.querySelectorAll('.batch').length, view.older.textContent, view.older.hidden];
        view.show();
        const before = shown();
        view.older.click();
        return [before, shown().filter((_, index) => index !== 1)];
      });""")
    assert found == [[100, "Show older batches (30)", False], [130, True]]

#!/usr/bin/python3
"""
How long the inspector's page takes to show 10,000 keys: the median of seven navigations, in milliseconds.

From the navigation's start to the first contentful paint, to the first paint with rows in the table, and to the end of
all that begins with the page (the stream is open, and every view's data is read). Then the table is scrolled from its
beginning to its end, a hundred steps of a frame each: the longest frame. One warm browser, no proxy; aim: rows in less
than a second, no frame that is seen to stutter.
"""

import argparse
import pathlib
import statistics
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests" / "page"))

from support.browser import Browser  # noqa: E402
from support.profile import Profile  # noqa: E402
from support.tools import Inspector  # noqa: E402

# Two frames after the rows were put into the document they have been painted.
MARK_PAINTED_ROWS = """
new PerformanceObserver((list) => {
  if (!window.rowsPainted && document.querySelector('.grid-row')) {
    window.rowsPainted = true;
    requestAnimationFrame(() => requestAnimationFrame(() => performance.mark('rows-painted')));
  }
}).observe({type: 'mark'});
"""

TIMES = """
const times = (name) => performance.getEntriesByName(name).map((entry) => entry.startTime)[0];
const ends = performance.getEntriesByType('resource').filter((entry) => !entry.name.endsWith('/events'))
    .map((entry) => entry.responseEnd);
return [times('first-contentful-paint'), times('rows-painted'), Math.max(...ends)];
"""


IS_ALL_READ = """
const read = performance.getEntriesByType('resource').map(({name}) => name.replace(/.*[/]api[/]|[?].*/g, ''));
return performance.getEntriesByName('rows-painted').length > 0
    && ['about', 'keys', 'stores', 'batches', 'problems'].every((part) => read.includes(part));
"""


LONGEST_FRAME = """
const grid = document.querySelector('.grid');
return new Promise((resolve) => {
  let longest = 0;
  let step = 0;
  let before = null;
  const frame = (now) => {
    if (before !== null) longest = Math.max(longest, now - before);
    before = now;
    if (step === 100) return resolve(longest);
    grid.scrollTop = (grid.scrollHeight - grid.clientHeight) * (++step / 100);
    requestAnimationFrame(frame);
  };
  requestAnimationFrame(frame);
});
"""


def measure(browser, link):
    browser.driver.get("about:blank")
    browser.driver.get(link)
    browser.wait(lambda: browser.driver.execute_script(IS_ALL_READ))
    return [*browser.driver.execute_script(TIMES), browser.driver.execute_script(LONGEST_FRAME)]


def tool_to_measure():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", nargs="?", type=pathlib.Path, default=ROOT / "build/release/bin/corvidctl",
                        help="the built tool (default: build/release/bin/corvidctl)")
    tool = parser.parse_args().tool.resolve()
    if not tool.is_file():
        parser.error(f"there is no tool at {tool}; build it first (cmake --build --preset release)")
    return str(tool)


def main():
    tool = tool_to_measure()
    with tempfile.TemporaryDirectory() as folder, Browser(patience=120) as browser:
        profile = Profile(pathlib.Path(folder) / "profile")
        profile.write_many(10000)
        with Inspector(tool, profile) as inspector:
            browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": MARK_PAINTED_ROWS})
            runs = [measure(browser, inspector.link) for _ in range(7)]
    for name, values in zip(("first paint", "rows painted", "all read", "longest frame"), zip(*runs)):
        print(f"{name:14} {statistics.median(values):6.0f} ms   ({min(values):.0f} to {max(values):.0f})")


if __name__ == "__main__":
    main()

"""The inspector's page in a window of its own, in the words of somebody who uses it."""

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

VISIBLE_TEXTS = """
const nodes = document.querySelectorAll(arguments[0]);
return [...nodes].filter((node) => node.checkVisibility()).map((node) => node.innerText.trim());
"""

# The rows in the document by the number that a screen reader is told, each as its cells' texts.
ROWS = """
const rows = [...document.querySelectorAll('.grid-row')].filter((row) => row.checkVisibility());
rows.sort((a, b) => a.ariaRowIndex - b.ariaRowIndex);
return rows.map((row) => [...row.children].map((cell) => cell.textContent));
"""


# Counts what the page has put off and what it waits for: its timers and its questions.
COUNT_WORK = """
window.openWork = 0;
const realTimer = window.setTimeout;
const realFetch = window.fetch;
window.setTimeout = (work, delay) => {
  ++window.openWork;
  return realTimer(() => { --window.openWork; work(); }, delay);
};
window.fetch = (...question) => {
  ++window.openWork;
  const over = () => realTimer(() => --window.openWork);
  const answer = realFetch(...question);
  answer.then(over, over);
  return answer;
};
"""


class Page:
    def __init__(self, browser, inspector, address="", expects_complaints=False, connection="Connected"):
        self.browser = browser
        self.driver = browser.driver
        self.inspector = inspector
        self.expects_complaints = expects_complaints
        self.handle = browser.open_window()
        self.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": COUNT_WORK})
        self.driver.get(inspector.link + address)
        self.wait_for_texts("#connection", [connection])
        self.wait(lambda: self.script("return performance.getEntriesByName('keys-shown').length > 0"))

    def wait_until_idle(self):
        """Until nothing is put off and nothing is asked any more."""
        self.wait(lambda: self.script("return window.openWork") == 0, "the page should be idle")

    def cookies(self):
        """The line that lets others in as this page."""
        return "; ".join(f"{cookie['name']}={cookie['value']}" for cookie in self.driver.get_cookies())

    def set_hidden(self, isHidden):
        self.script("""Object.defineProperty(document, 'hidden', {value: arguments[0], configurable: true});
            document.dispatchEvent(new Event('visibilitychange'));""", isHidden)

    def set_value(self, key, value):
        """Sets a value as another page would."""
        self.script("""return fetch('api/set', {method: 'POST', headers: {'Content-Type': 'application/json'},
            body: JSON.stringify({key: arguments[0], value: arguments[1]})}).then((answer) => answer.status)""", key, value)

    def activate(self):
        """Goes to this page's window, if there is another one."""
        self.driver.switch_to.window(self.handle)

    def wait(self, fact, what=""):
        return self.browser.wait(fact, what)

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        self.find(selector).click()

    def click_text(self, selector, text):
        """Clicks that of the visible elements that has this text."""
        for node in self.driver.find_elements(By.CSS_SELECTOR, selector):
            if node.is_displayed() and node.text.strip() == text:
                return node.click()
        raise AssertionError(f"no {selector} has the text {text}")

    def type(self, selector, text):
        """Types a text in place of what stands in a field."""
        field = self.find(selector)
        field.send_keys(Keys.CONTROL, "a")
        field.send_keys(Keys.DELETE)
        field.send_keys(text)

    def press(self, *keys):
        """Presses keys wherever the focus is."""
        for key in keys:
            ActionChains(self.driver).send_keys(key).perform()

    def texts(self, selector):
        return self.script(VISIBLE_TEXTS, selector)

    def text(self, selector):
        return " ".join(self.texts(selector))

    def wait_for_texts(self, selector, texts):
        self.browser.wait(lambda: self.texts(selector) == texts, f"{selector} should have the texts {texts}")

    def wait_for_text(self, selector, part):
        self.browser.wait(lambda: part in self.text(selector), f"{selector} should tell of {part}")

    def go(self, address):
        self.script("location.hash = arguments[0]", address)

    def rows(self):
        """The rows that are in the document, as lists of texts: key, value, store, original, state, age."""
        return self.script(ROWS)

    def row(self, key):
        return next((row for row in self.rows() if row[0] == key), None)

    def keys(self):
        return [row[0] for row in self.rows()]

    def wait_for_keys(self, keys):
        self.browser.wait(lambda: self.keys() == keys, f"the keys should be {keys}")

    def wait_for_value(self, key, value):
        self.browser.wait(lambda: (self.row(key) or ["", ""])[1] == value, f"{key} should be {value}")

    def open_key(self, key):
        self.go(f"keys/{key}")
        self.wait_for_texts(".detail h2", [key])
        self.wait(lambda: self.texts(".stack tbody tr"))

    def focused(self):
        """What has the focus: its id, or else its text."""
        return self.script("const at = document.activeElement; return at.id || at.ariaLabel || at.innerText;")

    def picture(self, path):
        self.driver.save_screenshot(str(path))

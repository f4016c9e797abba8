"""One browser for all tests, without a window on the screen."""

import shutil
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

ARGUMENTS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--disable-dev-shm-usage", "--force-device-scale-factor=1", "--lang=en", "--window-size=1360,860"]


class Browser:
    def __init__(self, proxy=None, patience=30, driver=None):
        """The driver is a program's path; without one it is found as other programs are."""
        self._proxy = proxy
        self._driver_program = driver or shutil.which("chromedriver")
        self.patience = patience

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        options = webdriver.ChromeOptions()
        for argument in [*ARGUMENTS, f"--user-data-dir={self._folder.name}"]:
            options.add_argument(argument)
        if self._proxy:
            options.add_argument(f"--proxy-server=http://{self._proxy}")
            options.add_argument("--proxy-bypass-list=<-loopback>")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(self._driver_program), options=options)
        self._blank = self.driver.current_window_handle
        return self

    def __exit__(self, *_):
        self.driver.quit()
        self._folder.cleanup()

    def wait(self, fact, what=""):
        """Waits for a fact, and gives it; a reason for the failure may be told."""
        return WebDriverWait(self.driver, self.patience, poll_frequency=0.05).until(lambda _: fact(), what)

    def open_window(self):
        self.driver.switch_to.new_window("window")
        return self.driver.current_window_handle

    def emulate(self, **features):
        """Media features of the window, as prefers_color_scheme="dark"."""
        named = [{"name": name.replace("_", "-"), "value": value} for name, value in features.items()]
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": named})

    def complaints(self):
        """What the console has been told since the last time: warnings, errors, what a policy kept out."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("WARNING", "SEVERE")]

    def close_pages(self):
        for handle in self.driver.window_handles:
            if handle != self._blank:
                self.driver.switch_to.window(handle)
                self.driver.close()
        self.driver.switch_to.window(self._blank)

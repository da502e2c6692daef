# SPDX-License-Identifier: Apache-2.0
"""report_test.py PROGRAM RECORDING FOLDER CHROMIUM CHROMEDRIVER: opens pages of `corvana report` in a browser without a
screen, clicks and types, and leaves screenshots in FOLDER."""
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

PROGRAM, RECORDING, FOLDER, CHROMIUM, CHROMEDRIVER = sys.argv[1:6]
HOSTILE = "<img src=x onerror=document.title='hit'>&\"'`${1}.wav"


def start_browser(profile):
    options = Options()
    options.binary_location = CHROMIUM
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--mute-audio",
                     "--window-size=1200,1300", "--user-data-dir=" + profile):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)


class ReportTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.browser = start_browser(os.path.join(cls.folder.name, "profile"))
        cls.page = cls.report("call.html", RECORDING)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.folder.cleanup()

    @classmethod
    def report(cls, name, *recordings):
        page = os.path.join(cls.folder.name, name)
        subprocess.run([PROGRAM, "report", "-f", "spectrum|flatness", "-f", "spectrum500hz", "--window-ms", "32", "-o",
                        page, *recordings], check=True)
        return page

    def open(self, page):
        self.browser.get("file://" + page)

    def tearDown(self):
        # Errors in the script, and whatever the page's policy had to stop; but for advice about how pixels are read here.
        messages = [entry["message"] for entry in self.browser.get_log("browser")]
        self.assertEqual([message for message in messages if "willReadFrequently" not in message], [])

    def element(self, name):
        return self.browser.find_element(By.ID, name)

    def text(self, name):
        return self.element(name).text

    def seconds(self):
        return float(self.element("tracks").get_attribute("aria-valuenow"))

    def view(self):
        """The stretch that is shown, in seconds."""
        return [60 * int(part.split(":")[0]) + float(part.split(":")[1]) for part in self.text("view").split(" to ")]

    def type(self, *keys):
        self.element("tracks").send_keys(*keys)

    def height(self):
        return self.element("picture").size["height"]

    def wait_until(self, condition):
        for _ in range(600):
            if condition():
                return
            time.sleep(0.05)
        self.fail("waited in vain")

    def cursor_place(self):
        return float(self.element("cursor").value_of_css_property("left").removesuffix("px"))

    def place_of(self, seconds):
        low, high = self.view()
        width = self.element("picture").size["width"] - 72 - 64
        return 72 + (seconds - low) / (high - low) * width

    def click_picture(self, x, y):
        picture = self.element("picture")
        size = picture.size
        self.browser.execute_script("arguments[0].scrollIntoView()", picture)
        ActionChains(self.browser).move_to_element_with_offset(
            picture, round(x - size["width"] / 2), round(y - size["height"] / 2)).click().perform()

    def button_of_region(self, label):
        return next(button for button in self.element("regions").find_elements(By.TAG_NAME, "button")
                    if button.text == label)

    def pixel(self, x, y):
        return tuple(self.browser.execute_script(
            "const c = document.getElementById('picture'), r = window.devicePixelRatio;"
            "return [...c.getContext('2d').getImageData(arguments[0] * r, arguments[1] * r, 1, 1).data].slice(0, 3)",
            x, y))

    def test_shows_the_recording(self):
        self.open(self.page)
        self.assertEqual(self.text("name"), RECORDING)
        self.assertEqual(self.text("facts"), "8000 Hz, 0:19.00, 6 regions")
        self.assertEqual(self.view(), [0.0, 19.0])
        rows = [row.text for row in self.element("regions").find_elements(By.TAG_NAME, "tr")]
        self.assertEqual(rows[2], "BEEP heard 0:12.300 0:12.800 0.500 s")
        self.assertEqual(len(rows), 6)
        self.assertFalse(self.element("recordings").is_displayed())
        # The waveform is 120 high and begins at 1: the beep is there, and the silence behind it is a line in the middle.
        loud, quiet = ([light < 765 for light in self.column(self.place_of(at))[3:118]] for at in (12.6, 14.3))
        self.assertGreater(sum(loud), 30)
        self.assertLess(sum(quiet), 5)
        self.browser.save_screenshot(os.path.join(FOLDER, "report-light.png"))

    def test_shows_a_tone_at_its_frequency(self):
        self.open(self.page)
        # The spectrogram is 220 high and begins at 129; the beep of 1000 Hz is a quarter from below.
        x = self.place_of(12.55)
        self.wait_until(lambda: sum(self.pixel(x, 129 + 165)) > 300)  # the tiles are decoded
        self.assertAlmostEqual(self.brightest(x), 129 + 220 * 0.75, delta=3)

    def column(self, x):
        """How light the pixels of a column are, 0 to 765, from above."""
        return self.browser.execute_script(
            "const c = document.getElementById('picture'), r = window.devicePixelRatio, sums = [];"
            "const d = c.getContext('2d').getImageData(Math.round(arguments[0] * r), 0, 1, c.height).data;"
            "for (let y = 0; y < 400; ++y) { const at = 4 * Math.round(y * r); sums.push(d[at] + d[at + 1] + d[at + 2]); }"
            "return sums", x)

    def brightest(self, x):
        column = self.column(x)
        return max(range(132, 346), key=lambda y: column[y])

    def test_shows_tones_from_the_sound_itself_when_zoomed(self):
        self.open(self.page)
        self.button_of_region("BEEP").click()
        for _ in range(6):
            self.element("zoom-in").click()
        low, high = self.view()
        self.assertTrue(0.2 < high - low < 0.4, (low, high))
        # Windows of 32 ms: a third of one before the beep it is there, two windows before it is not.
        self.assertAlmostEqual(self.brightest(self.place_of(12.35)), 129 + 220 * 0.75, delta=3)
        tone = sum(self.pixel(self.place_of(12.35), 129 + 165))
        self.assertGreater(tone, 600)
        self.assertLess(sum(self.pixel(self.place_of(12.27), 129 + 165)), 150)
        self.browser.save_screenshot(os.path.join(FOLDER, "report-fine.png"))

    def test_a_region_of_the_table_moves_the_cursor(self):
        self.open(self.page)
        self.button_of_region("BEEP").click()
        self.assertEqual(self.seconds(), 12.3)
        self.assertAlmostEqual(self.cursor_place(), self.place_of(12.3), delta=2)
        rows = self.element("regions").find_elements(By.TAG_NAME, "tr")
        self.assertEqual([row.get_attribute("aria-current") for row in rows],
                         ["false", "false", "true", "false", "false", "false"])
        self.button_of_region("DTMF_5").click()  # too short to be seen: shown larger
        low, high = self.view()
        self.assertTrue(14.9 < low < 15.0 and 15.12 < high < 15.25, (low, high))

    def test_a_region_of_a_lane_moves_the_cursor(self):
        self.open(self.page)
        self.click_picture(self.place_of(8), 129 + 220 + 8 + 2 * 18 + 8)
        self.assertEqual(self.seconds(), 4.4)
        self.assertEqual(self.text("time"), "0:04.40 of 0:19.00")

    def test_a_click_moves_the_cursor(self):
        self.open(self.page)
        self.click_picture(self.place_of(10), 60)
        self.assertAlmostEqual(self.seconds(), 10, delta=0.05)

    def test_zooms_and_pans(self):
        self.open(self.page)
        self.click_picture(self.place_of(10), 60)
        self.element("zoom-in").click()
        self.element("zoom-in").click()
        low, high = self.view()
        self.assertAlmostEqual(high - low, 19 / 4, delta=0.02)
        self.assertAlmostEqual((10 - low) / (high - low), 10 / 19, delta=0.01)
        self.element("on").click()
        self.assertAlmostEqual(self.view()[0], low + 19 / 8, delta=0.02)
        self.element("back").click()
        self.assertAlmostEqual(self.view()[0], low, delta=0.02)
        picture = self.element("picture")
        ActionChains(self.browser).move_to_element(picture).click_and_hold().move_by_offset(-100, 0).release().perform()
        width = picture.size["width"] - 72 - 64
        self.assertAlmostEqual(self.view()[0], low + 100 / width * 19 / 4, delta=0.03)
        self.browser.save_screenshot(os.path.join(FOLDER, "report-zoomed.png"))
        self.element("zoom-out").click()
        self.element("whole").click()
        self.assertEqual(self.view(), [0.0, 19.0])
        for _ in range(30):
            self.element("zoom-in").click()  # down to single samples
        low, high = self.view()
        self.assertLess(high - low, 0.02)
        self.browser.save_screenshot(os.path.join(FOLDER, "report-samples.png"))

    def test_works_with_the_keyboard(self):
        self.open(self.page)
        self.type("]", "]")
        self.assertEqual(self.seconds(), 4.4)
        self.type("[")
        self.assertEqual(self.seconds(), 0.0)
        self.type(Keys.END)
        self.assertEqual(self.seconds(), 19.0)
        self.type(Keys.ARROW_LEFT)
        self.assertAlmostEqual(self.seconds(), 19 * 0.95, delta=0.01)
        self.type(Keys.HOME, "+", "+")
        self.assertAlmostEqual(self.view()[1], 19 / 4, delta=0.02)
        self.type(Keys.PAGE_DOWN)
        self.assertAlmostEqual(self.view()[0], 19 / 4 * 0.8, delta=0.02)
        self.type("-", "0")
        self.assertEqual(self.view(), [0.0, 19.0])
        # Everything else is reached with the tabulator.
        reached = set()
        self.browser.execute_script("document.activeElement.blur(); window.scrollTo(0, 0)")
        for _ in range(20):
            ActionChains(self.browser).send_keys(Keys.TAB).perform()
            reached.add(self.browser.execute_script(
                "const e = document.activeElement; return e.id || e.textContent || e.type"))
        self.assertLessEqual({"play", "zoom-in", "zoom-out", "whole", "checkbox", "tracks", "BEEP"}, reached)

    def test_plays_with_the_cursor_moving_along(self):
        self.open(self.page)
        self.button_of_region("SILENCE").click()
        self.element("play").click()
        self.wait_until(lambda: self.seconds() >= 13.0)
        self.assertEqual(self.text("play"), "Pause")
        self.type(" ")
        self.wait_until(lambda: self.text("play") == "Play")
        stopped = self.seconds()
        time.sleep(0.2)
        self.assertEqual(self.seconds(), stopped)
        self.assertAlmostEqual(self.cursor_place(), self.place_of(stopped), delta=2)
        length = self.browser.execute_script("return document.getElementById('player').duration")
        self.assertEqual(length, 19.0)

    def test_shows_and_hides_curves(self):
        self.open(self.page)
        boxes = self.element("curves").find_elements(By.TAG_NAME, "input")
        self.assertEqual([node.text.strip() for node in self.element("curves").find_elements(By.TAG_NAME, "label")],
                         ["spectrum|flatness", "spectrum500hz"])
        whole = self.height()
        boxes[0].click()
        self.assertEqual(self.height(), whole - 106)
        boxes[0].click()
        self.assertEqual(self.height(), whole)

    def test_follows_the_system_into_the_dark(self):
        self.open(self.page)
        light = self.pixel(2, 2)
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                     {"features": [{"name": "prefers-color-scheme", "value": "dark"}]})
        try:
            self.assertEqual(light, (255, 255, 255))
            self.wait_until(lambda: sum(self.pixel(2, 2)) < 100)
            self.browser.save_screenshot(os.path.join(FOLDER, "report-dark.png"))
        finally:
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})

    def test_loads_nothing(self):
        self.open(self.page)
        time.sleep(0.3)
        loaded = self.browser.execute_script(
            "return performance.getEntriesByType('resource').map((entry) => entry.name.slice(0, 5))")
        self.assertEqual([name for name in loaded if name not in ("data:", "blob:")], [])

    def test_shows_hostile_names_as_text(self):
        recording = os.path.join(self.folder.name, HOSTILE)
        shutil.copy(RECORDING, recording)
        script = os.path.join(self.folder.name, "a <script>document.title='hit'<!-- b.wav")
        shutil.copy(RECORDING, script)
        self.open(self.report("hostile.html", recording, script))
        self.assertEqual(self.text("name"), recording)
        buttons = self.element("recordings").find_elements(By.TAG_NAME, "button")
        self.assertEqual([button.text for button in buttons], [recording, script])
        buttons[1].click()
        self.assertEqual(self.text("name"), script)
        self.assertEqual(self.browser.title, "2 recordings")
        self.open(self.report("single.html", script))
        self.assertEqual(self.browser.title, script)
        self.assertEqual(len(self.browser.find_elements(By.TAG_NAME, "img")), 0)

    def test_goes_without_sound(self):
        page = os.path.join(self.folder.name, "silent.html")
        subprocess.run([PROGRAM, "report", "--no-audio", "-o", page, RECORDING], check=True)
        self.open(page)
        self.assertTrue(self.element("silent").is_displayed())
        self.assertFalse(self.element("play").is_enabled())
        self.button_of_region("BEEP").click()
        self.assertEqual(self.seconds(), 12.3)
        for _ in range(8):
            self.type("+")
        self.assertLess(self.view()[1] - self.view()[0], 0.1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

#!/usr/bin/python3
"""Loads the pages of the tools in headless Chromium: page_test.py BIN OUT [PHOTO]

BIN has eis-host and eis-lab. Pages and screenshots go to the folder OUT, which is emptied. Debian's python3-selenium is
for Debian's own python3.
"""
import base64
import json
import pathlib
import shutil
import subprocess
import sys
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

BIN = pathlib.Path(sys.argv[1]).resolve()
OUT = pathlib.Path(sys.argv[2]).resolve()
PHOTO = sys.argv[3] if len(sys.argv) > 3 else "/usr/share/backgrounds/Dragonfly_by_Bolly.jpg"
DESKTOP = {"width": 1366, "height": 900, "pixelRatio": 1, "touch": False}
PHONE = {"width": 390, "height": 844, "pixelRatio": 2, "touch": True}


def make_pages():
    shutil.rmtree(OUT, ignore_errors=True)
    OUT.mkdir(parents=True)

    def run(program, *words):
        subprocess.run([BIN / program, *map(str, words)], check=True, stdout=subprocess.DEVNULL)

    burst = OUT / "burst"
    run("eis-host", "synth", PHOTO, "--frames", 3, "--noise", "medium", "--mover", "--size", "1920x1440", "--out", burst)
    run("eis-lab", "stages", burst / "frame_00.png", OUT / "stages")
    run("eis-host", "merge", *sorted(burst.glob("frame_*.png")), "--truth", burst, "--out", OUT / "merged.png",
        "--report", OUT / "page", "--stages", OUT / "stages")
    run("eis-host", "burst", *sorted(burst.glob("frame_*.png")), "--denoise", "--out", OUT / "aligned", "--report",
        OUT / "frames")
    run("eis-host", "synth", PHOTO, "--clip", "--frames", 40, "--cut", 25, "--size", "640x360", "--out", OUT / "clip")
    run("eis-host", "stabilize", OUT / "clip/clip.y4m", OUT / "steady.y4m", "--report", OUT / "film")
    run("eis-host", "pages", OUT / "page", OUT / "frames", OUT / "film", "--out", OUT / "index.html")


class Browser:
    """A page in a browser of its own."""

    def __init__(self, path, device, dark=False):
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                     f"--window-size={device['width']},{device['height']}"):
            options.add_argument(word)
        if device["touch"]:
            options.add_experimental_option("mobileEmulation", {"deviceMetrics": device})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [scheme]})
        self.driver.get(path.as_uri())
        self.script("document.querySelectorAll('img').forEach((image) => { image.loading = 'eager'; })")
        WebDriverWait(self.driver, 60).until(lambda _: self.script(
            "return [...document.images].every((image) => !image.getAttribute('src') || image.naturalWidth > 0)"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()

    def script(self, text, *words):
        return self.driver.execute_script(text, *words)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def requests(self):
        events = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        return [event["params"]["request"]["url"] for event in events if event["method"] == "Network.requestWillBeSent"]

    def border(self):
        """Where the border is, as a share: what the handle tells, and where the left picture ends."""
        told = int(self.find("#handle").get_attribute("aria-valuenow")) / 100
        cut = self.script(r"""const image = document.getElementById('img-left');
            const shift = image.getBoundingClientRect().left - document.getElementById('stage').getBoundingClientRect().left;
            const edge = Number(image.style.clipPath.match(/^polygon\(0(?:px)?(?: 0(?:px)?)?, ([\d.]+)px/)[1]);
            return (edge + shift) / document.getElementById('stage').clientWidth""")
        return told, cut

    def drag(self, share):
        """Drags the handle to this share of the width, by mouse or finger."""
        box = self.script("const b = document.getElementById('stage').getBoundingClientRect();"
                          "const h = document.getElementById('handle').getBoundingClientRect();"
                          "return [b.left, b.width, (h.left + h.right) / 2, (h.top + h.bottom) / 2]")
        left, width, x, y = box
        to = left + width * share
        if self.script("return matchMedia('(pointer: coarse)').matches"):
            for kind, at in (("touchStart", x), ("touchMove", (x + to) / 2), ("touchMove", to)):
                self.driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": [{"x": at, "y": y}]})
            self.driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": "touchEnd", "touchPoints": []})
            return
        for kind, at in (("mousePressed", x), ("mouseMoved", (x + to) / 2), ("mouseMoved", to), ("mouseReleased", to)):
            self.driver.execute_cdp_cmd("Input.dispatchMouseEvent", {
                "type": kind, "x": at, "y": y, "button": "left", "buttons": 1, "clickCount": 1})

    def save(self, name):
        size = self.driver.execute_cdp_cmd("Page.getLayoutMetrics", {})["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 7000), "scale": 1}
        shot = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"captureBeyondViewport": True, "clip": clip})
        (OUT / name).write_bytes(base64.b64decode(shot["data"]))


class PageTest(unittest.TestCase):
    def check_all_loaded(self, browser):
        self.assertEqual(browser.complaints(), [])
        urls = browser.requests()
        self.assertGreater(len(urls), 2)
        for url in urls:
            self.assertTrue(url.startswith((OUT.as_uri() + "/", "data:")), url)
        self.assertLessEqual(*browser.script("return [document.documentElement.scrollWidth, innerWidth]"))

    def check_border(self, browser, share):
        told, cut = browser.border()
        self.assertAlmostEqual(told, share, delta=0.02)
        self.assertAlmostEqual(cut, share, delta=0.02)

    def test_devices(self):
        for name, device, dark in (("desktop", DESKTOP, False), ("desktop-dark", DESKTOP, True), ("phone", PHONE, False),
                                   ("phone-dark", PHONE, True)):
            with self.subTest(name), Browser(OUT / "page/index.html", device, dark) as browser:
                self.check_border(browser, 0.5)
                browser.save(f"{name}.png")
                browser.drag(0.25)
                self.check_border(browser, 0.25)
                for i, button in enumerate(browser.driver.find_elements(By.CSS_SELECTOR, "#views button")[1:]):
                    browser.script("arguments[0].click()", button)
                    WebDriverWait(browser.driver, 20).until(lambda _: browser.script(
                        "return document.getElementById('img-right').complete"))
                    shown, own = browser.script("const i = document.getElementById('img-right');"
                                                "return [i.getBoundingClientRect().width, i.naturalWidth]")
                    self.assertEqual(shown, own)
                    browser.drag(0.7 - 0.1 * i)
                    self.check_border(browser, 0.7 - 0.1 * i)
                browser.script("scrollTo(0, 0)")
                browser.save(f"{name}-1to1.png")
                self.check_all_loaded(browser)

    def test_keys_and_lens(self):
        with Browser(OUT / "page/index.html", DESKTOP) as browser:
            handle = browser.find("#handle")
            handle.send_keys(Keys.ARROW_LEFT * 5)
            self.check_border(browser, 0.45)
            handle.send_keys(Keys.HOME, Keys.PAGE_UP, Keys.SHIFT + Keys.ARROW_RIGHT)
            self.check_border(browser, 0.2)
            titles = [browser.find(tag).text for tag in ("#tag-left", "#tag-right")]
            self.assertEqual(titles, ["Reference", "Merged, denoised"])
            handle.send_keys(Keys.NULL, "x")
            self.assertEqual([browser.find(tag).text for tag in ("#tag-right", "#tag-left")], titles)
            if browser.find("#lens-on").get_attribute("aria-pressed") == "false":
                handle.send_keys("l")
            ActionChains(browser.driver).move_to_element_with_offset(browser.find("#stage"), 200, 60).perform()
            self.assertTrue(browser.find("#lens").is_displayed())
            panes = browser.script("return ['left', 'right'].map((s) => document.getElementById('lens-' + s).style.backgroundImage)")
            self.assertIn("denoised", panes[0])
            self.assertIn("reference", panes[1])
            browser.save("lens.png")
            self.check_all_loaded(browser)

    def test_aligned_frames(self):
        with Browser(OUT / "frames/index.html", DESKTOP) as browser:
            self.check_border(browser, 0.5)
            browser.save("frames.png")
            self.check_all_loaded(browser)

    def test_clip(self):
        for name, device, dark in (("clip", DESKTOP, False), ("clip-phone-dark", PHONE, True)):
            with self.subTest(name), Browser(OUT / "film/index.html", device, dark) as browser:
                if (OUT / "film/both.mp4").exists():
                    WebDriverWait(browser.driver, 60).until(
                        lambda _: browser.script("return document.querySelector('video').currentTime > 0"))
                # Five plots of two lines, each of a piece before the cut and one behind it.
                self.assertEqual(browser.script("return document.querySelectorAll('.plot polyline').length"), 20)
                browser.save(f"{name}.png")
                self.check_all_loaded(browser)

    def test_index(self):
        with Browser(OUT / "index.html", DESKTOP) as browser:
            browser.save("index.png")
            self.check_all_loaded(browser)
            browser.find("a.card").click()
            self.assertTrue(browser.driver.current_url.endswith("/page/index.html"))


make_pages()
unittest.main(argv=sys.argv[:1], verbosity=2)

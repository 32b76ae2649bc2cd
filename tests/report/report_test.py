"""Pages of kvx report in a browser: they tell what kvx info tells, ask for nothing, can be zoomed, and fit everywhere."""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

try:
    from selenium import webdriver
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.select import Select
except ImportError:
    sys.exit(77)

HOSTILE = "<img src=x onerror=alert(1)>&'\"%41#.log"
FIGURES = ["sky", "positions", "availability", "cn0", "multipath", "height", "used", "dop", "satellite"]


def kvx(*args, code=0, data=None):
    run = subprocess.run([os.environ["KVX"], *map(str, args)], input=data, capture_output=True, timeout=300)
    assert run.returncode == code, (args, run)
    return run.stdout.decode(), run.stderr.decode()


def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=webdriver.ChromeService("/usr/bin/chromedriver")
                            if hasattr(webdriver, "ChromeService") else webdriver.chrome.service.Service("/usr/bin/chromedriver"),
                            options=options)


def setUpModule():
    global DIR, DRIVER, INFO
    scratch = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(scratch.cleanup)
    DIR = pathlib.Path(scratch.name)
    kvx("simulate", "-o", DIR / "rough.log", "--duration", 1500, "--slips", 9, "--multipath", 1, "--obstruction", "90,150,60",
        "--damage", 6)
    kvx("simulate", "-o", DIR / "drive.log", "--duration", 300, "--moving")
    (DIR / HOSTILE).write_bytes((DIR / "drive.log").read_bytes())
    kvx("report", DIR / "rough.log", DIR / "drive.log", DIR / "none.log", DIR / HOSTILE, "-o", DIR / "pages", code=1)
    INFO = {name: kvx("info", DIR / name, code=code)[0] for name, code in (("rough.log", 3), ("drive.log", 0))}
    DRIVER = browser()
    unittest.addModuleCleanup(DRIVER.quit)


def media(width=1200, dark=False):
    DRIVER.execute_cdp_cmd("Emulation.setEmulatedMedia",
                           {"features": [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})
    DRIVER.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 500})


def show(page):
    DRIVER.get((DIR / "pages" / page).as_uri())


def script(text, *args):
    return DRIVER.execute_script(text, *args)


def table(selector):
    """Cells of a table without the heading."""
    return script("return [...document.querySelectorAll(arguments[0] + ' tbody tr')].map(r => [...r.cells].map(c => c.textContent))",
                  selector)


def words(cells):
    """As info prints them: without units."""
    return [re.sub(r"\s*[%m]$", "", cell) for cell in cells]


def numbers(title):
    place = script("for (const d of document.querySelectorAll('.numbers')) if (d.querySelector('summary').textContent === "
                   "arguments[0]) d.id = 'wanted-' + arguments[0];", title)
    assert place is None
    return table(f"#wanted-{title}")


class Pages(unittest.TestCase):
    def setUp(self):
        media()

    def test_pages_are_silent_and_ask_for_nothing(self):
        pages = sorted((DIR / "pages").iterdir())
        DRIVER.get_log("performance")   # those of other tests
        self.assertEqual(4, len(pages))
        for page in pages:
            show(page.name)
            requests = [json.loads(entry["message"])["message"] for entry in DRIVER.get_log("performance")]
            asked = [m["params"]["request"]["url"] for m in requests if m["method"] == "Network.requestWillBeSent"]
            self.assertEqual([page.as_uri()], [url for url in asked if not url.startswith("data:")])
            self.assertEqual([], DRIVER.get_log("browser"), page)
            self.assertNotRegex(page.read_text(), r"""(src|href)=["'](?!\./|data:)|url\((?!#)|@import""")

    def test_numbers_are_those_of_info(self):
        for name, info in INFO.items():
            show(name.replace(".log", ".html"))
            lines = [line.split() for line in info.splitlines()]
            plain = [[re.sub("%$", "", word) for word in line if word != "m"] for line in lines]
            signals = [words(row) for row in numbers("Signals")]
            self.assertGreater(len(signals), 10)
            told = [line for line in plain if re.fullmatch(r"[A-Z]\d[A-Z] \d+ \d+ .*", " ".join(line))]
            self.assertEqual(told, signals)
            satellites = [words(row)[:8] for row in numbers("Satellites")]
            self.assertGreater(len(satellites), 20)
            self.assertEqual([line for line in plain if re.fullmatch(r"[A-Z]\d\d", " ".join(line[:1]))], satellites)
            positions = table("#positions details")
            mean = [f"{row[2]} {row[3]} {row[4]} m, scatter {row[5]} east {row[6]} north {row[7]} up (m)" for row in positions]
            self.assertEqual(sorted(re.findall(r"mean (.*\(m\))", info)), sorted(mean))
            damage = re.findall(r"at byte (\d+): (\d+) bytes?, (.*)", info)
            self.assertEqual(damage, [tuple(row) for row in numbers("Damage")])
            self.assertEqual(len(re.findall(r"^    .*(?:geometry-free|wide lane|Doppler|told by)", info, re.M)), len(numbers("Slips")[:20]))

    def test_every_picture_has_a_title_a_description_and_a_table(self):
        for page, figures in (("rough.html", FIGURES), ("drive.html", [f for f in FIGURES if f != "multipath"])):
            show(page)
            found = script("""return [...document.querySelectorAll('figure')].map(f => {
                const said = (e, name) => (e.getAttribute(name) || '').split(' ').map(
                    id => (document.getElementById(id) || {}).textContent || '').join('');
                const images = [...f.querySelectorAll('[role=img]')];
                return [f.id, images.length > 0 && images.every(e => said(e, 'aria-labelledby') && said(e, 'aria-describedby')),
                        f.querySelectorAll('details tbody tr').length > 0]; })""")
            self.assertEqual([[figure, True, True] for figure in figures], found)
            self.assertEqual(0, script("return document.querySelectorAll('svg:not([role=img]):not([aria-hidden]):not(svg svg)').length"))

    def test_what_was_put_in_shows(self):
        show("rough.html")
        slips = script("return [...document.querySelectorAll('.lane path.slip')].map(p => p.getAttribute('d').split('M').length - 1)")
        counted = int(re.search(r"(\d+) slips?\n", INFO["rough.log"])[1])
        self.assertGreaterEqual(counted, 5)
        self.assertEqual(counted, sum(slips))   # a bin an epoch
        self.assertGreater(len(DRIVER.find_elements(By.CSS_SELECTOR, "circle.damage")), 2)
        self.assertGreater(len(DRIVER.find_elements(By.CSS_SELECTOR, ".sky .hidden")), 5)
        verdict = DRIVER.find_element(By.CLASS_NAME, "verdict").text
        self.assertRegex(verdict, "hidden at azimuths 90° to 1[25]0°")
        self.assertIn("multipath (", verdict)
        self.assertIn("damage (", verdict)
        cell = DRIVER.find_element(By.CSS_SELECTOR, ".sky .c7[class*=m]")
        before = cell.value_of_css_property("fill")
        DRIVER.find_element(By.CSS_SELECTOR, "label[for=by-mp]").click()
        self.assertNotEqual(before, cell.value_of_css_property("fill"))
        show("drive.html")
        self.assertEqual("Track", DRIVER.find_element(By.ID, "positions-t").text)
        self.assertRegex(DRIVER.find_element(By.CSS_SELECTOR, "#positions svg").text, r"\d+ m")

    def test_charts_zoom_by_drag_and_by_keys(self):
        show("rough.html")
        spans = "return [...document.querySelectorAll('.chart')].map(c => c.plot.scales.x.max - c.plot.scales.x.min)"
        whole = script(spans)
        self.assertEqual(4, len(whole))
        over = DRIVER.find_element(By.CSS_SELECTOR, "#height .u-over")
        ActionChains(DRIVER).move_to_element(over).click_and_hold().move_by_offset(over.size["width"] // 4, 0).release().perform()
        for span, before in zip(script(spans), whole):
            self.assertTrue(0.2 * before < span < 0.3 * before, (span, before))
        chart = DRIVER.find_element(By.CSS_SELECTOR, "#dop .chart")
        chart.send_keys("0")
        self.assertEqual(whole, script(spans))
        chart.send_keys("+")
        self.assertTrue(all(span < 0.6 * before for span, before in zip(script(spans), whole)))
        Select(DRIVER.find_element(By.ID, "which")).select_by_visible_text(DRIVER.find_elements(By.TAG_NAME, "option")[3].text)
        self.assertGreater(script("return document.querySelector('#satellite .chart').plot.data.slice(1).flat().filter(v => v > 20).length"), 100)

    def test_light_dark_and_phone(self):
        def luminance(colour):
            parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
            return sum(w * (p / 12.92 if p <= 0.03928 else ((p + 0.055) / 1.055) ** 2.4) for w, p in zip((0.2126, 0.7152, 0.0722), parts))
        for dark in (False, True):
            for page in ("rough.html", "drive.html", "index.html"):
                media(390, dark)
                show(page)
                wide = script("""return [...document.querySelectorAll('body *')].filter(e => !e.closest('.scroll > *, svg svg, .u-wrap')
                    && e.getBoundingClientRect().right > innerWidth + 0.5).map(e => e.outerHTML.slice(0, 80))""")
                self.assertEqual(([], 390), (wide, script("return document.documentElement.scrollWidth")))
                back, *inks = script("""const colour = (e, name) => getComputedStyle(e)[name]; return [colour(document.body, 'backgroundColor'),
                    ...[...document.querySelectorAll('h1, p, th, td, text, summary')].map(e => colour(e, e.tagName === 'text' ? 'fill' : 'color'))]""")
                self.assertEqual(dark, luminance(back) < 0.1)
                for ink in set(inks):
                    low, high = sorted((luminance(back), luminance(ink)))
                    self.assertGreater((high + 0.05) / (low + 0.05), 4.0, (page, dark, ink))

    def test_the_index_compares_and_links(self):
        show("index.html")
        rows = table(".index")
        self.assertEqual(["rough.log", "drive.log", "none.log", HOSTILE], [row[0] for row in rows])
        self.assertIn("No such file", rows[2][2])
        for link in [a.get_attribute("href") for a in DRIVER.find_elements(By.CSS_SELECTOR, ".index a")]:
            show("index.html")
            DRIVER.get(link)
            self.assertIn(DRIVER.find_element(By.TAG_NAME, "h1").text, ("rough.log", "drive.log", HOSTILE))
            DRIVER.find_element(By.CSS_SELECTOR, "header a").click()
            self.assertEqual("4 logs", DRIVER.find_element(By.TAG_NAME, "h1").text)


class Files(unittest.TestCase):
    def test_same_bytes_and_nothing_replaced(self):
        page, log = DIR / "one.html", DIR / "drive.log"
        kvx("report", log, "-o", page)
        first = page.read_bytes()
        self.assertIn("exists already", kvx("report", log, "-o", page, code=1)[1])
        copy = DIR / "log.html"
        copy.write_bytes(log.read_bytes())
        self.assertIn("is an input", kvx("report", copy, "-o", copy, "--force", code=1)[1])
        kvx("report", log, "-o", page, "--force")
        self.assertEqual(first, page.read_bytes())
        kvx("report", "-", "-o", DIR / "piped.html", data=log.read_bytes())
        self.assertIn("standard input", (DIR / "piped.html").read_text())
        self.assertEqual([], [p.name for p in DIR.iterdir() if p.name.startswith(".kvx")])

    def test_a_page_does_not_grow_with_its_log(self):
        sizes = []
        for days in (1, 3):
            kvx("simulate", "-o", DIR / "long.log", "--force", "--rate", 1 / 30, "--duration", days * 86400)
            kvx("report", DIR / "long.log", "-o", DIR / "long.html", "--force")
            sizes.append((DIR / "long.html").stat().st_size)
        self.assertLess(max(sizes), 3_000_000)
        self.assertLess(sizes[1], 1.5 * sizes[0])


if __name__ == "__main__":
    unittest.main()

"""What the pages do in a browser."""

import os
import re
import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

import browser
import pages


class InBrowser(unittest.TestCase):
    """Tests that share a browser and a web server."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pages.folder()
        cls.server = pages.WebServer(cls.folder)
        cls.driver = browser.start()

    @classmethod
    def tearDownClass(cls):
        cls.driver.quit()
        cls.server.close()

    def setUp(self):
        browser.prefer(self.driver, "light")
        browser.resize(self.driver, 1200, 900)
        browser.set_scripts(self.driver, True)

    def open(self, page):
        browser.console(self.driver)
        browser.requests(self.driver)
        self.driver.get(f"{self.server.address}/{page}")

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def find_all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def told(self):
        return self.find("#board").text

    def chosen(self):
        """The middle of what is marked, on the screen."""
        box = self.driver.execute_script(
            "const box = document.querySelector('.map:not([hidden]) .chosen').getBoundingClientRect();"
            "return [box.x + box.width / 2, box.y + box.height / 2]")
        return round(box[0]), round(box[1])

    def hover(self, x, y):
        actions = ActionChains(self.driver)
        actions.w3c_actions.pointer_action.move_to_location(x, y)
        actions.perform()

    def assert_fits(self, width):
        """All of the page is seen without going sideways."""
        self.assertLessEqual(self.driver.execute_script("return document.scrollingElement.scrollWidth"), width)

    def assert_quiet(self, page):
        """Nothing was said on the console, and nothing asked for but the page."""
        self.assertEqual(browser.console(self.driver), [])
        asked = [url for url in browser.requests(self.driver) if not url.startswith("data:")]
        self.assertEqual(asked, [f"{self.server.address}/{page}"])


class Pages(InBrowser):
    """One far-detector run, one with hostile texts and an index."""

    def test_asks_for_nothing_and_says_nothing(self):
        for page in ("far.html", "pages/index.html"):
            self.server.asked.clear()
            self.open(page)
            self.assert_quiet(page)
            self.assertEqual(self.server.asked, [f"/{page}"])

    def test_needs_no_web_server(self):
        self.driver.get((self.folder / "far.html").as_uri())
        self.assertTrue(self.find(".map .values path"))
        self.assertEqual(browser.console(self.driver), [])

    def test_breaks_no_rule_of_accessibility(self):
        for page, scheme in (("far.html", "light"), ("far.html", "dark"), ("pages/index.html", "light")):
            browser.prefer(self.driver, scheme)
            self.open(page)
            if scheme == "light":
                self.driver.execute_script("for (const each of document.querySelectorAll('details')) each.open = true")
            self.assertEqual(browser.accessibility(self.driver), [], f"{page}, {scheme}")

    def click(self, selector):
        """A link, also behind a fold. The place that it leads to."""
        link = self.find(selector)
        self.driver.execute_script("arguments[0].closest('details')?.setAttribute('open', '')", link)
        self.driver.execute_script("arguments[0].click()", link)
        return tuple(int(part) for part in link.get_attribute("href").split("#board-")[1].split("-"))

    def test_a_link_leads_to_its_board_and_a_pointer_tells_its_value(self):
        self.open("far.html")
        for quantity in ("gain", "temperature"):
            place = self.click(f".places[data-quantity={quantity}] a[href^='#board-']")
            where = "diblock %d, DCM %d, port %d " % place
            self.assertEqual(self.find("#quantity").get_property("value"), quantity)
            self.assertTrue(self.told().startswith(where), self.told())
        x, y = self.chosen()
        # Another board has the word, until the pointer comes back to this one.
        self.hover(x + 40, y)
        self.assertFalse(self.told().startswith(where))
        self.hover(x, y)
        self.assertTrue(self.told().startswith(where))
        numbers = 0
        for quantity in ("temperature", "gain", "threshold", "voltage", "enabled"):
            Select(self.find("#quantity")).select_by_value(quantity)
            self.hover(x, y)
            board = pages.board_of_map("Birch", 13000, quantity, place)
            told = self.told().rsplit(": ", 1)[1]
            shown = re.match(rf"{quantity} (-?[\d.]+)", told)
            if shown:
                self.assertAlmostEqual(float(shown[1]), board["value"], delta=0.051)
                self.assertEqual(board["state"], "good")
                numbers += 1
            else:
                self.assertEqual(told.split(",")[0], "enabled" if board["state"] == "good" else board["state"])
        self.assertGreaterEqual(numbers, 3)

    def test_switches_between_quantities_and_views(self):
        self.open("far.html")
        before = self.find("#readout .values").get_attribute("innerHTML")
        Select(self.find("#quantity")).select_by_value("gain")
        self.assertNotEqual(self.find("#readout .values").get_attribute("innerHTML"), before)
        self.assertEqual([legend.get_attribute("data-quantity") for legend in self.find_all(".legend:not([hidden])")],
                         ["gain"])
        Select(self.find("#view")).select_by_value("geometry")
        self.assertFalse(self.find("#readout").is_displayed())
        self.assertTrue(self.find("#geometry").is_displayed())
        self.assertGreater(len(self.find_all("#geometry .values path")), 20)
        Select(self.find("#view")).select_by_value("readout")
        Select(self.find("#quantity")).select_by_value("temperature")
        # The script draws what stood there before it did.
        self.assertEqual(self.find("#readout .values").get_attribute("innerHTML").replace("\n", ""),
                         before.replace("\n", ""))

    def test_draws_what_stands_there_without_it(self):
        browser.set_scripts(self.driver, False)
        self.open("far.html")
        paths = "[...document.querySelectorAll('#readout .cells path, #readout .values path, #readout .patterns path')]" \
                ".map((path) => [path.getAttribute('stroke'), path.getAttribute('class'), path.getAttribute('d')].join(' ')).sort()"
        still = self.driver.execute_script(f"return {paths}")
        self.assertGreater(len(still), 10)
        self.assertFalse(self.find(".controls").is_displayed())
        self.assertTrue(self.find("#readout").is_displayed())
        self.assertGreater(len(self.find_all("figure svg .bar")), 20)
        self.assertGreater(len(self.find_all("main table tbody tr")), 150)
        browser.set_scripts(self.driver, True)
        self.open("far.html")
        self.assertEqual(self.driver.execute_script(f"return {paths}"), still)

    def test_keys_move_from_board_to_board(self):
        self.open("far.html")
        self.driver.execute_script("document.getElementById('map').focus()")
        steps = [(Keys.ARROW_RIGHT, "diblock 1, DCM 1, port 0 "), (Keys.ARROW_RIGHT, "diblock 1, DCM 1, port 1 "),
                 (Keys.ARROW_DOWN, "diblock 1, DCM 2, port 1 "), (Keys.ARROW_LEFT, "diblock 1, DCM 2, port 0 "),
                 (Keys.ARROW_LEFT, "diblock 1, DCM 2, port 0 "), (Keys.ARROW_UP, "diblock 1, DCM 1, port 0 ")]
        for key, place in steps:
            self.driver.switch_to.active_element.send_keys(key)
            self.assertTrue(self.told().startswith(place), self.told())
        Select(self.find("#view")).select_by_value("geometry")
        self.driver.execute_script("document.getElementById('map').focus()")
        self.driver.switch_to.active_element.send_keys(Keys.ARROW_RIGHT)
        self.assertIn("(plane 2, cells 0 to 31)", self.told())

    def test_lists_the_boards_of_a_diblock(self):
        self.open("far.html")
        details = self.find("#boards")
        details.find_element(By.TAG_NAME, "summary").click()
        for diblock in ("1", "12"):
            if diblock != "1":
                Select(self.find("#boards-diblock")).select_by_value(diblock)
            # The table is made a little after it was opened.
            WebDriverWait(self.driver, 60).until(lambda _: self.find_all("#boards-table tbody tr"))
            rows = self.find_all("#boards-table tbody tr")
            self.assertEqual(len(rows), 768)
            self.assertEqual(rows[0].find_element(By.TAG_NAME, "th").text, f"{diblock}/1/0")

    def test_shows_texts_as_texts(self):
        self.open("hostile.html")
        self.assert_quiet("hostile.html")
        facts = {name.text: fact.text for name, fact in zip(self.find_all("dt"), self.find_all("dd"))}
        self.assertEqual(facts["type"], "<script>alert(1)</script>")
        self.assertEqual(facts["begin comment"], "</script><img src=x onerror=alert(2)>")
        self.assertEqual(len(self.find_all("script")), 2)
        self.assertEqual(len(self.find_all("img")), 0)
        self.assertTrue(self.told() == "" and self.find("#map").get_attribute("role") == "application")

    def sorted_column(self, column):
        return self.driver.execute_script(
            "return [...document.querySelectorAll('#runs tbody tr')].map((row) => row.cells[arguments[0]].dataset.sorted)",
            column)

    def test_sorts_the_runs(self):
        self.open("pages/index.html")
        headings = [heading.text for heading in self.find_all("#runs thead th")]
        for name in ("threshold", "run"):
            column = headings.index(name)
            button = self.find_all("#runs thead button")[column]
            for is_ascending in (True, False):
                button.click()
                values = self.sorted_column(column)
                known = [float(value) for value in values if value != ""]
                self.assertEqual(known, sorted(known, reverse=not is_ascending))
                self.assertEqual(values[len(known):], [""] * (len(values) - len(known)))
                self.assertEqual(self.find_all("#runs thead th")[column].get_attribute("aria-sort"),
                                 "ascending" if is_ascending else "descending")
        self.assertEqual(self.sorted_column(0)[0], "13018")

    def test_leads_from_the_index_to_a_run_and_back(self):
        self.open("pages/index.html")
        self.find("#runs tbody a[href='13016.html']").click()
        self.assertEqual(self.find("h1").text, "Run 13016 of Birch")
        self.find("header a").click()
        self.assertEqual(self.find("h1").text, "6 runs of Birch")
        Select(self.find("#axis")).select_by_value("time")
        points = self.driver.execute_script("return [...document.querySelectorAll('.trend circle')].map("
                                            "(point) => [point.getAttribute('cx'), point.dataset.time, point.dataset.run])")
        self.assertEqual([at for at, _, _ in points], [time for _, time, _ in points])
        self.assertNotEqual([time for _, time, _ in points], [run for _, _, run in points])
        self.find(".trend a[href='13017.html']").click()
        self.assertEqual(self.find("h1").text, "Run 13017 of Birch")

    def test_fits_a_narrow_screen(self):
        browser.resize(self.driver, 360, 740)
        for page in ("far.html", "pages/index.html"):
            self.open(page)
            self.assert_fits(360)

    def test_is_dark_where_that_is_preferred(self):
        light = self.background("light")
        dark = self.background("dark")
        self.assertGreater(light, 200)
        self.assertLess(dark, 60)

    def background(self, scheme):
        browser.prefer(self.driver, scheme)
        self.open("far.html")
        color = self.driver.execute_script("return getComputedStyle(document.body).backgroundColor")
        return int(re.search(r"\d+", color)[0])


class EveryForm(InBrowser):
    """Pages of runs and detectors of all kinds."""

    def test_every_form_is_quiet_and_accessible(self):
        for name in pages.FORMS:
            for width in (1200, 360):
                browser.resize(self.driver, width, 800)
                self.open(f"{name}.html")
                self.assert_quiet(f"{name}.html")
                self.assertEqual(browser.accessibility(self.driver), [], f"{name}, {width}")
                self.assert_fits(width)

    def test_every_link_marks_its_place(self):
        for name in pages.FORMS:
            self.open(f"{name}.html")
            links = self.driver.execute_script(
                "return [...document.querySelectorAll('.places a')].map((link) => {"
                "link.click(); return [link.hash, document.getElementById('board').textContent,"
                "document.querySelectorAll('.map:not([hidden]) .chosen').length]})")
            for anchor, told, marks in links:
                kind, *numbers = anchor[1:].split("-")
                words = ["diblock", "DCM", "port"][:len(numbers)]
                place = ", ".join(f"{word} {number}" for word, number in zip(words, numbers))
                self.assertRegex(told, f"^{place}[:, ]")
                self.assertEqual(marks, 1, anchor)

    def test_prints_all_that_is_folded(self):
        self.open("far.html")
        are_shown = "return [...document.querySelectorAll('details table')].map((table) => table.checkVisibility())"
        self.assertEqual(set(self.driver.execute_script(are_shown)), {False})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        shown = self.driver.execute_script(are_shown)
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})
        self.assertEqual(set(shown), {True})
        self.assertGreater(len(shown), 5)


if __name__ == "__main__":
    unittest.main(verbosity=2, defaultTest="Pages" if os.environ.get("QUICK") == "1" else None)

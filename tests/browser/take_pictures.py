"""Pictures of every form of the pages, to be looked at: take_pictures.py FOLDER."""

import pathlib
import sys

from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select

import browser
import pages


def take(driver, path, width):
    """All of the page, however long."""
    browser.resize(driver, width, 900)
    height = driver.execute_script("return document.documentElement.scrollHeight")
    browser.resize(driver, width, min(height, 12000))
    driver.save_screenshot(str(path))


def main():
    target = pathlib.Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    driver = browser.start()
    names = [*pages.FORMS, "pages/index"]
    for name in names:
        file = name.replace("/", "-")
        for scheme in ("light", "dark"):
            browser.prefer(driver, scheme)
            driver.get((pages.folder() / f"{name}.html").as_uri())
            take(driver, target / f"{file}-{scheme}.png", 1200)
        browser.prefer(driver, "light")
        take(driver, target / f"{file}-narrow.png", 360)
        browser.print_to(driver, target / f"{file}.pdf")
        if name in pages.FORMS:
            Select(driver.find_element(By.ID, "view")).select_by_value("geometry")
            take(driver, target / f"{file}-geometry.png", 1200)
    driver.quit()


if __name__ == "__main__":
    main()

"""A picture of a page's map for the documentation: take_picture.py PAGE PICTURE."""

import pathlib
import sys

from selenium.webdriver.common.by import By

import browser


def main():
    page, picture = (pathlib.Path(argument).absolute() for argument in sys.argv[1:])
    driver = browser.start()
    browser.resize(driver, 1000, 900)
    driver.get(page.as_uri())
    driver.execute_script("document.documentElement.style.scrollbarWidth = 'none'")
    # A DCM whose boards are too warm.
    link = driver.find_element(By.CSS_SELECTOR, "[data-quantity=temperature] a[href='#dcm-8-3']")
    driver.execute_script("arguments[0].click(); document.activeElement.blur()", link)
    driver.execute_script("document.getElementById('map-heading').scrollIntoView()")
    driver.save_screenshot(str(picture))
    driver.quit()


if __name__ == "__main__":
    main()

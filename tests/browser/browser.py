"""A Chromium without a window, and what it saw."""

import json
import pathlib

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

AXE = pathlib.Path(__file__).parent / "node_modules/axe-core/axe.min.js"


def start():
    options = webdriver.ChromeOptions()
    # As root, and in a container with little shared memory, too.
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu",
                     "--force-device-scale-factor=1", "--no-first-run", "--disable-background-networking",
                     "--disable-component-update", "--disable-sync", "--no-proxy-server"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.set_script_timeout(120)
    driver.set_page_load_timeout(120)
    resize(driver, 1200, 900)
    return driver


def resize(driver, width, height):
    """The size of the page itself."""
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})


def prefer(driver, scheme):
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                           {"features": [{"name": "prefers-color-scheme", "value": scheme}]})


def set_scripts(driver, are_on):
    driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": not are_on})


def console(driver):
    """What was said since the last call, one text each."""
    return [entry["message"] for entry in driver.get_log("browser")]


def requests(driver):
    """The addresses that were asked for since the last call."""
    messages = [json.loads(entry["message"])["message"] for entry in driver.get_log("performance")]
    return [message["params"]["request"]["url"] for message in messages
            if message["method"] == "Network.requestWillBeSent"]


def accessibility(driver):
    """The rules of axe-core that the page breaks, with the elements."""
    driver.execute_script(AXE.read_text(encoding="utf-8"))
    found = driver.execute_async_script(
        "const done = arguments[0]; axe.run().then(done, (error) => done({violations: [{id: String(error), nodes: []}]}))")
    return [f"{rule['id']}: {node['html'][:200]}"
            for rule in found["violations"] for node in rule["nodes"] or [{"html": ""}]]


def print_to(driver, path):
    """As PDF, on A4."""
    import base64
    made = driver.execute_cdp_cmd("Page.printToPDF", {"preferCSSPageSize": True, "printBackground": False})
    pathlib.Path(path).write_bytes(base64.b64decode(made["data"]))

#!/usr/bin/env python3
"""Checks the links of a folder of web pages.

    check_links.py SITE

Every link leads to a file of the site and, with a "#", to a place in it. Nothing that a page shows is fetched from
elsewhere. Links to other sites are left alone, and nothing is asked of the network.
"""

import pathlib
import sys
from html.parser import HTMLParser
from urllib.parse import unquote, urlsplit

LINKS = {"a": "href", "area": "href", "link": "href", "img": "src", "script": "src", "iframe": "src", "source": "src",
         "object": "data"}
# Followed by readers, not by the browser on its own.
FOLLOWED = ("a", "area")


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links = []
        self.places = set()
        self.feed(path.read_text(errors="replace"))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.places.update(attributes[name] for name in ("id", "name") if attributes.get(name))
        if tag in LINKS and attributes.get(LINKS[tag]) is not None:
            self.links.append((tag, attributes[LINKS[tag]], self.getpos()[0]))


def problems(site):
    pages = {path: Page(path) for path in sorted(site.rglob("*.html"))}
    if not pages:
        yield f"{site} has no pages"
    for path, page in pages.items():
        for tag, link, line in page.links:
            where = f"{path.relative_to(site)}:{line}: {link}"
            parts = urlsplit(link)
            if parts.scheme or parts.netloc:
                if tag not in FOLLOWED and parts.scheme not in ("data", "javascript"):
                    yield f"{where}: is fetched from elsewhere"
                continue
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path.resolve()
            if target.is_dir():
                target /= "index.html"
            if not target.is_relative_to(site) or not target.is_file():
                yield f"{where}: leads nowhere"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].places:
                yield f"{where}: the page has no such place"


def main():
    found = list(problems(pathlib.Path(sys.argv[1]).resolve()))
    print("\n".join(found), file=sys.stderr, end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Makes web pages of the repository's Markdown files.

    make_site.py REPOSITORY SITE TAG-FILE MAN-PAGE-TEXT

Every tracked Markdown file becomes a page of the same path, and the README the first one. What the pages link to comes
along: another file as it is, a public header as its page of the reference (found in Doxygen's TAG-FILE). A link to what
is not there is an error.
"""

import html
import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from urllib.parse import unquote, urlsplit

import markdown
from markdown.extensions.toc import slugify_unicode

MENU = [("README.md", "Home"), ("docs/tutorial.md", "Tutorial"), ("docs/cpp.md", "C++"), ("docs/python.md", "Python"),
        ("docs/report.md", "Reports"), ("docs/snapshots.md", "Snapshots"), ("docs/operators.md", "Operators"),
        ("docs/reliability.md", "Reliability"), ("docs/performance.md", "Performance"),
        ("docs/architecture.md", "Architecture"), ("CHANGELOG.md", "Changes"), ("CONTRIBUTING.md", "Contributing")]
PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<link rel="stylesheet" href="{root}style.css">
</head>
<body>
<nav>{menu}</nav>
<main>
{body}
</main>
</body>
</html>
"""


class Site:
    def __init__(self, repository, site, tag_file):
        self.repository = repository
        self.site = site
        listed = subprocess.run(["git", "ls-files", "-z"], cwd=repository, check=True, stdout=subprocess.PIPE).stdout
        self.tracked = set(listed.decode().rstrip("\0").split("\0"))
        self.reference = {}
        for compound in ElementTree.parse(tag_file).getroot().iter("compound"):
            if compound.get("kind") == "file":
                header = compound.findtext("path") + compound.findtext("name")
                page = compound.findtext("filename")
                self.reference[header] = "reference/" + page + ("" if page.endswith(".html") else ".html")
        self.problems = []

    def page_of(self, path):
        """Where a Markdown file's page stands; the README of a folder is its index."""
        return re.sub(r"README\.md$", "index.html", re.sub(r"(?<!README)\.md$", ".html", path))

    def target_of(self, link, page):
        """What a link of a page becomes: the same from the page's place in the site."""
        parts = urlsplit(link)
        if parts.scheme or parts.netloc or not parts.path:
            return link
        path = os.path.normpath(os.path.join(os.path.dirname(page), unquote(parts.path)))
        if path + "/README.md" in self.tracked:
            path += "/README.md"
        if path in self.reference:
            target = self.reference[path]
        elif path.endswith(".md") and path in self.tracked:
            target = self.page_of(path)
        elif path in self.tracked:
            target = path
            (self.site / path).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(self.repository / path, self.site / path)
        else:
            self.problems.append(f"{page}: there is no {link}")
            return link
        fragment = "#" + parts.fragment if parts.fragment else ""
        return os.path.relpath(target, os.path.dirname(self.page_of(page)) or ".") + fragment

    def write(self, path, title, body):
        root = os.path.relpath(".", os.path.dirname(path) or ".") + "/"
        entries = [(self.page_of(page), name) for page, name in MENU if page in self.tracked]
        entries[-1:-1] = [("runhistory.1.html", "Man page"), ("reference/annotated.html", "Reference")]
        menu = " ".join(f'<a href="{root}{page}"{" class=here" if page == path else ""}>{name}</a>'
                        for page, name in entries)
        target = self.site / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(PAGE.format(title=html.escape(title), root=root, menu=menu, body=body))

    def add_page(self, page):
        text = (self.repository / page).read_text()
        converter = markdown.Markdown(extensions=["fenced_code", "tables", "toc", "sane_lists"],
                                      extension_configs={"toc": {"slugify": slugify_unicode}})
        body = converter.convert(text)
        body = re.sub(r'(<(?:a|img)\b[^>]*?\b(?:href|src)=")([^"]*)(")',
                      lambda match: match[1] + html.escape(self.target_of(html.unescape(match[2]), page)) + match[3],
                      body)
        found = re.search(r"^# (.*)$", text, flags=re.MULTILINE)
        self.write(self.page_of(page), found[1] if found else page, body)


def main():
    repository, folder, tag_file, man_page = map(pathlib.Path, sys.argv[1:])
    site = Site(repository, folder, tag_file)
    for page in sorted(path for path in site.tracked if path.endswith(".md")):
        site.add_page(page)
    site.write("runhistory.1.html", "runhistory(1)", f"<pre>{html.escape(man_page.read_text())}</pre>")
    shutil.copyfile(pathlib.Path(__file__).parent / "style.css", folder / "style.css")
    print("\n".join(site.problems), file=sys.stderr, end="\n" if site.problems else "")
    return 1 if site.problems else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env bash
# Checks docs/site/check_links.py: it accepts a site whose links are good, and names each planted fault.
#
#   check-links.sh REPOSITORY
set -euo pipefail
check=$1/docs/site/check_links.py
scratch=$(mktemp --directory)
trap 'rm -r "$scratch"' EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# make_site LINE: a site of two pages and a picture, with one more line in the first page.
make_site() {
  rm -rf "$scratch/site"
  mkdir -p "$scratch/site/sub"
  printf '%s\n' '<h1 id="top">One</h1><a href="sub/two.html#here">two</a> <a href="#top">up</a> <a href="sub">sub</a>' \
    '<a href="https://example.org/">elsewhere</a> <img src="dot%20one.png">' "$1" >"$scratch/site/index.html"
  printf '<p><a name="here"></a><a href="../index.html">one</a></p>\n' >"$scratch/site/sub/two.html"
  cp "$scratch/site/sub/two.html" "$scratch/site/sub/index.html"
  touch "$scratch/site/dot one.png" "$scratch/outside.html"
}

# refuses LINE COMPLAINT
refuses() {
  make_site "$1"
  python3 "$check" "$scratch/site" 2>"$scratch/said" && fail "accepted $1"
  grep -qxF -- "$2" "$scratch/said" || fail "of $1 it says: $(<"$scratch/said")"
}

make_site '<p>nothing else</p>'
python3 "$check" "$scratch/site" || fail "refused a site whose links are good"
refuses '<a href="three.html">' 'index.html:3: three.html: leads nowhere'
refuses '<img src="missing.png">' 'index.html:3: missing.png: leads nowhere'
refuses '<a href="sub/two.html#there">' 'index.html:3: sub/two.html#there: the page has no such place'
refuses '<a href="#bottom">' 'index.html:3: #bottom: the page has no such place'
refuses '<a href="../outside.html">' 'index.html:3: ../outside.html: leads nowhere'
refuses '<script src="https://example.org/x.js"></script>' 'index.html:3: https://example.org/x.js: is fetched from elsewhere'
refuses '<link rel="stylesheet" href="//example.org/x.css">' 'index.html:3: //example.org/x.css: is fetched from elsewhere'
mkdir "$scratch/empty"
python3 "$check" "$scratch/empty" 2>"$scratch/said" && fail "accepted a folder without pages"
grep -qF 'has no pages' "$scratch/said" || fail "of an empty folder it says: $(<"$scratch/said")"

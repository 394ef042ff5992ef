#!/usr/bin/env bash
# Runs what the operator's guide says of a new site, as it stands there, on the private server, and looks at what `check`
# then finds.
#
#   new_site.sh COMMAND REPOSITORY SERVER-FOLDER
set -euo pipefail
PATH=$(dirname "$1"):$PATH
guide=$2/docs/operators.md
unset -v "${!PG@}"
export PGHOST=$3/socket PGPORT=5432 PGUSER=postgres BRIO_SEARCH_PATH=$2 LC_ALL=C.UTF-8

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

scratch=$(mktemp --directory)
databases=(brio_birch brio_birch_{runs,hardware,daqconfig,slowcontrol})
drop_databases() {
  for database in "${databases[@]}"; do dropdb --if-exists --force "$database" 2>/dev/null; done
}
trap 'rm -r "$scratch"; drop_databases' EXIT

# The shell blocks of the section: one database for everything, then one for each kind.
awk -v folder="$scratch" '
  /^## / { here = /^## A new site/ }
  here && /^```/ { inside = $0 == "```sh"; if (inside) ++block; next }
  here && inside { print >(folder "/block" block) }' "$guide"
[[ -f $scratch/block2 && ! -f $scratch/block3 ]] || fail "the section has another number of shell blocks"

for block in "$scratch"/block[12]; do
  # Its lines, and then what is said in the same shell.
  for again in no yes; do
    # The databases are there the second time; all else is as for an upgrade.
    if [[ $again == yes ]]; then sed -i '/createdb/d' "$block"; fi
    bash -euo pipefail -c "source '$block' >/dev/null; runhistory check --detector Birch --json >'$scratch/report'" \
      2>"$scratch/said" && fail "a site without runs passed the check"
    grep -qF 'the runs table is empty' "$scratch/said" || fail "$block: $(<"$scratch/said")"
    python3 - "$scratch/report" <<'PYTHON' || fail "$block: $(<"$scratch/report")"
import json, sys
report = json.load(open(sys.argv[1]))
lists = ("missing_tables", "missing_columns", "not_readable", "wrong_types", "missing_indexes", "warnings")
sys.exit(not (report["complete"] and len(report["databases"]) == 4
              and not any(database[name] for database in report["databases"] for name in lists)))
PYTHON
    skipped=$(grep -c 'already exists, skipping' "$scratch/said" || true)
    if [[ $again == yes ]]; then
      ((skipped >= 30)) || fail "the second time the server says: $(<"$scratch/said")"
    else
      ((skipped == 0)) || fail "the first time the server says: $(<"$scratch/said")"
    fi
  done
  drop_databases
done

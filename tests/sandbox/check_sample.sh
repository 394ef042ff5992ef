#!/usr/bin/env bash
# Checks that a sample has what the sandbox's README promises: check_sample.sh DIR SIZE PREFIX
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
dir=$1 size=$2 prefix=$3

check() {
  local detector=$1 script=$2
  "$here/../../sandbox/sandbox" --dir "$dir" psql --prefix "$prefix" --detector "$detector" \
    -X -q -o /dev/null -v ON_ERROR_STOP=1 -v "size=$size" -v "detector=$detector" -f "$here/$script"
}

check birch check_birch.sql
check birch check_birch_runs.sql
check alder check_others.sql
check cedar check_others.sql

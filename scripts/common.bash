# What the scripts share; sourced, never run.
# shellcheck shell=bash

# What a script starts connects to the private server, wherever the caller's variables lead libpq.
unset -v "${!PG@}"

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly repository

# Progress goes to standard error: a script's standard output is its result.
say() { printf '== %s\n' "$*" >&2; }

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

usage_error() {
  printf '%s: %s (see --help)\n' "${0##*/}" "$*" >&2
  exit 2
}

# show_help <script>: the comment at the top of a script is its help.
show_help() { sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$1"; }

# build <preset> [cmake options...]: configures and builds one of the presets of CMakePresets.json.
build() {
  local preset=$1
  shift
  say "Configuring (preset $preset)"
  (cd "$repository" && cmake --preset "$preset" "$@") >&2
  say "Building (preset $preset)"
  (cd "$repository" && cmake --build --preset "$preset") >&2
}

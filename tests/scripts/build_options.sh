#!/usr/bin/env bash
# Configures the project with each combination of its build options and looks at what would be built; builds nothing.
#
#   build_options.sh REPOSITORY CMAKE COMPILER ON|OFF
#
# The last argument is whether the benchmarks are among the combinations.
set -euo pipefail
repository=$1
cmake=$2
compiler=$3
benchmarks=(OFF)
if [[ $4 == ON ]]; then benchmarks+=(ON); fi
scratch=$(mktemp --directory)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# has TARGET ON|OFF: whether the build has a target is as wanted.
has() {
  local there=OFF
  if grep -q "^$1: phony" "$scratch/targets"; then there=ON; fi
  [[ $there == "$2" ]] || fail "the target $1 with ${options[*]}: $there"
}

for tools in ON OFF; do
  for tests in ON OFF; do
    for bench in "${benchmarks[@]}"; do
      options=(-DBRIO_BUILD_TOOLS="$tools" -DBRIO_BUILD_TESTS="$tests" -DBRIO_BUILD_BENCHMARKS="$bench")
      echo "${options[*]}"
      "$cmake" -S "$repository" -B "$scratch/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" "${options[@]}" \
        >"$scratch/said" 2>&1 || fail "${options[*]}: $(<"$scratch/said")"
      # Without building: every file that is needed is there or is made.
      "$cmake" --build "$scratch/build" -- -n >"$scratch/said" 2>&1 || fail "${options[*]}: $(tail "$scratch/said")"
      "$cmake" --build "$scratch/build" --target help >"$scratch/targets"
      has brio_RunHistory ON
      has runhistory "$tools"
      has test_database.server "$tests"
      has load_library "$bench"
    done
  done
done

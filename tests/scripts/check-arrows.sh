#!/usr/bin/env bash
# Shows that scripts/check-arrows passes on the source tree and finds faults planted into a copy of it.
# Usage: check-arrows.sh SOURCE_TREE
set -euo pipefail

source_tree=$(cd "$1" && pwd)
check="$source_tree/scripts/check-arrows"
folders=(tools python arrays snapshot RunHistory experiment database framework)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# fresh_copy: a copy of the folders in $tree, with the sources that the plants below are put into.
fresh_copy() {
  tree="$scratch/tree"
  rm -rf "$tree"
  mkdir "$tree"
  for folder in "${folders[@]}"; do
    if [[ -d $source_tree/$folder ]]; then cp -r "$source_tree/$folder" "$tree/"; else mkdir "$tree/$folder"; fi
  done
  mkdir "$tree/tests"
}

# expect STATUS TREE: runs the check, its messages in $messages.
expect() {
  local status=0
  messages=$("$check" "$2" 2>&1) || status=$?
  if [[ $status -ne $1 ]]; then fail "exit status $status instead of $1 for $3: $messages"; fi
}

# plant FILE TEXT: the text becomes a line of its own at the end of a file of the copy; the check must find it
# there, name the line, and find nothing else.
plant() {
  fresh_copy
  printf '%s\n' "$2" >>"$tree/$1"
  local line
  line=$(wc -l <"$tree/$1")
  expect 1 "$tree" "$2 in $1"
  if [[ $messages != "$1:$line: "* ]]; then fail "no \"$1:$line\" for $2: $messages"; fi
  if [[ $(wc -l <<<"$messages") -ne 1 ]]; then fail "more than one message for $2 in $1: $messages"; fi
}

# allow FILE TEXT: the same where the check must find nothing.
allow() {
  fresh_copy
  printf '%s\n' "$2" >>"$tree/$1"
  expect 0 "$tree" "$2 in $1"
}

expect 0 "$source_tree" "the source tree"
if [[ -n $messages ]]; then fail "the source tree is not passed in silence: $messages"; fi

plant RunHistory/New.cc '#include "tools/Verbs.h"'
plant RunHistory/New.cc '#include "arrays/Boards.h"'
plant arrays/New.cc '#include "tools/Verbs.h"'
plant arrays/New.cc '#include "python/module/Turn.h"'
plant tools/New.cc '#include "python/module/Turn.h"'
plant python/New.cc '#include "tools/Verbs.h"'
plant RunHistory/New.cc '#include "snapshot/Saver.h"'
plant arrays/New.cc '#include "snapshot/Saver.h"'
plant snapshot/New.cc '#include "arrays/Boards.h"'
plant arrays/CMakeLists.txt 'target_link_libraries(brio_arrays PRIVATE brio::snapshot)'
plant experiment/embedded/New.cc '#include "RunHistory/RunHistory.h"'
plant database/New.cc '#include "experiment/DAQChannelMap.h"'
plant database/Table.h '#include "RunHistory/DetInfo.h"'
plant framework/exception.h '#include "database/Util.h"'
plant framework/embedded/exception.cc '  #  include <database/Util.h>  // spaced, and in angle brackets'
plant framework/embedded/exception.cc '#include "../../database/Util.h"'
plant framework/exception.h '#include "tests/support/Output.h"'
plant RunHistory/New.h.in '#include "tools/Verbs.h"'
plant RunHistory/New.cc '#include "experiment/embedded/FarDetectorMap.h"'
plant experiment/DAQChannelMap.h '#include "database/Table.h"'
plant experiment/dcs/APDSettings.h '#include <libpq-fe.h>'
plant experiment/OfflineChan.h '#include <boost/lexical_cast.hpp>'
plant experiment/OfflineChan.h '#include "experiment/embedded/FarDetectorMap.h"'
plant framework/CMakeLists.txt 'target_link_libraries(brio_framework PRIVATE brio::database)'
plant database/CMakeLists.txt 'target_link_libraries(brio_database PUBLIC "brio_experiment")'
plant experiment/embedded/New.cmake 'target_link_libraries(brio_experiment PRIVATE brio::RunHistory)'

allow tools/New.cc '#include "RunHistory/RunHistory.h"'
allow tools/New.cc '#include "arrays/Boards.h"'
allow tools/New.cc '#include "snapshot/Saver.h"'
allow python/New.cc '#include "arrays/Boards.h"'
allow python/New.cc '#include "snapshot/Saver.h"'
allow snapshot/New.cc '#include "database/snapshot/SnapshotFile.h"'
allow arrays/New.cc '#include "experiment/DAQChannelMap.h"'
allow RunHistory/New.cc '#include "framework/exception.h"'
allow database/New.cc '#include <sys/types.h>'
allow experiment/embedded/New.cc '#include "database/Table.h"'
allow experiment/DAQChannelMap.h '#include <stdint.h>'
allow experiment/DAQChannelMap.h '#include "framework/exception.h"'
allow experiment/dcs/APDSettings.h '#include "../OfflineChan.h"'
allow framework/exception.h '// #include "database/Util.h"'
allow framework/exception.h '/* #include "database/Util.h" */'
allow framework/exception.h $'/*\n#include "database/Util.h"\n*/'
allow framework/CMakeLists.txt '# target_link_libraries(brio_framework PRIVATE brio::database)'
allow tools/CMakeLists.txt 'target_link_libraries(brio_tools PRIVATE brio::RunHistory brio::framework)'

mkdir "$scratch/elsewhere"
expect 2 "$scratch/elsewhere" "a folder that is no source tree"
expect 2 --no-such-option "an unknown option"
expect 0 --help "--help"
if [[ $messages != *"tools, python -> arrays, snapshot -> RunHistory -> experiment -> database -> framework"* ]]; then
  fail "--help does not show the chain: $messages"
fi

if [[ $failures -ne 0 ]]; then exit 1; fi
echo "check-arrows finds what is planted"

#!/bin/sh
# Doxygen input filter: puts everything a public header declares into the group of its
# subsystem (its folder under src/), so that the reference is arranged by subsystem
# without a grouping command in every header. The opening command shares the first
# line, so the line numbers of warnings stay right.
case "$1" in
  */src/*/*.h) group=$(basename "$(dirname "$1")") ;;
  *) group=general ;;
esac
awk -v group="$group" 'NR == 1 { printf "/** \\addtogroup %s */ /** @{ */ ", group } { print } END { print "/** @} */" }' "$1"

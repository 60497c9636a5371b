#!/usr/bin/env bash
# exports_test.sh <library>...: the shared objects export only their own API, never
# instantiations of Qt or standard-library templates (a function template's name
# starts with its return type) or internal helpers.
set -euo pipefail
status=0
for lib in "$@"; do
  leaked=$(nm -D --defined-only -C "$lib" | awk '{ $1=""; $2=""; sub(/^  /, ""); print }' |
    sed -E 's/^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for) //' |
    grep -E '^(std::|[A-Za-z_]+ std::|__gnu|Q[A-Za-z]*[<:]|q[A-Z]|operator[^(]*\(Q|.*anonymous namespace|.*[Pp]rivate::|.*_p::)' || true)
  if [ -n "$leaked" ]; then
    echo "$lib exports symbols outside the API:"; echo "$leaked" | head -n 40
    status=1
  fi
  echo "$lib: $(nm -D --defined-only "$lib" | wc -l) exported symbols"
done
exit $status

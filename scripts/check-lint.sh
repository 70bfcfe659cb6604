#!/usr/bin/env bash
# Runs clang-tidy over src/ and app/ with the checks of .clang-tidy: check-lint.sh BUILD [FILE...]
# BUILD is a configured build folder; without files, all that it compiles are checked.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: check-lint.sh BUILD [FILE...]}
shift
if (($# == 0)); then
  mapfile -t files < <(sed -n 's|^ *"file": "\(.*\)",\{0,1\}$|\1|p' "$build/compile_commands.json" |
    grep -E "^$PWD/(src|app)/" | sort -u)
  if ((${#files[@]} == 0)); then echo "nothing to check in $build" >&2 && exit 1; fi
  set -- "${files[@]}"
fi
# clang-tidy counts what it suppressed in system headers; that is no news.
printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" clang-tidy-16 --quiet -p "$build" \
  2> >(grep -vE '^[0-9]+ warnings? generated\.$' >&2)

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

# A file that was clean, with all that it includes of the project, is not looked at again.
stamps=build/lint
mkdir -p "$stamps"
LintFile() { # <stamps> <build> <file>
  local key
  key=$(g++ -std=c++20 -Isrc -Iapp -MM -MG "$3" | tr -d '\\' | tr -s ' \n' '\n' | tail -n +2 |
    { xargs cat .clang-tidy scripts/check-lint.sh scripts/setup-clang-tidy 2>/dev/null || true; } | sha256sum)
  key=$1/$(basename "$3").${key%% *}
  [[ -e $key ]] && return
  # What g++ knows and clang does not, and what g++'s own library uses though it is deprecated.
  third_party/clang-tidy/bin/clang-tidy --quiet -p "$2" --extra-arg=-Wno-unknown-warning-option \
    --extra-arg=-Wno-deprecated-declarations "$3" && touch "$key"
}
export -f LintFile

# clang-tidy counts what it suppressed in system headers; that is no news.
printf '%s\0' "$@" |
  xargs -0 -n 1 -P "$(nproc)" bash -c 'LintFile "$@"' LintFile "$stamps" "$build" \
    2> >(grep -vE '^[0-9]+ warnings? generated\.$' >&2)

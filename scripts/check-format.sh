#!/usr/bin/env bash
# Fails with the names of the tracked C++ files that are not formatted as .clang-format says.
# check-format.sh --fix formats them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mapfile -d '' files < <(git ls-files -z -- '*.h' '*.cpp')
if ((${#files[@]} == 0)); then echo "no C++ files found" >&2 && exit 1; fi
if [[ ${1-} == --fix ]]; then
  clang-format-16 -i "${files[@]}"
  exit
fi

findings=$(printf '%s\0' "${files[@]}" |
  xargs -0 clang-format-16 --dry-run -Werror 2>&1) && exit 0
sed -n 's/^\([^ :]*\):[0-9]*:[0-9]*: error: .*/not formatted: \1/p' <<<"$findings" | sort -u
grep -v ': error: code should be clang-formatted' <<<"$findings" | grep -iE '(^|: )error:' || true
exit 1

#!/usr/bin/env bash
# Fails if a tracked C++ file is not formatted as .clang-format says. To mend: check-format.sh --fix
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mapfile -d '' files < <(git ls-files -z -- '*.h' '*.cpp')
if ((${#files[@]} == 0)); then echo "no C++ files found" >&2 && exit 1; fi
if [[ ${1-} == --fix ]]; then
  clang-format-16 -i "${files[@]}"
else
  printf '%s\0' "${files[@]}" | xargs -0 -n 40 -P "$(nproc)" clang-format-16 --dry-run -Werror
fi

#!/usr/bin/env bash
# Fails if two headers define a type of the same name: both would be one type to the linker, and
# nothing else notices.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t twice < <(
  grep -rnE '^(struct|class|enum class) +[A-Za-z_0-9]+' app src --include='*.h' | grep -v ';$' |
    sed -E 's/^([^:]+):[0-9]+:(struct|class|enum class) +([A-Za-z_0-9]+).*/\3 \1/' | sort -u |
    awk '{ files[$1] = files[$1] " " $2; count[$1]++ }
         END { for (name in files) if (count[name] > 1) print name ":" files[name] }' | sort)
((${#twice[@]} == 0)) && exit 0
printf '%s\n' "${twice[@]}"
exit 1

#!/usr/bin/env bash
# Fails if an object compiled for a newer processor level defines a symbol that the linker may share
# with other objects (an inline function, a template instance): the linker could keep that copy for
# the whole library, which then stops on an older processor. check-kernels.sh BUILD
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: check-kernels.sh BUILD}
mapfile -t objects < <(find "$build" -path '*qrvml_module.dir*/kernels/*_v[234].cpp.o' | sort)
if ((${#objects[@]} == 0)); then echo "no kernels found in $build" >&2 && exit 1; fi

bad=0
for object in "${objects[@]}"; do
  shared=$(nm -C --defined-only "$object" | awk '$2 == "W" { $1 = ""; print }')
  if [[ -n $shared ]]; then printf '%s shares:\n%s\n' "${object##*/src/}" "$shared" && bad=1; fi
done
exit "$bad"

#!/usr/bin/env bash
# Fails if the built module needs more than the standard libraries, or exports anything but its
# factory: check-library.sh BUILD
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
library=${1:?usage: check-library.sh BUILD}/bin/libQRVMachineLearning.so

# The loader ld-linux is the C library's own: thread-local variables name it.
needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
foreign=$(grep -vxE 'lib(stdc\+\+|m|gcc_s|c)\.so\.[0-9]+|ld-linux-x86-64\.so\.2' <<<"$needed" || true)
exports=$(nm -D --defined-only "$library" | awk '{print $3}')

bad=0
if [[ -z $needed ]]; then echo "$library: no dynamic section to read" && bad=1; fi
if [[ -n $foreign ]]; then echo "$library needs:" $foreign && bad=1; fi
if [[ $exports != Tvx6NewAnalysis ]]; then
  echo "$library must export Tvx6NewAnalysis alone; it exports:" ${exports:-nothing} && bad=1
fi
exit "$bad"

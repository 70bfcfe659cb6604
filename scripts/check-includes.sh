#!/usr/bin/env bash
# Fails if a file of the module includes anything but the C++20 standard library and the module
# itself, or a room of the module that its own room must not know. The kernels of one processor level
# may include the compiler's intrinsics.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

standard=" algorithm any array atomic barrier bit bitset cassert ccomplex cctype cerrno cfenv cfloat
 charconv chrono cinttypes climits clocale cmath codecvt compare complex concepts condition_variable
 coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype
 deque exception execution filesystem forward_list fstream functional future initializer_list iomanip
 ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new
 numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set
 shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
 syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set
 utility valarray variant vector version "
standard=${standard//$'\n'/}

# <room>:<rooms of src/ that it may include besides itself>. The methods never know each other, and
# what they share knows none of them. frame puts the rooms together.
base="host data stats"
shared="dialogs results"
allowed=(
  "host:"
  "stats:$base"
  "data:$base"
  "dialogs:$base $shared"
  "results:$base $shared"
  "frame:$base $shared knn bayes svm deploy"
  "knn:$base $shared deploy"
  "bayes:$base $shared deploy"
  "svm:$base $shared deploy"
  "deploy:$base knn bayes svm"
)

mapfile -t lines < <(grep -rnE '^[[:space:]]*#[[:space:]]*include' src --include='*.h' --include='*.cpp')
if ((${#lines[@]} == 0)); then echo "no includes found in src/" >&2 && exit 1; fi

bad=0
Refuse() {
  echo "$1: $2"
  bad=1
}

for line in "${lines[@]}"; do
  place=${line%%:[[:space:]#]*}
  file=${place%%:*}
  room=${file#src/}
  room=${room%%/*}
  if [[ $line =~ include[[:space:]]*\<([^\>]*)\> ]]; then
    [[ $standard == *" ${BASH_REMATCH[1]} "* ||
       ($file == */kernels/* && ${BASH_REMATCH[1]} == immintrin.h) ]] ||
      Refuse "$place" "<${BASH_REMATCH[1]}> is not of the C++20 standard library"
  elif [[ $line =~ include[[:space:]]*\"([^\"]*)\" ]]; then
    included=${BASH_REMATCH[1]}
    other=${included%%/*}
    [[ -f src/$included ]] || Refuse "$place" "\"$included\" is no file of src/"
    [[ $other == "$room" ]] && continue
    for rule in "${allowed[@]}" "$room: no such room"; do
      [[ ${rule%%:*} == "$room" ]] && break
    done
    [[ " ${rule#*:} " == *" $other "* ]] || Refuse "$place" "$room must not include $other"
  else
    Refuse "$place" "cannot tell what is included"
  fi
done
exit "$bad"

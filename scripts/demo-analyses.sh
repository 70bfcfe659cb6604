#!/usr/bin/env bash
# The analyses that ./demo shows, in order: scripts/demo-analyses.sh PROGRAM
#
# Each is one command line as a user would type it, printed before it runs. The first that fails
# ends the demo with its exit status.
set -euo pipefail
program=$(realpath "${1:?usage: demo-analyses.sh PROGRAM}")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

Show() { # <what it shows> <arguments of qrvml>...
  local what=$1
  shift
  printf '\n# %s\n$ qrvml' "$what"
  printf ' %q' "$@"
  printf '\n'
  "$program" "$@"
}

Show "What is in the file" data examples/iris.csv

# What ./demo and ./test share; sourced, not run. Expects the root of the repository as folder.
set -euo pipefail
jobs=$(nproc)
mkdir -p build

# Packages as <Debian package>=<how to see that it is there>: a command, or a file for a library.
build_packages=(
  g++=g++
  cmake=cmake
  ninja-build=ninja
  libcli11-dev=/usr/include/CLI/CLI.hpp
  nlohmann-json3-dev=/usr/include/nlohmann/json.hpp
  libfmt-dev=/usr/include/fmt/format.h
  libxlsxwriter-dev=/usr/include/xlsxwriter.h
  libreadstat-dev=/usr/include/readstat.h
  libpugixml-dev=/usr/include/pugixml.hpp
  libzip-dev=/usr/include/zip.h
  libcpp-httplib-dev=/usr/include/httplib.h
  pkg-config=pkg-config
)
test_packages=(
  libgtest-dev=/usr/include/gtest/gtest.h
  librsvg2-bin=rsvg-convert
  clang-format-16=clang-format-16
  binutils=readelf
  nodejs=node
  chromium=chromium
)
# Only where DuckDB has yet to be fetched or the page to be built. A nodejs from elsewhere may bring its own npm and then
# conflicts with Debian's: nodejs goes first, npm only if the command is still missing.
fetch_packages=(nodejs=node ca-certificates=/etc/ssl/certs/ca-certificates.crt)
# Only where the linter has yet to be fetched.
lint_packages=(python3-pip=pip3 ca-certificates=/etc/ssl/certs/ca-certificates.crt)

# Stage <name> <command>...: runs the command with its output in build/<name>.log and prints one
# line; the log follows when the command fails, and its exit status is returned.
Stage() {
  local name=$1 log="build/${1// /-}.log" start=$SECONDS status=0
  shift
  printf '%-28s' "$name"
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if ((status == 0)); then
    printf 'ok      %4d s\n' $((SECONDS - start))
  else
    printf 'FAILED  %4d s   (%s)\n' $((SECONDS - start)) "$log"
    tail -n 200 "$log" | sed 's/^/  | /'
  fi
  return "$status"
}

# Missing <package=probe>...: prints the packages that are not there.
Missing() {
  local entry probe
  for entry; do
    probe=${entry#*=}
    case $probe in
      /*) [[ -e $probe ]] ;;
      *) command -v "$probe" >/dev/null ;;
    esac || printf '%s ' "${entry%%=*}"
  done
}

AptInstall() {
  DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends "$@"
}

InstallPackages() { # <also npm: yes or no> <package>...
  local npm=$1
  shift
  apt-get -q update
  if (($#)); then AptInstall "$@"; fi
  if [[ $npm == yes ]] && ! command -v npm >/dev/null; then AptInstall npm; fi
}

# SetUp <package=probe>...: brings the machine to where the build can start. Asks no network when
# nothing is missing.
SetUp() {
  local npm=no packages
  if ! scripts/setup-duckdb --check || ! scripts/build-web --current; then
    set -- "$@" "${fetch_packages[@]}"
    command -v npm >/dev/null || npm=yes
  fi
  read -ra packages <<<"$(Missing "$@")"
  if ((${#packages[@]})) || [[ $npm == yes ]]; then
    if ((EUID != 0)) || ! command -v apt-get >/dev/null; then
      [[ $npm == no ]] || packages+=(npm)
      echo "Missing on this machine: ${packages[*]}" >&2
      echo "Install them as root, then run this command again:" >&2
      echo "  apt-get update && apt-get install -y ${packages[*]}" >&2
      exit 1
    fi
    Stage "install packages" InstallPackages "$npm" "${packages[@]}" || exit 1
  fi
  scripts/setup-duckdb --check || Stage "fetch DuckDB" scripts/setup-duckdb || exit 1
  scripts/build-web --current || Stage "build page" scripts/build-web || exit 1
}

# Installs the Debian packages that a script needs and that are not there yet. Sourced, not run.

# What builds the library and the example programs and runs them. The tests are configured with the rest, so their
# framework's sources must be there.
packages_to_run=(cmake ninja-build g++-mingw-w64-x86-64-posix wine wine64 libcli11-dev googletest)
# What the tests, the checks and the benchmark need besides.
packages_to_test=("${packages_to_run[@]}" git g++ clang clang-format clang-tidy libclang-rt-dev
  nlohmann-json3-dev python3)
# What counts the library's instructions.
packages_to_count=(cmake ninja-build g++ googletest python3 valgrind)
# What draws the benchmark's picture; nothing else needs it.
packages_to_plot=(python3 gnuplot-nox)

# require_packages NAME...: installs what is missing, or prints the one line that would, and ends the script.
require_packages() {
  local missing=() name
  for name in "$@"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || missing+=("$name")
  done
  [[ ${#missing[@]} -eq 0 ]] && return
  local install=(apt-get install --yes --no-install-recommends "${missing[@]}")
  local as_root=()
  if [[ $(id -u) -ne 0 ]]; then
    # sudo may ask for its password only where somebody can answer
    if ! command -v sudo >/dev/null || ! { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
      echo "These Debian packages are missing. Install them as root, then run this again:" >&2
      echo "  apt-get update && ${install[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  say "Installing Debian packages: ${missing[*]}"
  local log=$build_dir/apt.log
  mkdir -p "$build_dir"
  if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    echo "Installing failed; the whole output is in $log" >&2
    exit 1
  fi
}

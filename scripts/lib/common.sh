# What all scripts share. Sourced, not run.
unset CDPATH  # with it, cd prints and may go elsewhere
repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
build_dir=$repository/build
binaries_dir=$build_dir/mingw/bin

# Put before a command, where the kernel allows it: at random addresses the thread sanitizer may refuse to start, and of
# some thousand Wine processes one finds the place of Windows' shared data taken and ends (its parent has error 1359).
fixed_addresses=(setarch --addr-no-randomize)
"${fixed_addresses[@]}" true 2>/dev/null || fixed_addresses=()

say() { printf '== %s\n' "$*"; }

# build_preset PRESET TARGET...: configures once and builds what has changed; no TARGET builds all.
# Quiet while all goes well: the whole output stands in a file, and is shown when a step fails.
build_preset() {
  local preset=$1 target arguments=() log=$build_dir/$1/build.log
  shift
  for target in "$@"; do arguments+=(--target "$target"); done
  mkdir -p "$build_dir/$preset"
  say "Building $preset ${*:-(all)}"
  if ! { { [[ -f $build_dir/$preset/build.ninja ]] || (cd "$repository" && cmake --preset "$preset"); } &&
         cmake --build "$build_dir/$preset" "${arguments[@]}"; } >"$log" 2>&1; then
    grep -E -A 20 'error|warning|FAILED|Error' "$log" | head -n 80 >&2 || tail -n 40 "$log" >&2
    echo "Building failed; the whole output is in $log" >&2
    return 1
  fi
}

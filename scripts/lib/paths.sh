# Makes this machine's files reachable for the Windows programs. Sourced, not run; needs common.sh.
#
# A prefix has no drive for the whole file system. The folder that a path lies in is linked into drive C instead, as
# C:\from\1, C:\from\2 and so on; the path keeps its own name below it.


# absolute_path PATH: without a slash at its end. A link stays what it is; only the folders before it are resolved.
absolute_path() {
  local path=$1 parent
  while [[ $path == ?*/ ]]; do path=${path%/}; done
  case $(basename -- "$path") in
    / | . | ..) (cd -- "$path" && pwd -P) ;;
    *)
      parent=$(cd -- "$(dirname -- "$path")" && pwd -P) || return
      printf '%s\n' "${parent%/}/$(basename -- "$path")"
      ;;
  esac
}

# check_path PATH: says so and fails if it cannot be handed to a Windows program.
check_path() {
  local name no_windows_name='[[:cntrl:]\:*?"<>|]|[ .]$'
  if [[ ! -e $1 ]]; then
    printf 'There is no %s\n' "$1" >&2
    return 1
  fi
  name=$(absolute_path "$1") || return
  name=${name##*/}
  if [[ $1 =~ [[:cntrl:]] || $name =~ $no_windows_name ]]; then
    printf 'Windows programs cannot open a file named %q\n' "$name" >&2
    return 1
  fi
}

# link_paths PATH...: makes the links in the prefix that is in use, says both names of each path, and leaves the
# Windows names in the array windows_paths. The links of an earlier call are dropped.
link_paths() {
  local links=$WINEPREFIX/drive_c/from path parent
  local -A numbers=()
  rm -rf "$links"
  mkdir -p "$links"
  windows_paths=()
  for path in "$@"; do
    path=$(absolute_path "$path")
    parent=$(dirname -- "$path")
    if [[ -z ${numbers[$parent]:-} ]]; then
      numbers[$parent]=$((${#numbers[@]} + 1))
      ln -s -- "$parent" "$links/${numbers[$parent]}"
    fi
    windows_paths+=("C:\\from\\${numbers[$parent]}")
    # The root folder lies in no other: there the link itself is what it is called.
    [[ $path == / ]] || windows_paths[-1]+="\\${path##*/}"
    say "$path is ${windows_paths[-1]}"
  done
}

# The project's own Wine prefixes, below the build folder. Sourced, not run; needs common.sh.
#
#   main   what everything runs in
#   heap   a copy in which Wine checks its heaps; it prints "err:heap:" where it finds damage
#   waits  a copy for tests that wait long, beside the others: each prefix has a clipboard of its own
wine=("${fixed_addresses[@]}" /usr/lib/wine/wine64)
# Debian's wrapper would end the server with each program, which costs half a second every time.
wineserver=/usr/lib/wine/wineserver64
server_lingers_seconds=15

# use_prefix NAME: exports what Wine reads. No X server is used and no dialog appears.
use_prefix() {
  export WINEPREFIX=$build_dir/wine/$1
  export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=mscoree,mshtml=
  [[ $1 != heap ]] || WINEDEBUG=-all,err+heap,warn+heap
  export LC_ALL=C.UTF-8  # Wine takes file names and arguments in the locale's encoding
  unset DISPLAY WAYLAND_DISPLAY
}

# prepare_prefix NAME: makes the prefix if it is not there yet. Several callers at once wait for one another.
prepare_prefix() {
  (
    mkdir -p "$build_dir/wine"
    exec 9>"$build_dir/wine/.lock"
    flock 9
    [[ ! -e $build_dir/wine/$1/.ready ]] || exit 0
    [[ $1 == main || -e $build_dir/wine/main/.ready ]] || make_main_prefix || exit 1
    [[ $1 == main ]] && { make_main_prefix; exit; }
    clone_main_prefix "$1"
  ) </dev/null
}

make_main_prefix() {
  use_prefix main
  say "Preparing a Wine prefix in ${WINEPREFIX#"$repository"/}" >&2
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX/drive_c"
  cat >"$WINEPREFIX/drive_c/settings.reg" <<'REG'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\Drivers]
"Graphics"="null"

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000

; a crash ends the program at once with its code, instead of waiting for a debugger
[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\AeDebug]
"Debugger"="none"
REG
  run_once wineboot -i && run_once regedit settings.reg || return 1
  # The whole file system as a drive would disturb directory watching. A second drive is a folder of its own.
  rm -f "$WINEPREFIX/dosdevices/z:"
  mkdir -p "$WINEPREFIX/drive_d"
  ln -sfn ../drive_d "$WINEPREFIX/dosdevices/d:"
  : >"$WINEPREFIX/.ready"
}

# run_once PROGRAM ARGUMENT...: in the prefix that is in use and with a server of its own, which writes the registry to
# disk when it ends.
run_once() {
  local status=0
  {
    cd "$WINEPREFIX/drive_c" && "${wine[@]}" "$@" || status=$?
    "$wineserver" -k || true
    "$wineserver" -w || true
  } >"$WINEPREFIX/prepare.log" 2>&1 9>&-
  [[ $status -eq 0 ]] || cat "$WINEPREFIX/prepare.log" >&2
  return "$status"
}

# A copy shares the unchanging files by hard links; the registry files must be its own.
clone_main_prefix() {
  stop_prefix main
  use_prefix "$1"
  rm -rf "$WINEPREFIX"
  cp -al "$build_dir/wine/main" "$WINEPREFIX"
  rm -f "$WINEPREFIX/.ready" "$WINEPREFIX/.server-lock" "$WINEPREFIX/wineserver"
  cp --remove-destination "$build_dir"/wine/main/*.reg "$WINEPREFIX/"
  if [[ $1 == heap ]]; then
    # Blocks are filled when they are freed and looked at when they are used. Not all blocks at each use (0x80): with
    # several threads this Wine then finds damage where there is none.
    run_once reg add 'HKLM\System\CurrentControlSet\Control\Session Manager' /v GlobalFlag /t REG_DWORD /d 0x70 /f ||
      return 1
  fi
  : >"$WINEPREFIX/.ready"
}

# start_server: a lingering server makes each program start in 0.1 s. Its services start with our pipes closed, since
# whoever waits for the end of our output would wait for them too.
start_server() {
  (
    exec 9>"$WINEPREFIX/.server-lock"
    flock 9
    # neither may inherit the lock, which they would keep until they end
    if "$wineserver" "-p$server_lingers_seconds" 9>&-; then "${wine[@]}" cmd /c exit 9>&-; fi
  ) </dev/null >/dev/null 2>&1 || true
}

# stop_prefix NAME: ends every program that runs in it.
stop_prefix() {
  [[ -d $build_dir/wine/$1 ]] || return 0
  (
    use_prefix "$1"
    "$wineserver" -k && "$wineserver" -w
  ) >/dev/null 2>&1 || true
}

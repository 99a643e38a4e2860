# Has clang read the Windows build's sources. Sourced, not run; needs common.sh.

# write_clang_commands FOLDER: the compile commands of the Windows build, as clang takes them. It does not find that
# compiler's standard library by itself and does not know all of its options. What is an error is for the caller to say.
write_clang_commands() {
  local std options
  std=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
  options="--target=x86_64-w64-mingw32 -nostdinc++ -isystem $std -isystem $std/x86_64-w64-mingw32"
  mkdir -p "$1"
  sed -e 's/ -mnop-fun-dllimport//; s/ -Werror / /' -e "s|\"command\": \"[^ ]*|& $options|" \
    "$build_dir/mingw/compile_commands.json" >"$1/compile_commands.json"
}

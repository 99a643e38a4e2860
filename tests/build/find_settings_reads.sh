#!/usr/bin/env bash
# Fails if an object file calls what reads an environment, a command line, the registry or a settings file, and names
# the calls.
#   find_settings_reads.sh NM OBJECT...
set -euo pipefail
export LC_ALL=C
nm=$1
shift
(($# > 0)) || { echo "no object files" >&2; exit 2; }

environment='_?w?getenv(_s)?|_w?dupenv_s|_?_?w?environ|(__p_+|_get_)w?environ|_w?searchenv(_s)?|GetTempPath2?[AW]'
environment+='|GetEnvironment(Variable|Strings)[AW]?|ExpandEnvironmentStrings(ForUser)?[AW]|_ZNSt10filesystem19temp_.*'
command_line='GetCommandLine[AW]|CommandLineToArgvW|(__p_+)?_*(argc|w?argv)|_*w?getmainargs|(__p_+)?_?(acmdln|wcmdln)'
# not RegisterClassExW and the like
registry='Reg[A-Z].*|SHReg[A-Z].*|SH(Get|Query|Enum|Set|Delete|Copy)(Value|Key|Info).*'
registry+='|(Nt|Zw)(Open|Query|Enumerate).*Key.*|RtlQueryRegistry.*|AssocQuery.*'
settings_file='Get(Private)?Profile.*'

status=0
for object in "$@"; do
  symbols=$("$nm" --undefined-only --format=posix "$object" | awk '{sub(/^__imp_/, "", $1); print $1}' | sort -u)
  found=$(grep -xE "$environment|$command_line|$registry|$settings_file" <<<"$symbols" || true)
  [[ -z $found ]] || { echo "${object##*/}: $(paste -sd' ' <<<"$found")"; status=1; }
done
exit $status

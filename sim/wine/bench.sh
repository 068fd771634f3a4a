#!/usr/bin/env bash
# The Wine bench: a Wine prefix with the test bus driver installed, and one Wine session per
# test in which the driver and the program meet the SDL pads through a fresh pad board.
#
# Called:
#   bench.sh prepare WINE DRIVER_SYS
#       makes the prefix if needed and installs the driver (its service and device-interface
#       keys); the keys once per prefix, the driver file again whenever it changed.
#   bench.sh run WINE BOARD [--path DLL_FOLDERS] [--ld-path FOLDER] PROGRAM ARGS...
#       makes the board file BOARD (a Linux path), starts one Wine session with the driver
#       running, runs PROGRAM under Wine with ZEST_PAD_BOARD set to BOARD, and ends the session,
#       so that nothing outlives the test. DLL_FOLDERS (colon-separated) become WINEPATH;
#       FOLDER goes first in LD_LIBRARY_PATH (where the SDL pads' wrapper library is).
# Sourced: bench_prepare, bench_start and bench_end, for a test that does more than run one
# program (see each).
#
# The prefix is ZEST_BENCH_PREFIX, else WINEPREFIX with "-bench" added (~/.wine-bench by
# default). Tests sharing it must not run at once.
#
# Wine's services, its device processes among them (winebus's and our driver's), are started
# by the first Wine process of a session and keep that process's environment; so the session
# is started fresh, and its first process already has ZEST_PAD_BOARD and LD_LIBRARY_PATH.
set -euo pipefail

service=zestbus
interface_guid='{96e42b22-f5e9-42f8-b043-ed0f932f014f}'
instance='ROOT\ZESTBUS\0000'
system_class='{4d36e97d-e325-11ce-bfc1-08002be10318}'
link_key="##?#ROOT#ZESTBUS#0000#$interface_guid"

prefix=${ZEST_BENCH_PREFIX:-${WINEPREFIX:-${HOME:-/root}/.wine}-bench}
export WINEPREFIX=$prefix WINEDEBUG=${WINEDEBUG:--all}
# No .NET or HTML engine: a new prefix would otherwise offer to download them.
export WINEDLLOVERRIDES="mscoree,mshtml="

wineserver_of() { printf '%s\n' "$(dirname "$1")/wineserver"; }

services_key='HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services'
classes_key='HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\DeviceClasses'

driver_keys() {
  cat <<REG
REGEDIT4

[-HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\$instance]

[$services_key\\$service]
"Type"=dword:00000001
"Start"=dword:00000003
"ErrorControl"=dword:00000001
"ImagePath"="C:\\\\windows\\\\system32\\\\drivers\\\\$service.sys"
"DisplayName"="Zest test bus"

[$services_key\\$service\\Parameters]

[$classes_key\\$interface_guid]

[$classes_key\\$interface_guid\\$link_key]
"DeviceInstance"="${instance//\\/\\\\}"

[$classes_key\\$interface_guid\\$link_key\\#]
"SymbolicLink"="\\\\\\\\?\\\\ROOT#ZESTBUS#0000#$interface_guid"

[$classes_key\\$interface_guid\\$link_key\\#\\Control]
"Linked"=dword:00000001

[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\$instance]
"ClassGUID"="$system_class"
REG
}

bench_prepare() {
  local wine=$1 sys=$2 drivers stamp
  if [[ ! -f $prefix/system.reg ]]; then
    "$wine" wineboot --init >/dev/null 2>&1
  fi
  drivers=$prefix/drive_c/windows/system32/drivers
  cmp -s "$sys" "$drivers/$service.sys" || cp "$sys" "$drivers/$service.sys"
  stamp=$prefix/.zest-bench-keys
  if [[ ! -f $stamp ]] || ! driver_keys | cmp -s - "$stamp"; then
    driver_keys >"$prefix/drive_c/zest-bench.reg"
    "$wine" regedit /S 'C:\zest-bench.reg'
    "$(wineserver_of "$wine")" -w
    driver_keys >"$stamp"
  fi
}

# A board of ZEST_BOARD_VERSION with nothing on it: magic "DBPZ", version 1, zeros.
make_board() {
  head -c 320 /dev/zero >"$1"
  printf 'DBPZ\001\000\000\000' | dd of="$1" conv=notrunc status=none
}

# bench_start WINE BOARD [--path DLL_FOLDERS] [--ld-path FOLDER]: a fresh board and a Wine
# session with the driver running on it. bench_end ends the session.
bench_start() {
  bench_wine=$1
  bench_server=$(wineserver_of "$1")
  local board
  board=$(realpath -m "$2")
  shift 2
  while (($# > 0)); do
    case $1 in
      --path)
        if [[ -n $2 ]]; then
          WINEPATH=$(printf '%s' "$2" | sed 's|:/|;Z:/|g; s|^|Z:|')
          export WINEPATH
        fi
        ;;
      --ld-path) export LD_LIBRARY_PATH=$2${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} ;;
      *) echo "bench.sh: unknown option $1" >&2; return 2 ;;
    esac
    shift 2
  done
  make_board "$board"
  export ZEST_PAD_BOARD=$board
  # Whatever another test left behind goes first; then one server for the whole test, so that
  # the driver's service lives as long as the program.
  "$bench_server" -k 2>/dev/null || true
  "$bench_server" -w
  "$bench_server" -p
  trap bench_end EXIT
  "$bench_wine" reg add "HKLM\\System\\CurrentControlSet\\Services\\$service\\Parameters" \
    /v Board /t REG_SZ /d "\\??\\Z:${board//\//\\}" /f >/dev/null || return
  "$bench_wine" net start "$service" >/dev/null
}

bench_end() {
  "$bench_server" -k 2>/dev/null || true
  "$bench_server" -w
  trap - EXIT
}

run() {
  local wine=$1 board=$2 options=() status=0
  shift 2
  while [[ ${1:-} == --* ]]; do
    options+=("$1" "$2")
    shift 2
  done
  bench_start "$wine" "$board" "${options[@]}"
  "$wine" "$@" || status=$?
  bench_end
  return "$status"
}

# Sourced, it only defines the functions above.
if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
  case ${1:-} in
    prepare) shift; bench_prepare "$@" ;;
    run) shift; run "$@" ;;
    *)
      echo "usage: bench.sh prepare WINE DRIVER_SYS" >&2
      echo "       bench.sh run WINE BOARD [--path FOLDERS] [--ld-path FOLDER] PROGRAM ARGS..." >&2
      exit 2
      ;;
  esac
fi

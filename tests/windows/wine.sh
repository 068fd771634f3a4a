#!/bin/sh
# wine.sh WINE DLL_FOLDERS PROGRAM ARGS...: runs a Windows program under Wine, with the folders
# (colon-separated, as Unix paths) where it finds the DLLs it needs; with none ("") it has only
# its own folder and Windows'.
set -eu
wine=$1
folders=$2
shift 2
if [ -n "$folders" ]; then
  WINEPATH=$(printf '%s' "$folders" | sed 's|:/|;Z:/|g; s|^|Z:|')
  export WINEPATH
else
  unset WINEPATH
fi
WINEDEBUG=-all
# No .NET or HTML engine: a new prefix would otherwise offer to download them.
WINEDLLOVERRIDES="mscoree,mshtml="
export WINEDEBUG WINEDLLOVERRIDES
exec "$wine" "$@"

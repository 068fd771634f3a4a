#!/bin/sh
# check_dll_tables.sh OBJDUMP DLL EXE EXPORTS_DEF HOST_DEF: the plug-in DLL exports exactly the
# names of EXPORTS_DEF and imports the host functions of HOST_DEF by name from zestdeck.exe, which
# exports them; XInput comes by ordinal 2, 3 and 4 only.
set -eu
objdump=$1 dll=$2 exe=$3 exports_def=$4 host_def=$5

def_names() { awk '/^[[:space:]]+[a-z]/ {print $1}' "$1" | sort; }
export_names() { "$objdump" -p "$1" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | awk 'NR > 1 && NF == 3 {print $3}' | sort; }
imports_from() { "$objdump" -p "$dll" | sed -n "/DLL Name: $1\$/,/^\$/p" | awk 'NR > 2 && NF >= 3'; }

failed=0
same() {
  if [ "$2" = "$3" ]; then echo "ok: $1"; else echo "FAILED: $1"; echo "  expected: $(echo $3)"; echo "  found:    $(echo $2)"; failed=1; fi
}
same "the DLL exports the eight entry points and nothing else" "$(export_names "$dll")" "$(def_names "$exports_def")"
same "the DLL imports the host functions by name from zestdeck.exe" "$(imports_from zestdeck.exe | awk '{print $3}' | sort)" "$(def_names "$host_def")"
same "zestdeck.exe exports the host functions" "$(export_names "$exe")" "$(def_names "$host_def")"
same "the DLL imports XInput by ordinal 2, 3 and 4, with no names" \
  "$(imports_from XINPUT1_4.dll | awk '{print $2 + 0, $3}' | sort)" "$(printf '2 <none>\n3 <none>\n4 <none>')"
exit $failed

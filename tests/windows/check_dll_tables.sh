#!/bin/sh
# check_dll_tables.sh OBJDUMP CMAKE ZIP FOLDER EXPORTS_DEF HOST_DEF: the plug-in DLL, as unpacked
# from ZIP into FOLDER beside zestdeck.exe, exports exactly the names of EXPORTS_DEF and imports
# the host functions of HOST_DEF by name from zestdeck.exe, which exports them; XInput comes by
# ordinal 2, 3 and 4 only. The zip's DLLs need nothing but Windows' own DLLs, zestdeck.exe (the
# plug-in only) and one another, and each is needed.
set -eu
objdump=$1 cmake=$2 zip=$3 folder=$4 exports_def=$5 host_def=$6
plugin=io.zestworks.gamepad.dll dll=$folder/$plugin exe=$folder/zestdeck.exe
windows_own='^(kernel32|msvcrt|advapi32|authz|mpr|netapi32|ole32|shell32|user32|userenv|version|winmm|ws2_32|setupapi|xinput1_4|api-ms-win-[a-z0-9-]+)\.dll$'

def_names() { awk '/^[[:space:]]+[a-z]/ {print $1}' "$1" | sort; }
export_names() { "$objdump" -p "$1" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | awk 'NR > 1 && NF == 3 {print $3}' | sort; }
imports_from() { "$objdump" -p "$dll" | sed -n "/DLL Name: $1\$/,/^\$/p" | awk 'NR > 2 && NF >= 3'; }
dll_names() { "$objdump" -p "$1" | awk '/DLL Name:/ {print $3}'; }

failed=0
same() {
  if [ "$2" = "$3" ]; then echo "ok: $1"; else echo "FAILED: $1"; echo "  expected: $(echo $3)"; echo "  found:    $(echo $2)"; failed=1; fi
}
same "the DLL exports the eight entry points and nothing else" "$(export_names "$dll")" "$(def_names "$exports_def")"
same "the DLL imports the host functions by name from zestdeck.exe" "$(imports_from zestdeck.exe | awk '{print $3}' | sort)" "$(def_names "$host_def")"
same "zestdeck.exe exports the host functions" "$(export_names "$exe")" "$(def_names "$host_def")"
same "the DLL imports XInput by ordinal 2, 3 and 4, with no names" \
  "$(imports_from XINPUT1_4.dll | awk '{print $2 + 0, $3}' | sort)" "$(printf '2 <none>\n3 <none>\n4 <none>')"

echo "the DLL imports from: $(dll_names "$dll" | tr '\n' ' ')"
files=$("$cmake" -E tar tf "$zip" | grep -v '/$' | sort)
dlls=$(echo "$files" | grep -i '\.dll$')
same "beside the DLLs, the zip holds the install text, the notices and licence texts only" \
  "$(echo "$files" | grep -iv '\.dll$' | grep -v '^licenses/.')" "$(printf 'INSTALL.txt\nNOTICES.txt')"
strays="" needed=""
for file in $dlls; do
  for name in $(dll_names "$folder/$file"); do
    if echo "$dlls" | grep -qix "$name"; then
      needed="$needed $(echo "$dlls" | grep -ix "$name")"
    elif ! echo "$name" | grep -qiE "$windows_own" && [ "$file:$name" != "$plugin:zestdeck.exe" ]; then
      strays="$strays $file:$name"
    fi
  done
done
same "the zip's DLLs import only Windows' own DLLs, zestdeck.exe and one another" "$strays" ""
same "each DLL of the zip is the plug-in or needed by another" \
  "$(echo "$dlls" | grep -vx "$plugin")" "$(echo $needed | tr ' ' '\n' | sort -u)"
exit $failed

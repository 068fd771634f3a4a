#!/usr/bin/env bash
# Fails when a file under src/ includes from a layer above its own. The layers are the folders
# of src/, bottom up; a file may include its own layer and those below it.
set -euo pipefail
cd "$(dirname "$0")/.."
layers="platform hostapi records backend/bus backend gamepad pluginstate nodes plugin"

grep -rn --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' src |
  awk -v layers="$layers" '
    BEGIN { n = split(layers, order, " "); for (i = 1; i <= n; ++i) rank[order[i]] = i }
    {
      split($0, at, ":"); file = at[1]; line = at[2]
      folder = file; sub(/^src\//, "", folder); sub(/\/[^\/]*$/, "", folder)
      included = $0; sub(/^[^"]*"/, "", included); sub(/".*$/, "", included)
      target = included; if (!sub(/\/[^\/]*$/, "", target)) target = folder
      if (!(folder in rank)) { print file ": the folder " folder " is no layer"; bad = 1; next }
      if (!(target in rank)) { print file ":" line ": " included " is in no layer"; bad = 1; next }
      if (rank[target] > rank[folder]) {
        print file ":" line ": " folder " includes " included ", from the layer above it"
        bad = 1
      }
    }
    END { exit bad }'
echo "layers: every include points down ($layers)"

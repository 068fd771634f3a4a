#!/usr/bin/env bash
# Sets the machine up, then builds every suite and runs it in the dev, asan and tsan presets.
# Stops at the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
for preset in dev asan tsan; do
  echo "== preset $preset"
  cmake --workflow --preset "$preset"
done

#!/usr/bin/env bash
# Sets the machine up, checks that every include between the folders of src/ points down, then
# builds every suite and runs it in the dev, asan and tsan presets, then cross-builds the Windows
# DLL, packs its zip and runs its suite under Wine on the unpacked zip (scripts/windows.sh).
# Stops at the first failure and ends with one line that counts the tests of all presets.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
# The folders of src/ are its layers: no include may reach up.
bash scripts/check_layers.sh

log=$(mktemp)
trap 'rm -f "$log"' EXIT
total=0 failed=0 skipped=0
summary() { echo "tests: $((total - failed - skipped)) passed, $failed failed, $skipped skipped"; }

# One step: runs a command that ends in ctest, adds its counts, and stops the script if it failed.
step() {
  local status=0
  "$@" 2>&1 | tee "$log" || status=$?
  if line=$(grep -E 'tests? failed out of [0-9]+' "$log" | tail -n 1); then
    total=$((total + $(sed -E 's/.* out of ([0-9]+).*/\1/' <<<"$line")))
    failed=$((failed + $(sed -E 's/.* ([0-9]+) tests? failed.*/\1/' <<<"$line")))
  fi
  skipped=$((skipped + $(grep -c '(Skipped)' "$log" || true)))
  if ((status != 0)); then
    summary
    exit "$status"
  fi
}

for preset in dev asan tsan; do
  echo "== preset $preset"
  step cmake --workflow --preset "$preset"
done
# The main job's optimised build (its warnings differ) and its demo.
echo "== release: the main job"
cmake --workflow --preset release
build/release/host/zesthost run examples/demo.scenario >/dev/null || {
  echo "the demo failed: bash scripts/run.sh shows how"
  failed=$((failed + 1))
  summary
  exit 1
}
# The Windows DLL, cross-built, packed and run under Wine after the Linux presets.
echo "== windows"
step bash scripts/windows.sh
summary

#!/usr/bin/env bash
# Sets the machine up, builds the release preset and runs the demo: the reference host with the
# plug-in on the simulated machine. Arguments go to zesthost instead of the demo's.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --workflow --preset release
if (($# == 0)); then
  set -- run examples/demo.scenario
fi
exec build/release/host/zesthost "$@"

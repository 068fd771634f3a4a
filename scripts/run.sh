#!/usr/bin/env bash
# Sets the machine up, builds the release preset and runs the reference host on the simulated
# machine.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --workflow --preset release
exec build/release/host/zesthost "$@"

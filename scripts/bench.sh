#!/usr/bin/env bash
# Sets the machine up, builds the release preset and prints one table: the plug-in's figures
# beside its peers', all measured in the same run (about a minute once built), and draws the
# press-to-event latencies of that run into docs/latency.png.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --workflow --preset release
exec build/release/bench/table_bench --picture docs/latency.png

#!/usr/bin/env bash
# Sets the machine up, builds the release preset and prints one table: the plug-in's figures
# beside its peers', all measured in the same run (about two minutes once built), and draws the
# press-to-event latencies of that run into docs/latency.png. The peer is a 1 kHz poller that
# reads the same pads with the same XInputGetState calls; a bare wake-up that reads nothing is
# the machine's floor. Press latency and CPU are measured three times, and the table shows the
# median run with the range; the tick is measured back to back, after a 1 ms sleep, and after a
# sleep and a read bigger than the last level cache, with cache misses where perf counts them.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --workflow --preset release
exec build/release/bench/table_bench --picture docs/latency.png

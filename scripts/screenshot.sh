#!/usr/bin/env bash
# Regenerates the README's pictures: docs/zesthost-gui.png, zesthost's window with the demo graph
# on the simulated machine, pads in use, drawn offscreen (scripts/screenshot.scenario); and
# docs/latency.png, the press-to-event latency of the plug-in and of its peer, from a run of the
# bench's latency part alone. ZEST_PRESET picks the build (release).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${ZEST_PRESET:-release}
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target zesthost table_bench
# Paths relative to the repository, so that the picture shows none of this machine's folders.
QT_QPA_PLATFORM=offscreen "build/$preset/host/zesthost" gui \
    --run scripts/screenshot.scenario --screenshot docs/zesthost-gui.png
echo "screenshot: docs/zesthost-gui.png"
"build/$preset/bench/table_bench" --latency-only --picture docs/latency.png
echo "latency picture: docs/latency.png"

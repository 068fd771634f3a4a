#!/usr/bin/env bash
# Regenerates docs/zesthost-gui.png, the README's picture of zesthost's window: the demo graph
# on the simulated machine, pads in use, drawn offscreen. ZEST_PRESET picks the build (release).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${ZEST_PRESET:-release}
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target zesthost
scenario=$(mktemp --suffix=.scenario)
trap 'rm -f "$scenario"' EXIT
cat >"$scenario" <<SCENARIO
pad plug 0
pad plug 2
load "$PWD/examples/demo.graph.json"
wait until text preferences "Connected as Gamepad 2"
wait 100ms
pad triggers 0 200 60
pad sticks 0 -20000 15000 9000 -24000
pad press 0 a x
wait until virtual b down within 2s
wait until rumble 0 on within 1s
SCENARIO
QT_QPA_PLATFORM=offscreen "build/$preset/host/zesthost" gui --run "$scenario" --screenshot docs/zesthost-gui.png
echo "screenshot: docs/zesthost-gui.png"

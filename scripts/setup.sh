#!/usr/bin/env bash
# Installs with apt-get whatever this project needs and the machine lacks (Debian 12, as root),
# and the packages named as arguments. Safe to run any number of times: with everything present
# it installs nothing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-qpa-plugins
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

if ((${#missing[@]} == 0)); then
  echo "setup: everything is installed"
  exit 0
fi
if [[ $(id -u) -ne 0 ]]; then
  echo "setup: missing ${missing[*]}; run this as root to install them" >&2
  exit 1
fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"

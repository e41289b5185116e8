#!/usr/bin/env bash
# Installs the Debian packages bayhal builds and tests with, when any is missing.
set -euo pipefail
pkgs=(build-essential cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev
      libcli11-dev nlohmann-json3-dev libinih-dev iproute2 python3-prometheus-client "$@")
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
fi

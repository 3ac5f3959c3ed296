#!/usr/bin/env bash
# Installs what the project needs on a Debian machine (skipped when present).
set -euo pipefail
PKGS=(cmake ninja-build g++ pkg-config
      libgtest-dev libgmock-dev googletest libbenchmark-dev libfast-float-dev
      libglew-dev libgl-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libpng-dev libcli11-dev
      libqhull-dev libassimp-dev assimp-testmodels libtinyobjloader-dev python3
      python3-ezdxf view3dscene)
missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  echo "installing: ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

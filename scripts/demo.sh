#!/usr/bin/env bash
# Builds the oxmesh tool on a fresh Debian machine and runs it on the bundled samples.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"${OX_JOBS:-2}" --target oxmesh
oxmesh=build/release/tools/oxmesh/oxmesh
"$oxmesh" --version
for sample in data/meshes/spot.obj data/meshes/bun_zipper_res4.ply; do
  echo
  echo "\$ oxmesh info $sample"
  "$oxmesh" info "$sample"
done

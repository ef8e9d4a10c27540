#!/usr/bin/env bash
# Builds the oxmesh tool on a fresh Debian machine and runs its demo: the bundled point cloud
# reconstructed with both point-set surfaces.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"${OX_JOBS:-2}" --target oxmesh
oxmesh=build/release/tools/oxmesh/oxmesh
"$oxmesh" --version
echo
echo "\$ oxmesh demo --output-dir build/demo"
"$oxmesh" demo --output-dir build/demo

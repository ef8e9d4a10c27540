#!/usr/bin/env bash
# Installs the Debian packages oxMeshLib needs to build, test and run its tools.
# Idempotent: does nothing when everything is already there. Needs root (or sudo).
#   scripts/install-deps.sh           build, test and tool dependencies
#   scripts/install-deps.sh --bench   also the peer libraries the benchmarks compare with
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev   # compilers, fuzzing and sanitizer runtimes
  clang-format                                     # the house formatting, checked by the tests
  libeigen3-dev                                    # the library: eigen-solvers, sparse solves
  libtinyobjloader-dev libassimp-dev libcli11-dev  # the oxmesh tool: file formats and arguments
  libgtest-dev libgmock-dev libbenchmark-dev       # tests and benchmarks
)
if [[ "${1:-}" == "--bench" ]]; then
  packages+=(libnanoflann-dev libmeshoptimizer-dev libcgal-dev libopen3d-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
as_root=()
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null; then as_root=(sudo); else
    echo "install-deps: these packages are missing and this user is not root: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

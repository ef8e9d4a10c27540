#!/usr/bin/env bash
# Runs the same oxmesh jobs on the shared data set with two builds of the tool and compares
# every output file byte for byte (and the JSON of `info`), so that a change meant to keep
# results can show that it does:
#   scripts/compare-oxmesh.sh OLD_OXMESH NEW_OXMESH [WORKDIR]
# Each binary may be given as "LIBDIR:BINARY" to run it with that library folder first on the
# library path. Prints one line per job (same / DIFFERENT) and exits 1 when any job differs.
set -uo pipefail
cd "$(dirname "$0")/.."
data=${OX_SHARED_DATA:-../shared/data}
work=${3:-$(mktemp -d)}
mkdir -p "$work/old" "$work/new"

run() {  # which binary-spec args...
  local spec=$1; shift
  if [[ $spec == *:* ]]; then LD_LIBRARY_PATH=${spec%%:*} "${spec#*:}" "$@"; else "$spec" "$@"; fi
}

jobs=()
for m in spot.obj fandisk.obj rocker-arm.obj woody.obj stanford-bunny.obj igea-faces.ply bun_zipper_res4.ply teapot.obj cow.obj; do
  jobs+=("info-$m|info --json $data/meshes/$m")
  jobs+=("convert-$m|convert $data/meshes/$m -o OUT/convert-$m.ply")
done
for m in spot.obj fandisk.obj rocker-arm.obj stanford-bunny.obj cow.obj; do
  jobs+=("simplify-$m|simplify $data/meshes/$m -o OUT/simplify-$m.ply --ratio 0.1")
  jobs+=("simplify-generic-$m|simplify $data/meshes/$m -o OUT/simplify-generic-$m.ply --ratio 0.2 --method generic")
done
jobs+=("simplify-lock-woody|simplify $data/meshes/woody.obj -o OUT/simplify-lock-woody.ply --ratio 0.3 --lock-boundary")
for c in spot-uniform-10k.ply fandisk-poisson-30k.ply stanford-bunny-poisson-40k.ply; do
  for s in apss rimls; do
    jobs+=("reconstruct-$s-$c|reconstruct $data/clouds/$c -o OUT/reconstruct-$s-$c.ply --surface $s --depth 7")
  done
  jobs+=("reconstruct-raw-$c|reconstruct $data/clouds/$c -o OUT/reconstruct-raw-$c.ply --depth 6 --raw")
done
jobs+=("normals-bun0|normals $data/scans/pcl-bun0.ply -o OUT/normals-bun0.ply")
jobs+=("normals-view-milk|normals $data/scans/pcl-milk.ply -o OUT/normals-view-milk.ply --viewpoint 0,0,0")
jobs+=("estimate-reconstruct-bun0|reconstruct $data/scans/pcl-bun0.ply -o OUT/estimate-bun0.ply --estimate-normals --depth 6")

differ=0
for job in "${jobs[@]}"; do
  name=${job%%|*}; args=${job#*|}
  for side in old new; do
    spec=$1; [[ $side == new ]] && spec=$2
    # shellcheck disable=SC2086
    run "$spec" --quiet ${args//OUT/$work/$side} >"$work/$side/$name.stdout" 2>"$work/$side/$name.stderr"
    echo $? >"$work/$side/$name.status"
  done
  same=yes
  cmp -s "$work/old/$name.status" "$work/new/$name.status" || same=no
  if [[ $name == info-* ]]; then cmp -s "$work/old/$name.stdout" "$work/new/$name.stdout" || same=no; fi
  outfile=$(grep -o "OUT/[^ ]*" <<<"$args" || true)
  if [[ -n $outfile ]]; then
    cmp -s "$work/old/${outfile#OUT/}" "$work/new/${outfile#OUT/}" || same=no
  fi
  if [[ $same == yes ]]; then echo "same       $name"; else echo "DIFFERENT  $name"; differ=1; fi
done
echo "outputs in $work"
exit $differ

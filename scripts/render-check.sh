#!/usr/bin/env bash
# Draws a fixed set of hierarchy nodes of the sample project at three zoom factors and in three pin
# display modes with zkrender, into OUT_DIR. Given a REFERENCE_DIR from an earlier run, compares
# every picture byte for byte and fails on the first difference: a change meant to keep the
# drawing as it is must keep every one of these pictures.
#   scripts/render-check.sh BUILD_DIR OUT_DIR [REFERENCE_DIR]
set -euo pipefail
if [ $# -lt 2 ]; then
  echo "usage: $0 BUILD_DIR OUT_DIR [REFERENCE_DIR]" >&2
  exit 2
fi
build="$1"
out="$2"
reference="${3:-}"
render="$build/tools/render/zkrender"
cmake --build "$build" --target zkrender >/dev/null
export QT_QPA_PLATFORM=offscreen
export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
# The sanitizer build's leak report is about the process end, not the drawing.
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=0}"
mkdir -p "$out"

# Each area's root, nested levels down to the fourth, and a node of the commissioning area.
nodes=(A0:0 A1:0 A2:0 A3:0 A4:0 A5:0 A1:0.11 A2:0.11 A2:0.11.7 A2:0.11.7.6 A5:0.2)
zooms=(0.3 1 2.5)
modes=(0 1 3)
count=0
for node in "${nodes[@]}"; do
  for zoom in "${zooms[@]}"; do
    for mode in "${modes[@]}"; do
      name="${node//[:.]/_}-z${zoom}-m${mode}.png"
      "$render" "$node" --zoom "$zoom" --mode "$mode" --png "$out/$name" >/dev/null
      count=$((count + 1))
    done
  done
done

if [ -z "$reference" ]; then
  echo "$count pictures in $out"
  exit 0
fi
different=0
for picture in "$out"/*.png; do
  name="$(basename "$picture")"
  if ! cmp -s "$picture" "$reference/$name"; then
    echo "differs: $name"
    different=$((different + 1))
  fi
done
if [ "$different" -ne 0 ]; then
  echo "$different of $count pictures differ from $reference"
  exit 1
fi
echo "all $count pictures identical to $reference"

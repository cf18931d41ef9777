#!/usr/bin/env bash
# A selection copied in one process pastes into another through the system clipboard. Both run on
# a display server of this test's own, since the offscreen platform has no shared clipboard.
# Usage: cross-process-paste.sh PEER
set -euo pipefail
peer="$1"

if ! command -v Xvfb >/dev/null 2>&1; then
  echo "Xvfb is not installed (scripts/install-deps.sh installs it); skipped"
  exit 77
fi

work="$(mktemp -d)"
xvfb=""
copier=""
cleanup() {
  [ -n "$copier" ] && kill "$copier" 2>/dev/null || true
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# The server picks a free display and writes its number to fd 3 once it accepts clients.
mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb=$!
exec 4<>"$work/display"
if ! read -r -t 30 -u 4 number; then
  echo "Xvfb did not start:"; cat "$work/xvfb.log"; exit 1
fi
export DISPLAY=":$number"
export QT_QPA_PLATFORM=xcb
# The X and font libraries keep their caches to the end of the process by design, and the keyboard
# library of X copies its names with strndup from buffers that end at the length it passes, which
# the strict string checks take for an overflow.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0:strict_string_checks=0"

mkfifo "$work/copier"
"$peer" copy >"$work/copier" &
copier=$!
exec 5<>"$work/copier"
line=""
for _ in $(seq 60); do
  if read -r -t 1 -u 5 line; then break; fi
  kill -0 "$copier" 2>/dev/null || break
done
if [ "$line" != "copied" ]; then
  echo "the copying process did not copy"; exit 1
fi

"$peer" paste
# The paste took the clipboard over: the copier ends by itself.
status=0
wait "$copier" || status=$?
copier=""
exit "$status"

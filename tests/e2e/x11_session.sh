# Helpers for end-to-end tests of the real program on a private X display. Source it.
# Needs: Xvfb, xdotool, xwininfo, ImageMagick (import, compare, convert).

# start_private_display: starts Xvfb on a free display number and exports DISPLAY.
start_private_display() {
  local fifo
  fifo=$(mktemp -u)
  mkfifo "$fifo"
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$fifo" >/dev/null 2>&1 &
  xvfb_pid=$!
  local number
  if ! read -r -t 20 number <"$fifo"; then
    rm -f "$fifo"; echo "Xvfb did not start" >&2; return 1
  fi
  rm -f "$fifo"
  export DISPLAY=":$number"
}

stop_private_display() {
  [ -n "${xvfb_pid:-}" ] && kill "$xvfb_pid" 2>/dev/null && wait "$xvfb_pid" 2>/dev/null
  xvfb_pid=
}

# eventually SECONDS COMMAND...: true once COMMAND succeeds, false if it has not within SECONDS.
eventually() {
  local deadline=$(( $(date +%s) + $1 )); shift
  until "$@"; do
    [ "$(date +%s)" -lt "$deadline" ] || return 1
    sleep 0.02
  done
}

# visible_windows NAME: ids of the mapped windows titled exactly NAME.
visible_windows() {
  xdotool search --onlyvisible --name "^$1\$" 2>/dev/null || true
}

# wait_for_window NAME [SECONDS]: prints the id of the first mapped window titled NAME.
wait_for_window() {
  local deadline=$(( $(date +%s) + ${2:-20} )) ids
  while [ "$(date +%s)" -lt "$deadline" ]; do
    ids=$(visible_windows "$1")
    if [ -n "$ids" ]; then echo "$ids" | head -1; return 0; fi
    sleep 0.05
  done
  return 1
}

# window_geometry ID: "WIDTHxHEIGHT+X+Y" of a window, in root coordinates.
window_geometry() {
  xwininfo -id "$1" | awk '/Absolute upper-left X/ {x=$NF} /Absolute upper-left Y/ {y=$NF}
                            /^ *Width:/ {w=$NF} /^ *Height:/ {h=$NF} END {print w "x" h "+" x "+" y}'
}

# wait_for_exit PID SECONDS: waits for a child of this shell (so not from a subshell) and
# sets exit_code to its exit status; fails on time-out, leaving the child running.
wait_for_exit() {
  local deadline=$(( $(date +%s) + $2 ))
  while kill -0 "$1" 2>/dev/null; do
    if [ "$(date +%s)" -ge "$deadline" ]; then return 1; fi
    sleep 0.05
  done
  exit_code=0
  wait "$1" || exit_code=$?
}

# differing_pixels A B: how many pixels of two pictures of one size differ.
differing_pixels() {
  compare -metric AE "$1" "$2" null: 2>&1 | awk '{print int($1)}'
}

# isolate_var_tmp "$0" "$@": re-runs the test with a private /var/tmp, where the program's
# single-instance lock lives, so that a panel running elsewhere on the machine does not count.
isolate_var_tmp() {
  if [ -z "${PANEL_TEST_ISOLATED:-}" ] && [ "$(id -u)" = 0 ] \
     && unshare --mount --propagation private true 2>/dev/null; then
    exec env PANEL_TEST_ISOLATED=1 unshare --mount --propagation private \
      sh -c 'mount -t tmpfs tmpfs /var/tmp && exec "$0" "$@"' "$@"
  fi
}

# private_home: a scratch folder ($scratch) holding HOME and the runtime and config folders.
private_home() {
  scratch=$(mktemp -d)
  export HOME=$scratch/home XDG_RUNTIME_DIR=$scratch/run XDG_CONFIG_HOME=$scratch/config
  mkdir -p "$HOME" "$XDG_CONFIG_HOME" && mkdir -m 700 "$XDG_RUNTIME_DIR"
}

name="Kelto Veltrano"
failures=0
panel=
# check DESCRIPTION COMMAND...: one expectation, reported either way; a panel that died
# ends the test.
check() {
  local what=$1; shift
  if "$@"; then echo "ok   - $what"; else echo "FAIL - $what"; failures=$((failures + 1)); fi
  if [ -n "${panel:-}" ] && ! kill -0 "$panel" 2>/dev/null; then
    echo "FAIL - the panel is gone:"; cat "$scratch/panel.log"; exit 1
  fi
}

# start_panel ARGS...: starts $program and waits for its window (id in $window).
start_panel() {
  "$program" "$@" >"$scratch/panel.log" 2>&1 &
  panel=$!
  window=$(wait_for_window "$name" 20) || { echo "no window for: $*"; cat "$scratch/panel.log"; return 1; }
  sleep 0.3   # let the first paint finish before a screenshot
}

# close_panel: the close button at the right end of the 19-pixel title bar; exit code in $code.
close_panel() {
  local width
  width=$(window_geometry "$window" | cut -dx -f1)
  xdotool mousemove --window "$window" $((width - 10)) 10 click 1
  if wait_for_exit "$panel" 10; then code=$exit_code
  else echo "panel still running after the close button"; kill "$panel"; code=timeout; fi
  panel=
  xdotool mousemove 1000 1000   # keep the pointer off the next window
}

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

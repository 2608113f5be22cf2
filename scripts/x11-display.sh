# Private X displays for the run command, the tests and the benchmarks. Source it. It keeps
# its state in x11_display_pid and exports DISPLAY; it sets no other variable of its caller.
# Needs: Xvfb, xdotool, xwininfo, ImageMagick (compare).

# start_private_display: an Xvfb of our own on a free display number; exports DISPLAY.
start_private_display() {
  local fifo number
  fifo=$(mktemp -u)
  mkfifo "$fifo"
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$fifo" >/dev/null 2>&1 &
  x11_display_pid=$!
  if ! read -r -t 20 number <"$fifo"; then
    rm -f "$fifo"; echo "Xvfb did not start" >&2; return 1
  fi
  rm -f "$fifo"
  export DISPLAY=":$number"
}

stop_private_display() {
  [ -n "${x11_display_pid:-}" ] && kill "$x11_display_pid" 2>/dev/null && wait "$x11_display_pid" 2>/dev/null
  x11_display_pid=
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
# returns its exit status; returns 124 if it still runs after SECONDS, and leaves it running.
wait_for_exit() {
  local deadline=$(( $(date +%s) + $2 ))
  while kill -0 "$1" 2>/dev/null; do
    [ "$(date +%s)" -lt "$deadline" ] || return 124
    sleep 0.05
  done
  wait "$1"
}

# wait_painted ID [SECONDS]: true once the window shows more than a plain background (a
# window maps before its first paint).
wait_painted() {
  local shot
  shot=$(mktemp --suffix=.png)
  eventually "${2:-5}" painted_into "$1" "$shot"
  local painted=$?
  rm -f "$shot"
  return $painted
}
painted_into() { import -window "$1" "$2" 2>/dev/null && [ "$(identify -format %k "$2")" -gt 16 ]; }

# differing_pixels A B: how many pixels of two pictures of one size differ.
differing_pixels() {
  compare -metric AE "$1" "$2" null: 2>&1 | awk '{print int($1)}'
}

# Helpers for end-to-end tests of the real program on a private X display. Source it.
# A test that sources it gets: panel_title, the program's window title; start_session, which
# sets scratch and bus; check, which counts failed expectations in check_failures; start_panel,
# which runs $program and sets panel (its pid) and window (its window id); close_panel, which
# sets code; plug and pull for virtual interfaces ($virtual). Sourcing sets panel_title only.
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/x11-display.sh"
panel_title="Kelto Veltrano"

# isolate_var_tmp "$0" "$@": re-runs the test with a private /var/tmp, where the program's
# single-instance lock lives, so that a panel running elsewhere on the machine does not count.
isolate_var_tmp() {
  if [ -z "${PANEL_TEST_ISOLATED:-}" ] && [ "$(id -u)" = 0 ] \
     && unshare --mount --propagation private true 2>/dev/null; then
    exec env PANEL_TEST_ISOLATED=1 unshare --mount --propagation private \
      sh -c 'mount -t tmpfs tmpfs /var/tmp && exec "$0" "$@"' "$@"
  fi
}

# start_session "$0" "$@": a private /var/tmp, HOME and runtime folders under $scratch, an
# empty bus folder $bus (a path of fixed length, so tab titles are too), a private display;
# all of it ended when the test exits, after on_exit: the panel, and what session_pid holds
# (the interfaces, and anything else a test starts there).
start_session() {
  isolate_var_tmp "$@"
  scratch=$(mktemp -d)
  export HOME=$scratch/home XDG_RUNTIME_DIR=$scratch/run XDG_CONFIG_HOME=$scratch/config
  mkdir -p "$HOME" "$XDG_CONFIG_HOME" && mkdir -m 700 "$XDG_RUNTIME_DIR"
  bus=$(mktemp -d /tmp/kv.XXXXXX) && chmod 700 "$bus"
  export KELTO_VIRTUAL_BUS=$bus
  declare -gA session_pid=()
  trap end_session EXIT
  start_private_display || exit 1
}
end_session() {
  declare -F on_exit >/dev/null && on_exit
  [ -n "${panel:-}" ] && kill "$panel" 2>/dev/null
  local pid
  for pid in "${session_pid[@]}"; do kill "$pid" 2>/dev/null; done
  stop_private_display
  rm -rf "$scratch" "$bus"
}

# check DESCRIPTION COMMAND...: one expectation, reported either way; a panel that died
# ends the test.
check() {
  local what=$1; shift
  if "$@"; then echo "ok   - $what"; else echo "FAIL - $what"; check_failures=$(( ${check_failures:-0} + 1 )); fi
  if [ -n "${panel:-}" ] && ! kill -0 "$panel" 2>/dev/null; then
    echo "FAIL - the panel is gone:"; cat "$scratch/panel.log"; exit 1
  fi
}
# passed: the test's exit status, after a summary line.
passed() {
  [ "${check_failures:-0}" -eq 0 ] && echo "all passed" || echo "$check_failures failed"
  [ "${check_failures:-0}" -eq 0 ]
}

# start_panel ARGS...: starts $program (through the command in the array panel_launcher,
# if the test set one) and waits for its window (id in $window).
start_panel() {
  "${panel_launcher[@]}" "$program" "$@" >"$scratch/panel.log" 2>&1 &
  panel=$!
  window=$(wait_for_window "$panel_title" 20) || { echo "no window for: $*"; cat "$scratch/panel.log"; return 1; }
  wait_painted "$window" || { echo "the window was never painted"; return 1; }
}

# close_panel: the close button at the right end of the 19-pixel title bar; exit code in $code.
close_panel() {
  local width
  width=$(window_geometry "$window" | cut -dx -f1)
  xdotool mousemove --window "$window" $((width - 10)) 10 click 1
  code=0
  wait_for_exit "$panel" 10 || code=$?
  if [ "$code" = 124 ]; then echo "panel still running after the close button"; kill "$panel"; code=timeout; fi
  panel=
  xdotool mousemove 1000 1000   # keep the pointer off the next window
}

# plug NAME [OPTIONS...]: one virtual interface, its state in $scratch/NAME.state.
plug() {
  local n=$1; shift
  "$virtual" --name "$n" --state-file "$scratch/$n.state" "$@" >"$scratch/$n.log" 2>&1 &
  session_pid[$n]=$!
  eventually 10 test -S "$bus/$n" || { echo "interface $n did not plug in"; cat "$scratch/$n.log"; return 1; }
}
# pull NAME [SIGNAL]: the interface leaves (SIGTERM unplugs it cleanly; SIGKILL is a yank).
pull() {
  kill -"${2:-TERM}" "${session_pid[$1]}" 2>/dev/null
  wait "${session_pid[$1]}" 2>/dev/null
  unset "session_pid[$1]"
}
byte() { awk -v i="$2" '$1 == "block" { print $(i + 2) }' "$scratch/$1.state"; }
byte_is() { [ "$(byte "$1" "$2")" = "$3" ]; }
# wait_byte NAME INDEX VALUE: true once the interface holds VALUE there (10 s at most).
wait_byte() { eventually 10 byte_is "$@"; }

size() { window_geometry "$window" | cut -d+ -f1; }
size_is() { [ "$(size)" = "$1" ]; }
wait_size() { eventually 10 size_is "$1"; }   # wait_size WxH: the window takes that size within 10 s
# snap FILE: the window, with the pointer away from it, once it has stopped changing (a
# control that loses the pointer repaints).
snap() {
  xdotool mousemove 1200 1000
  import -window "$window" "$1"
  eventually 2 unchanged_since "$1"
}
unchanged_since() {
  local next=${1%.png}-next.png
  import -window "$window" "$next" && [ "$(differing_pixels "$1" "$next")" = 0 ] && rm -f "$next" && return
  mv "$next" "$1"
  return 1
}

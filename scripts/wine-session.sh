# Sourced by the Windows test stages and benchmarks: the test wine prefix, a
# private Xvfb on demand, and the clean-up of what they started when the
# shell exits. Processes are ended by their own ids, never by name.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

export WINEPREFIX=$wine_prefix WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml="
"$repo/scripts/wine-prefix" "$WINEPREFIX"

windows_exe=$windows_build/app/KeltoVeltrano.exe
session_dir=$(mktemp -d)
xvfb_pid=

# start_private_display: an Xvfb of our own on a free display number; sets DISPLAY.
start_private_display() {
  local i
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$session_dir/display" \
    >"$session_dir/xvfb.log" 2>&1 &
  xvfb_pid=$!
  for i in $(seq 100); do
    if [ -s "$session_dir/display" ]; then
      export DISPLAY=:$(head -n1 "$session_dir/display")
      return 0
    fi
    kill -0 "$xvfb_pid" 2>/dev/null || break
    sleep 0.1
  done
  echo "Xvfb did not start: $(cat "$session_dir/xvfb.log")" >&2
  return 1
}

# wait_for_window NAME SECONDS: prints the id of the first visible window
# titled exactly NAME, or fails after SECONDS.
wait_for_window() {
  local name=$1 deadline=$((SECONDS + $2)) id
  while [ $SECONDS -lt $deadline ]; do
    id=$(xdotool search --onlyvisible --name "^$name\$" 2>/dev/null | head -n1)
    if [ -n "$id" ]; then echo "$id"; return 0; fi
    sleep 0.05
  done
  return 1
}

# wait_for_exit PID SECONDS: the exit code of PID (a child of this shell), or
# 124 after SECONDS, when the process is ended.
wait_for_exit() {
  local pid=$1 deadline=$((SECONDS + $2))
  while kill -0 "$pid" 2>/dev/null && [ $SECONDS -lt $deadline ]; do sleep 0.05; done
  if kill -0 "$pid" 2>/dev/null; then
    kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null
    return 124
  fi
  wait "$pid"
}

end_wine_session() {
  # The prefix's wineserver leaves by itself a few seconds after its last client.
  timeout 20 wineserver -w 2>/dev/null || true
  if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null; wait "$xvfb_pid" 2>/dev/null; fi
  rm -rf "$session_dir"
}
trap end_wine_session EXIT

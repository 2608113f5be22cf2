#!/usr/bin/env bash
# veltrano-ctl end to end against real interfaces: veltrano-virtual processes on Linux, the
# virtual bus driver under wine on Windows. One table of cases serves both systems; each
# row gives the exit status, a line the tool must print and the block the interface holds
# afterwards. The panel that holds an interface is the real one, on a private display.
# Usage: ctl_test.sh linux|windows BUILD_DIR
set -uo pipefail
platform=$1
build=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)

declare -A path=() number=()
case $platform in
linux)
  source "$here/x11_session.sh"
  program=$build/app/kelto-veltrano virtual=$build/virtual/veltrano-virtual
  start_session "$0" "$@"
  ctl_command=("$build/ctl/veltrano-ctl")
  # plug_in NAME OPTIONS...: one more interface, its path in path[NAME].
  plug_in() { local n=$1; shift; plug "$n" "$@" && path[$n]=$bus/$n; }
  pull_out() { pull "$1"; }
  block_of() { awk '$1 == "block" { $1 = ""; print substr($0, 2) }' "$scratch/$1.state"; }
  hold() { start_panel; }
  let_go() { close_panel; }
  # errno values: the host's one client is the panel; a request refused; the host gone
  busy="veltrano-ctl: Device or resource busy (16)" failed="veltrano-ctl: Input/output error (5)"
  gone="veltrano-ctl: No such device (19)"
  ;;
windows)
  export VELTRANO_WINE_PREFIX=${VELTRANO_CTL_PREFIX:-$(dirname "$build")/wine-ctl-prefix}
  unset DISPLAY # the prefix and the driver are set up without any display
  source "$here/x11_session.sh"
  source "$here/../../scripts/wine-session.sh"
  scratch=$session_dir
  cli() { timeout 60 wine "$build/virtual/win32/veltrano-virtual.exe" "$@"; }
  # Ending the session pulls its interfaces; a session left by a killed run still holds them.
  trap 'wineserver -k 2>/dev/null || true; end_wine_session' EXIT
  wineserver -k 2>/dev/null || true
  "$repo/scripts/wine-install-driver" "$build/virtual/win32/veltrano_bus.sys"
  start_private_display # before any wine program: a session keeps the display it started with
  wineserver -p
  eventually 30 cli list >/dev/null 2>&1 || { echo "FAIL - the virtual bus did not come up"; exit 1; }
  ctl_command=(timeout 60 wine "$build/ctl/veltrano-ctl.exe")
  plug_in() {
    local n=$1 p; shift
    read -r "number[$n]" p < <(cli plug "$@")
    [ -n "${p:-}" ] || { echo "interface $n did not plug in"; return 1; }
    path[$n]=${p,,} # the driver lists paths in lower case
  }
  pull_out() { cli unplug "${number[$1]}" >/dev/null; }
  block_of() { cli block "${number[$1]}" | tr -d '\r'; }
  hold() {
    wine "$build/app/KeltoVeltrano.exe" >"$scratch/panel.log" 2>&1 &
    panel=$!
    window=$(wait_for_window "$panel_title" 60) || { echo "no panel window"; return 1; }
  }
  let_go() {
    xdotool mousemove --window "$window" $(( $(window_geometry "$window" | cut -dx -f1) - 12 )) 9 click 1
    wait_for_exit "$panel" 20
    panel=
  }
  # Windows codes, not wine's wording of them: the driver refuses every handle but its first
  # opener's; a request refused (STATUS_UNSUCCESSFUL); the interface gone.
  busy="(32)" failed="(31)" gone="(1617)"
  ;;
*) echo "usage: ctl_test.sh linux|windows BUILD_DIR" >&2; exit 2 ;;
esac

# ctl ARGS...: runs the tool; its status in $rc, what it printed (both streams) in $said.
ctl() {
  rc=0
  "${ctl_command[@]}" "$@" >"$scratch/out" 2>"$scratch/err" || rc=$?
  said=$(cat "$scratch/out" "$scratch/err" | tr -d '\r')
}
said_line() { grep -qF -- "$1" <<<"$said"; }
block_is() { [ "$(block_of "$1")" = "$2" ]; }
trimmed() { sed 's/^ *//; s/ *$//' <<<"$1"; }

# run_cases INTERFACE TABLE: each row "STATUS | ARGUMENTS | TEXT | BLOCK AFTER": the
# arguments as shell words, TEXT a part of a line the tool prints ({A} and {B} stand for the
# paths of interfaces a and b in both), BLOCK AFTER what INTERFACE then holds (empty: what
# it held before). INTERFACE "-": none to look at.
run_cases() {
  local n=$1 want_rc args text after before words
  while IFS='|' read -r want_rc args text after; do
    want_rc=$(trimmed "$want_rc"); [ -n "$want_rc" ] || continue
    args=${args//\{A\}/"$(printf %q "${path[a]:-}")"}; args=${args//\{B\}/"$(printf %q "${path[b]:-}")"}
    text=$(trimmed "$text"); text=${text//\{A\}/"${path[a]:-}"}; text=${text//\{B\}/"${path[b]:-}"}
    after=$(trimmed "$after")
    [ "$n" = - ] || before=$(block_of "$n")
    eval "words=($args)"
    ctl "${words[@]}"
    if [ "$rc" = "$want_rc" ] && said_line "$text"; then
      echo "ok   - veltrano-ctl$args: $want_rc, \"$text\""
    else
      echo "FAIL - veltrano-ctl$args: $want_rc, \"$text\"; got $rc:"; sed 's/^/       /' <<<"$said"
      check_failures=$(( ${check_failures:-0} + 1 ))
    fi
    [ "$n" = - ] || check "  and $n holds ${after:-what it held}" block_is "$n" "${after:-$before}"
  done <<<"$2"
}

# check_json ARGS... -- FILTER: jq finds FILTER true of the tool's output.
check_json() {
  local args=()
  while [ "$1" != -- ]; do args+=("$1"); shift; done
  ctl "${args[@]}"
  check "veltrano-ctl ${args[*]} | jq '$2'" jq_true "$2" "$scratch/out"
}
jq_true() { jq -e "$1" "$2" >/dev/null; }

# --- No interface --------------------------------------------------------------------------
run_cases - '
0 | list               | no interface is connected
1 | show               | veltrano-ctl: no interface is connected
1 | set hi-z=on        | veltrano-ctl: no interface is connected
2 | show --interface 1 | veltrano-ctl: no interface 1; none is connected
'
check_json --json list -- '. == []'

# --- One interface: output, every bad input, the read-modify-write ---------------------------
# Byte 3 (headset 3/4) holds a step its menu lacks, byte 9 (Hi-Z) neither switch value.
plug_in a --block 7 40 34 5 1 1 1 19 0 9 0 0 0 9 8 6 || exit 1
run_cases a '
0 | --version                | veltrano-ctl 1.0.0f48
0 | --help                   |   phantom-1: on, off; or as a byte: 255, 0
0 | list                     | 1  firmware 1.1.1  driver 1.0.4  {A}
0 | show                     | interface 1  firmware 1.1.1  driver 1.0.4  {A}
0 | show                     | headset-34      #5            3    5  Set attenuation for headset channel 3/4 (10dBu @ 0dB FS: >=8Ohm phones output impedance)
0 | show --interface 1       | hi-z            off           9    9  Switch input 2 to Hi-Z instrument input (“guitar input”)
0 | show --interface {A}   | gain-2-hi-z     42.5          7   19  Set Hi-Z (guitar) input level channel 2 (10dBu 2-4MOhm input impedance)
2 |                          | veltrano-ctl: no command: list, show or set
2 | frob                     | veltrano-ctl: unknown command "frob": list, show or set
2 | show --bogus             | veltrano-ctl: unknown option --bogus
2 | list --interface 1       | veltrano-ctl: list shows every interface; it takes no --interface
2 | --json set phantom-1=on  | veltrano-ctl: --json goes with list and show
2 | set                      | veltrano-ctl: set needs at least one NAME=VALUE
2 | set phantom-1=on nosuch=1 | veltrano-ctl: no control is named "nosuch"; the names are: output-12, headset-12, headset-34, gain-1, gain-2, gain-34, gain-2-hi-z, monitoring, hi-z, phantom-1, phantom-2, headset-source
2 | set phantom-1=on output-12=+7 | veltrano-ctl: output-12: "+7" is not one of its values: 0 dB, -0.5, -1,
2 | set phantom-1=on output-12=#41 | -67.5, -121.5, mute; or as a byte: 40 to 1
2 | set phantom-1=on phantom-1=off | veltrano-ctl: phantom-1 is given more than once
2 | set phantom-1=on gain-1= | veltrano-ctl: gain-1= gives no value; gain-1 takes: 50.5, 48, 45,
2 | set phantom-1=on monitoring | veltrano-ctl: "monitoring" is not NAME=VALUE
2 | set gain-2-hi-z=42.5     | veltrano-ctl: gain-2-hi-z: "42.5" names more than one step of its menu; give the byte: #19 or #18
2 | set --interface 2 phantom-1=on | veltrano-ctl: no interface 2; connected:
2 | set --interface 2 phantom-1=on |   1  {A}
2 | set --interface /nowhere phantom-1=on | veltrano-ctl: no interface /nowhere; connected:
0 | set phantom-1=on output-12=-3 gain-1=5 headset-source=1/2 | phantom-1: off -> on | 7 34 34 5 3 1 1 19 0 9 255 0 255 9 8 6
0 | set phantom-1=on output-12=-3 gain-1=5 headset-source=1/2 | headset-source: 1/2 -> 1/2 | 7 34 34 5 3 1 1 19 0 9 255 0 255 9 8 6
0 | set gain-1=#5 "output-12=0 DB" headset-34=mute | headset-34: #5 -> mute | 7 40 34 1 5 1 1 19 0 9 255 0 255 9 8 6
0 | show                     | gain-1          10.5          4    5
0 | set --interface 1 phantom-1=OFF hi-z=255 | hi-z: off -> on | 7 40 34 1 5 1 1 19 0 255 0 0 255 9 8 6
'
check_json --json show -- '.interface == {"index": 1, "path": "'"${path[a]//\\/\\\\}"'", "firmware": "1.1.1", "driver": "1.0.4"}'
check_json --json show -- '[.controls[] | .name] == ["output-12", "headset-12", "headset-34", "gain-1", "gain-2", "gain-34", "gain-2-hi-z", "monitoring", "hi-z", "phantom-1", "phantom-2", "headset-source"]'
check_json --json show -- '.controls[8] == {"name": "hi-z", "value": "on", "byte": 9, "raw": 255, "tooltip": "Switch input 2 to Hi-Z instrument input (“guitar input”)"}'
if [ "$platform" = windows ]; then
  # On a console (wine makes one of a terminal) the text goes as UTF-16: the quotes arrive whole.
  on_console() {
    local shown
    shown=$(LANG=C.UTF-8 timeout 60 script -qec "stty cols 300; wine '$build/ctl/veltrano-ctl.exe' show" /dev/null)
    grep -qF "$1" <<<"$shown"
  }
  check "show on a console: the Hi-Z tooltip with its typographic quotes" on_console "(“guitar input”)"
fi
check_json --json list -- '. == [{"index": 1, "path": "'"${path[a]//\\/\\\\}"'", "firmware": "1.1.1", "driver": "1.0.4"}]'

# --- Two interfaces, one of old firmware ------------------------------------------------------
plug_in b --firmware 1.1.0 --driver 2.3.4 || exit 1
run_cases a '
0 | list                     | 2  firmware 1.1.0  driver 2.3.4  {B}
2 | show                     | veltrano-ctl: several interfaces are connected; choose one with --interface N or PATH:
2 | set hi-z=off             |   2  {B}
0 | show --interface 2       | no controls: firmware older than 1.1.1 has no parameter block; update the firmware to use them
2 | set --interface {B} hi-z=off | veltrano-ctl: {B} has firmware 1.1.0, which has no controls to set; update the firmware
0 | set --interface {A} hi-z=off | hi-z: on -> off | 7 40 34 1 5 1 1 19 0 0 0 0 255 9 8 6
'
check_json --json show --interface 2 -- '.controls == [] and (.reason | startswith("no controls"))'
pull_out b

# --- Device errors: the system's text, exit 1, and the block as the interface had it ---------
# Opening asks three requests (driver, firmware, block); set's read is the fourth.
hold || exit 1
run_cases a "
1 | show                     | $busy
1 | set hi-z=on              | $busy
"
let_go
run_cases a '
0 | set hi-z=on              | hi-z: off -> on | 7 40 34 1 5 1 1 19 0 255 0 0 255 9 8 6
'
pull_out a

plug_in a --fail-after 4 --block 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 || exit 1
run_cases a "
1 | set phantom-1=on         | $failed
"
pull_out a
plug_in a --vanish-after 4 || exit 1
run_cases - "
1 | set phantom-1=on         | $gone
"
if [ "$platform" = linux ]; then
  # The codes are the port's: errno values.
  plug_in b --delay-ms 2500 || exit 1
  run_cases - '
1 | show                     | veltrano-ctl: Connection timed out (110)
'
  pull_out b
  chmod 777 "$bus"
  run_cases - '
1 | list                     | veltrano-ctl: Permission denied (13)
'
  chmod 700 "$bus"
fi
passed

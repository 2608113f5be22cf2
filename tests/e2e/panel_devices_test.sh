#!/usr/bin/env bash
# End-to-end test of the panel with interfaces: the real program on a private X display and
# real veltrano-virtual processes plugged and pulled while it runs. Clicks and keys go in
# through xdotool; what the interface received is read from its state file. Screenshots of
# the easy, expert and disabled pages in English and German go to OUT.
# Usage: panel_devices_test.sh PROGRAM VIRTUAL OUT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
virtual=$(realpath "$2")
out=$(mkdir -p "$3" && realpath "$3")

source "$here/x11_session.sh"
isolate_var_tmp "$0" "$@"

private_home
# A bus path of fixed length gives tab titles, and so tab widths, of fixed length.
bus=$(mktemp -d /tmp/kv.XXXXXX)
chmod 700 "$bus"
export KELTO_VIRTUAL_BUS=$bus
images=$(find "$(dirname "$(dirname "$program")")" -path '*skin/images' -type d | head -1)

declare -A interface_pid=()
cleanup() {
  [ -n "$panel" ] && kill "$panel" 2>/dev/null
  for pid in "${interface_pid[@]}"; do kill "$pid" 2>/dev/null; done
  stop_private_display
  rm -rf "$scratch" "$bus"
}
trap cleanup EXIT
start_private_display || exit 1

# plug NAME [OPTIONS...]: one virtual interface, its state in $scratch/NAME.state.
plug() {
  local n=$1; shift
  "$virtual" --name "$n" --state-file "$scratch/$n.state" "$@" >"$scratch/$n.log" 2>&1 &
  interface_pid[$n]=$!
  eventually 10 test -S "$bus/$n" || { echo "interface $n did not plug in"; cat "$scratch/$n.log"; return 1; }
}
# pull NAME [SIGNAL]: the interface leaves (SIGTERM unplugs it cleanly; SIGKILL is a yank).
pull() {
  kill -"${2:-TERM}" "${interface_pid[$1]}" 2>/dev/null
  wait "${interface_pid[$1]}" 2>/dev/null
  unset "interface_pid[$1]"
}
byte() { awk -v i="$2" '$1 == "block" { print $(i + 2) }' "$scratch/$1.state"; }
byte_is() { [ "$(byte "$1" "$2")" = "$3" ]; }
# wait_byte NAME INDEX VALUE: true once the interface holds VALUE there (3 s at most).
wait_byte() { eventually 3 byte_is "$@"; }

size() { window_geometry "$window" | cut -d+ -f1; }
size_is() { [ "$(size)" = "$1" ]; }
wait_size() { eventually 3 size_is "$1"; }   # wait_size WxH: the window takes that size within 3 s
away() { xdotool mousemove 1200 1000; sleep 0.15; }
snap() { away; import -window "$window" "$1"; }
shot() { snap "$out/$1.png"; }
# page_click X Y: a click at page coordinates (under the 19-pixel title and 30-pixel tab bar).
page_click() { xdotool mousemove --window "$window" "$1" $(( $2 + 49 )) click 1; }
# tab_centres: x of the middle of each tab's label, read off the tab bar.
tab_centres() {
  snap "$scratch/tabs.png"
  convert "$scratch/tabs.png" -crop "x18+0+25" +repage -colorspace Gray -threshold 40% -scale "x1!" -threshold 1% txt:- |
    awk -F'[,:]' 'BEGIN { start = -1 }
      NR > 1 && ($0 ~ /#FFFFFF|white/) { x = $1; if (start < 0 || x - last > 12) { if (start >= 0) print int((start + last) / 2); start = x } last = x }
      END { if (start >= 0) print int((start + last) / 2) }'
}
tab_count() { tab_centres | wc -l; }
tabs_are() { [ "$(tab_count)" = "$1" ]; }
wait_tabs() { eventually 5 tabs_are "$1"; }   # wait_tabs N: N tabs within 5 s
select_tab() { xdotool mousemove --window "$window" "$(tab_centres | sed -n "$1p")" 34 click 1; sleep 0.2; }
# region X Y W H: a picture of part of the page, as its checksum.
region() { snap "$scratch/r.png"; convert "$scratch/r.png" -crop "$3x$4+$1+$(( $2 + 49 ))" +repage rgb:- | md5sum; }
page_picture() { snap "$scratch/p.png"; convert "$scratch/p.png" -crop "+0+49" +repage rgb:- | md5sum; }
# shows IMAGE: the shown page, below the tab bar, is that picture on the window's background.
shows() {
  snap "$scratch/s.png"
  local w h
  w=$(identify -format %w "$images/$1"); h=$(identify -format %h "$images/$1")
  # Rows 1 to 8 of the page: above every control of every page.
  convert "$scratch/s.png" -crop "${w}x8+0+50" +repage "$scratch/page.png"
  convert "$images/$1" -background "#3A3E43" -flatten -crop "${w}x8+0+1" +repage "$scratch/picture.png"
  [ "$(differing_pixels "$scratch/page.png" "$scratch/picture.png")" -le 50 ]
}

# Controls of the easy and expert layouts: page position of the middle of each (from the skin).
declare -A easy_switch=( [8]="422 124" [9]="157 125" [10]="38 125" [11]="98 125" [12]="284 123" )
to_expert="422 26"; to_easy="586 27"; out12="389 176"

# panel_goes_on: a click on tab 0 still reaches the first interface.
panel_goes_on() {
  local before
  before=$(byte a 9)
  page_click ${easy_switch[9]}
  check "the panel goes on: a click reaches the first interface" wait_byte a 9 $(( before == 255 ? 0 : 255 ))
}

# --- Two interfaces at start -----------------------------------------------------------------
plug a || exit 1
plug b || exit 1
start_panel || exit 1
check "window is 475 x 231 on the easy page: 475 x 212 under the 19-pixel title ($(size))" test "$(size)" = 475x231
check "two device tabs and About" test "$(tab_count)" = 3
check "the easy page is shown" shows easy.png
shot easy-en

for id in 10 8 9 11 12; do
  read -r x y <<<"${easy_switch[$id]}"
  before=$(region $((x - 15)) $((y - 12)) 30 24)
  page_click "$x" "$y"
  check "switch $id of the first interface writes 255 into byte $id" wait_byte a "$id" 255
  check "switch $id shows its new picture" test "$(region $((x - 15)) $((y - 12)) 30 24)" != "$before"
done
check "the second interface was not touched" test "$(byte b 10)" = 0

select_tab 2
page_click ${easy_switch[10]}
check "the second tab is the second interface" wait_byte b 10 255
select_tab 3
check "the third tab is About" shows about.png
select_tab 1

# --- Layouts and a gain menu -----------------------------------------------------------------
page_click $to_expert
check "the mode button makes the window 634 x 550 plus the title" wait_size 634x569
check "the expert page is shown" shows expert.png
shot expert-en
page_click $out12
sleep 0.4
away
# The header is not an item: "0 dB" is the first, "-3" the seventh.
xdotool key Down Down Down Down Down Down Down Return
check "\"-3\" chosen with the keyboard writes 34 into byte 1" wait_byte a 1 34
page_click $to_easy
check "and back to 475 x 212 plus the title" wait_size 475x231

# --- Plug and pull while the panel runs ------------------------------------------------------
page_before=$(page_picture)
plug c || exit 1
check "an interface plugged in gets a tab" wait_tabs 4
check "the shown page stays" test "$(page_picture)" = "$page_before"
page_click ${easy_switch[11]}
check "... and it is still the first interface's" wait_byte a 11 0

select_tab 2
pull b
check "pulling the shown interface removes its tab" wait_tabs 3
page_click ${easy_switch[10]}
check "and shows tab 0" wait_byte a 10 0

# --- An interface pulled in the middle of a click --------------------------------------------
for how in KILL TERM; do
  plug slow --delay-ms 600 || exit 1
  wait_tabs 4 || echo "slow interface: no tab"
  select_tab 3
  page_click ${easy_switch[10]} &
  clicker=$!
  sleep 0.3
  pull slow "$how"
  wait "$clicker"
  box=$(wait_for_window "$name Exception" 5)
  check "SIG$how during a click shows the error box" test -n "$box"
  if [ "$how" = KILL ] && [ -n "$box" ]; then sleep 0.4; import -window "$box" "$out/error-box-en.png"; fi
  check "the panel still runs while the box is up" kill -0 "$panel"
  [ -n "$box" ] && xdotool key --window "$box" Return
  sleep 0.3
  check "the box goes with Return" test -z "$(visible_windows "$name Exception")"
  check "the pulled interface's tab is gone" wait_tabs 3
  panel_goes_on
done

# --- An interface pulled while its gain menu is open ----------------------------------------
plug menu || exit 1
wait_tabs 4 || echo "menu interface: no tab"
select_tab 3
page_click $to_expert
wait_size 634x569 || echo "menu interface: no expert page"
page_click $out12
sleep 0.4
pull menu
sleep 0.5
check "the panel still runs with the menu of a pulled interface open" kill -0 "$panel"
xdotool key Down Down Return   # a choice, whose page and interface are gone
check "then tab 0 shows, at the easy page's size" wait_size 475x231
check "the pulled interface's tab is gone" wait_tabs 3
panel_goes_on

# --- Firmware older than 1.1.1 ---------------------------------------------------------------
plug old --firmware 1.1.0 || exit 1
wait_tabs 4 || echo "old interface: no tab"
select_tab 3
check "firmware 1.1.0 shows the disabled page ($(size))" wait_size 474x231
check "... with the disabled picture alone" shows disabled.png
shot gated-en
before=$(cat "$scratch/old.state")
page_click ${easy_switch[10]}
sleep 0.3
check "... and no control" test "$(cat "$scratch/old.state")" = "$before"

close_panel
check "the close button ends the panel (exit code $code)" test "$code" = 0

# --- German ----------------------------------------------------------------------------------
pull c
start_panel lang ger || exit 1
check "German: two device tabs and About" test "$(tab_count)" = 3
shot easy-de
page_click $to_expert
wait_size 634x569 && shot expert-de
page_click $to_easy
wait_size 475x231
select_tab 2
wait_size 474x231 && shot gated-de
close_panel

for shot in easy-en expert-en gated-en easy-de expert-de gated-de; do
  check "screenshot $shot kept" test -s "$out/$shot.png"
done
echo "screenshots in $out"
[ "$failures" -eq 0 ] && echo "all passed" || echo "$failures failed"
[ "$failures" -eq 0 ]

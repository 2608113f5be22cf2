#!/usr/bin/env bash
# End-to-end test of the panel with interfaces: the real program on a private X display and
# real veltrano-virtual processes plugged and pulled while it runs. Clicks and keys go in
# through xdotool; what the interface received is read from its state file. Screenshots of
# the easy and expert pages in English and German go to OUT.
# Usage: panel_devices_test.sh PROGRAM VIRTUAL OUT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
virtual=$(realpath "$2")
out=$(mkdir -p "$3" && realpath "$3")

source "$here/x11_session.sh"
source "$here/panel_page.sh"
start_session "$0" "$@"

to_expert="422 26"; to_easy="586 27"; out12="389 176"

# --- Two interfaces at start -----------------------------------------------------------------
plug a || exit 1
plug b || exit 1
start_panel || exit 1
check "window is 475 x 231 on the easy page: 475 x 212 under the 19-pixel title ($(size))" test "$(size)" = 475x231
check "two device tabs and About" test "$(tab_count)" = 3
check "the easy page is shown" shows easy.png
shot easy-en

# --- Keyboard only ---------------------------------------------------------------------------
# Reading order, easy page: update, mode, phantom power 1 and 2, Hi-Z, headset, monitoring;
# expert page: update, mode, phantom power 1, gain 1, phantom power 2, gain 2, Hi-Z, output.
keys() { xdotool key --delay 40 "$@"; }
# ring_around X Y W H: pixels of the focus ring's light skin colour around that part of the page.
ring_around() { snap "$scratch/r.png"; convert "$scratch/r.png" -crop "$3x$4+$1+$(( $2 + 49 ))" +repage txt:- | grep -ci '#E5F6FB'; }
xdotool windowfocus --sync "$window"
keys Tab Tab Tab space
check "Tab to phantom power 1 and Space write 255 into byte 10" wait_byte a 10 255
check "a ring in the skin's colour shows where the focus is" test "$(ring_around 13 103 51 45)" -gt 40
shot focus-ring-en
page_click ${easy_switch[9]}
check "a mouse click on Hi-Z writes 255 into byte 9" wait_byte a 9 255
check "and takes the ring off, putting none on Hi-Z" test "$(ring_around 13 103 170 45)" -lt 30   # the picture has 10
keys shift+Tab shift+Tab shift+Tab Return   # from Hi-Z, where the click put the focus
check "Return on the mode button shows the expert page" wait_size 634x569
keys Return
check "the focus stays on the mode button of the new page" wait_size 475x231
keys Return
wait_size 634x569
keys Tab Tab Tab Tab Tab Tab Return
wait_for_window menu 3 >/dev/null   # JUCE names its popup menu window "menu"
# The header is not an item: "0 dB" is the first, "-3" the seventh.
keys Down Down Down Down Down Down Down Return
check "the output gain menu, opened with Return, writes 34 into byte 1 for \"-3\"" wait_byte a 1 34
keys ctrl+Tab ctrl+Tab
check "Ctrl+Tab twice reaches About" shows about.png
check "which fits the window to its picture" wait_size 475x231
keys ctrl+Next
check "and Ctrl+PageDown goes round to the first tab" shows expert.png
keys ctrl+shift+Tab
check "Ctrl+Shift+Tab goes back round to About" shows about.png
keys ctrl+Prior ctrl+Prior
check "Ctrl+PageUp twice goes back to the first tab" shows expert.png
keys Tab Return   # the focus came with the tab to its first control, the update button
check "whose mode button is next" wait_size 475x231

page_click ${easy_switch[12]}
check "a click on the headset switch writes 255 into byte 12" wait_byte a 12 255
check "the second interface was not touched" test "$(byte b 10)" = 0

select_tab 2
page_click ${easy_switch[10]}
check "the second tab is the second interface" wait_byte b 10 255
select_tab 1

# --- Layouts with the mouse ------------------------------------------------------------------
page_click $to_expert
check "the mode button makes the window 634 x 550 plus the title" wait_size 634x569
check "the expert page is shown" shows expert.png
shot expert-en
page_click $to_easy
check "and back to 475 x 212 plus the title" wait_size 475x231

# --- An interface pulled in the middle of a click --------------------------------------------
page_before=$(page_picture)
plug slow --delay-ms 600 || exit 1
check "an interface plugged in gets a tab" wait_tabs 4
check "the shown page stays" test "$(page_picture)" = "$page_before"
select_tab 3
page_click ${easy_switch[10]} &
clicker=$!
sleep 0.3   # within the 600 ms the interface takes to answer the click's read
pull slow KILL
wait "$clicker"
box=$(wait_for_window "$panel_title Exception" 5)
check "an interface yanked during a click shows the error box" test -n "$box"
check "the panel still runs while the box is up" kill -0 "$panel"
if [ -n "$box" ]; then
  wait_painted "$box" && import -window "$box" "$out/error-box-en.png"
  xdotool key --window "$box" Return
fi
box_gone() { [ -z "$(visible_windows "$panel_title Exception")" ]; }
check "the box goes with Return" eventually 10 box_gone
check "the pulled interface's tab is gone" wait_tabs 3
page_click ${easy_switch[9]}   # Hi-Z, 255 since the mouse clicked it
check "the panel goes on: a click reaches the first interface" wait_byte a 9 0

close_panel
check "the close button ends the panel (exit code $code)" test "$code" = 0

# --- German, for the README ----------------------------------------------------------------
start_panel lang ger || exit 1
shot easy-de
page_click $to_expert
wait_size 634x569 && shot expert-de
close_panel

echo "screenshots in $out"
passed

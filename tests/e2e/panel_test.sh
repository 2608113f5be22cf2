#!/usr/bin/env bash
# End-to-end test of the real panel on a private X display: the window and its sizes, the
# About tab, the German translation, one instance only, the close button, a start-up failure.
# Screenshots go to OUT (build/e2e). Usage: panel_test.sh PROGRAM OUT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
out=$(mkdir -p "$2" && realpath "$2")

source "$here/x11_session.sh"
start_session "$0" "$@"   # an empty bus: no interface is plugged in
# The download button opens the default browser through xdg-open: a stand-in records the
# address instead.
mkdir -p "$scratch/bin"
printf '#!/bin/sh\necho "$@" >>"%s"\n' "$scratch/browser.log" >"$scratch/bin/xdg-open"
chmod +x "$scratch/bin/xdg-open"
export PATH=$scratch/bin:$PATH

shot() { import -window "$window" "$out/$1.png"; }

# English, no device: the window, its sizes and the About page.
start_panel || exit 1
geometry=$(window_geometry "$window")
check "window is 475 x 231: 475 x 212 of content under a 19-pixel title bar ($geometry)" \
  test "${geometry%%+*}" = "475x231"
check "exactly one window" test "$(visible_windows "$panel_title" | wc -l)" -eq 1
shot about-en
# A second start hands over and opens nothing.
"$program" lang ger >"$scratch/second.log" 2>&1 &
second=$!
second_code=0
wait_for_exit "$second" 10 || second_code=$?
[ "$second_code" != 124 ] || { kill "$second"; second_code=timeout; }
check "second start ends by itself with code 0 ($second_code)" test "$second_code" = 0
check "still exactly one window" test "$(visible_windows "$panel_title" | wc -l)" -eq 1

# The download button (89 x 23 at 194,12 on the page, which starts under title and tab bar).
xdotool mousemove --window "$window" $((194 + 44)) $((49 + 12 + 11)) click 1
eventually 15 test -s "$scratch/browser.log"
check "download button opens the downloads page ($(cat "$scratch/browser.log" 2>/dev/null))" \
  grep -q '^https\?://[^ ]*/veltrano/en_downloads\.php$' "$scratch/browser.log"
xdotool mousemove 1000 1000

close_panel
check "close button ends the panel with exit code 0 ($code)" test "$code" = 0

# German: lang ger differs from English in the tab bar alone.
start_panel lang ger || exit 1
shot about-ger
close_panel
# Compare below the title bar: its close button's look follows the pointer and window focus.
for picture in about-en about-ger; do
  convert "$out/$picture.png" -crop 475x212+0+19 +repage "$scratch/$picture-body.png"
  convert "$out/$picture.png" -crop 475x182+0+49 +repage "$scratch/$picture-page.png"
done
check "lang ger differs from English" \
  test "$(differing_pixels "$scratch/about-ger-body.png" "$scratch/about-en-body.png")" -gt 0
check "below the tab bar English and German are alike" \
  test "$(differing_pixels "$scratch/about-en-page.png" "$scratch/about-ger-page.png")" -eq 0

# Chinese, for the README.
start_panel lang chn || exit 1
shot about-chn
close_panel

# A failure during start-up: a bus folder that others may write is refused by the device
# layer. The warning box names the failure; answering it ends the program, no window left.
refused=$scratch/refused-bus
mkdir -p "$refused" && chmod 0777 "$refused"
KELTO_VIRTUAL_BUS=$refused "$program" >"$scratch/refused.log" 2>&1 &
panel=$!
if window=$(wait_for_window "$panel_title Exception" 20); then
  wait_painted "$window"
  shot startup-failure
  check "no main window behind the warning box" test -z "$(visible_windows "$panel_title")"
  xdotool key --window "$window" Return
  code=0
  wait_for_exit "$panel" 10 || code=$?
  [ "$code" != 124 ] || { kill "$panel"; code=timeout; }
  panel=
  check "answering the warning box ends the program with code 0 ($code)" test "$code" = 0
else
  check "a start-up failure shows the warning box titled \"$panel_title Exception\"" false
fi

echo "screenshots in $out"
passed

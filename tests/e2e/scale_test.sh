#!/usr/bin/env bash
# The Linux panel on a desktop drawn at scale 2: the window is twice its logical size, its
# pictures come from their 2x renders, and clicks still reach their controls. JUCE takes the
# scale from XSettings only under a window manager, so openbox and xsettingsd run on the
# private display. A screenshot of the easy page at scale 2 goes to OUT.
# Usage: scale_test.sh PROGRAM VIRTUAL IMAGES OUT   (IMAGES: the build's rendered pictures)
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1") virtual=$(realpath "$2") images=$(realpath "$3")
out=$(mkdir -p "$4" && realpath "$4")

source "$here/x11_session.sh"
start_session "$0" "$@"

echo "Gdk/WindowScalingFactor 2" >"$scratch/xsettings"
xsettingsd -c "$scratch/xsettings" >"$scratch/xsettingsd.log" 2>&1 & session_pid[xsettingsd]=$!
openbox --sm-disable >"$scratch/openbox.log" 2>&1 & session_pid[openbox]=$!
work_area() { xprop -root _NET_WORKAREA | grep -q =; }
eventually 10 grep -q "Took ownership" "$scratch/xsettingsd.log" && eventually 10 work_area \
  || { echo "the desktop at scale 2 did not start"; exit 1; }
plug a || exit 1

start_panel || exit 1
# matches PICTURE X Y W H PX PY: the window's pixels in W x H at X, Y against PICTURE placed at
# PX, PY on the window's background: at most 1 % of them differ by more than the rounding of
# blending a picture with alpha.
matches() {
  convert "$scratch/shot.png" -crop "$4x$5+$2+$3" +repage "$scratch/seen.png"
  convert "$1" -background "#3A3E43" -flatten -crop "$4x$5+$(($2 - $6))+$(($3 - $7))" +repage "$scratch/expected.png"
  [ "$(compare -metric AE -fuzz 2% "$scratch/seen.png" "$scratch/expected.png" null: 2>&1 | awk '{print int($1)}')" \
    -le $(( $4 * $5 / 100 )) ]
}
# on_page SWITCH: the easy page's 2x render with SWITCH's 2x render on it at page (19, 109).
on_page() { convert "$images/easy@2x.png" "$images/$1@2x.png" -geometry +38+218 -composite "$scratch/$1.png"; }
on_page phantom_power_off

check "the easy page's window is 950 x 462 device pixels, twice 475 x 231" size_is 950x462
snap "$scratch/shot.png"
cp "$scratch/shot.png" "$out/easy-2x.png"
# The page starts under 2 x 49 pixels of title and tabs; its lettering, in 2 x (190, 12, 200, 30)
# on the page, lies above every control.
check "the page picture comes from its 2x render" matches "$images/easy@2x.png" 380 122 400 60 0 98
check "switch 10 comes from its 2x render" matches "$scratch/phantom_power_off.png" 38 316 78 66 0 98

# Switch 10 in the middle of page (19, 109, 39 x 33), the mode button at page (397, 15): twice that.
xdotool mousemove --window "$window" 76 348 click 1
check "a click on switch 10 at scale 2 writes 255 into byte 10" wait_byte a 10 255
xdotool mousemove --window "$window" 844 150 click 1
check "the mode button makes the window 1268 x 1138, twice 634 x 569" eventually 10 size_is 1268x1138

close_panel
check "the close button ends the panel at scale 2 (exit code $code)" test "$code" = 0
passed

#!/usr/bin/env bash
# End-to-end test of the panel with an interface on USB beside a virtual one: the real
# program, unmodified, as the child of a harness that emulates the USB interface with
# umockdev (the real libusb and libudev in the panel, the device model answering). What
# the interfaces received is read from the harness's state file and the virtual one's.
# A screenshot goes to OUT.
# Usage: usb_panel_test.sh PROGRAM HARNESS VIRTUAL OUT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
harness=$(realpath "$2")
virtual=$(realpath "$3")
out=$(mkdir -p "$4" && realpath "$4")

source "$here/x11_session.sh"
source "$here/panel_page.sh"
start_session "$0" "$@"

commands=$scratch/usb.commands
mkfifo "$commands"
panel_launcher=(umockdev-wrapper "$harness" "$scratch/usb.state" "$commands")
usb() { echo "$1" >"$commands"; }
to_expert="422 26" out12="389 176"

plug v || exit 1
start_panel || exit 1
check "the interface on USB has the first tab, the virtual one the next, then About" test "$(tab_count)" = 3
check "the USB interface's easy page is shown" shows easy.png
shot usb-easy-en
page_click ${easy_switch[10]}
check "a click on phantom power 1 writes 255 into byte 10 through libusb" wait_byte usb 10 255
check "the other bytes went back as the interface had them" test "$(byte usb 1)" = 40
check "the virtual interface was not touched" test "$(byte v 10)" = 0

# --- Pulled in the middle of a click ---------------------------------------------------------
usb hold
page_click ${easy_switch[11]} &
clicker=$!
sleep 0.3   # the interface does not answer the click's read
usb pull
wait "$clicker"
box=$(wait_for_window "$panel_title Exception" 5)
check "an interface pulled during a click shows the error box" test -n "$box"
[ -n "$box" ] && xdotool key --window "$box" Return
check "the pulled interface's tab goes" wait_tabs 2
check "nothing reached the virtual interface" test "$(byte v 11)" = 0

# --- Plugged again, then pulled while a gain menu is open -------------------------------------
usb plug
check "plugged in again, a tab comes back, before About" wait_tabs 3
select_tab 2
page_click ${easy_switch[11]}
check "and a click reaches it: phantom power 2 writes 255 into byte 11" wait_byte usb 11 255
page_click $to_expert
wait_size 634x569
page_click $out12
check "a gain menu opens" eventually 5 test -n "$(visible_windows menu)"
usb pull
check "pulled with its menu open, its tab goes" wait_tabs 2
xdotool key --delay 40 Down Down Return   # a step chosen in the menu left open
check "a step chosen then closes the menu" eventually 5 test -z "$(visible_windows menu)"
check "and writes nothing: the virtual interface's output gain is as it was" test "$(byte v 1)" = 40
select_tab 1
page_click ${easy_switch[10]}
check "the panel goes on: a click reaches the virtual interface" wait_byte v 10 255

close_panel
check "the close button ends the panel (exit code $code)" test "$code" = 0

# --- The command-line tool sees the interface on USB too -------------------------------------
ctl=$(dirname "$(dirname "$program")")/ctl/veltrano-ctl
said=$(umockdev-wrapper "$harness" "$scratch/usb.state" "$commands" "$ctl" set --interface /dev/bus/usb/001/002 phantom-1=on)
check "veltrano-ctl sets phantom power 1 on the interface on USB ($said)" test "$said" = "phantom-1: off -> on"
check "which writes 255 into byte 10" test "$(byte usb 10)" = 255
passed

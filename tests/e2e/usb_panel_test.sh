#!/usr/bin/env bash
# End-to-end test of the panel with an interface on USB: the real program, unmodified, as
# the child of a harness that emulates the interface with umockdev (the real libusb and
# libudev in the panel, the device model answering). What the interface received is read
# from the harness's state file. A screenshot goes to OUT.
# Usage: usb_panel_test.sh PROGRAM HARNESS OUT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
harness=$(realpath "$2")
out=$(mkdir -p "$3" && realpath "$3")

source "$here/x11_session.sh"
source "$here/panel_page.sh"
start_session "$0" "$@"

commands=$scratch/usb.commands
mkfifo "$commands"
panel_launcher=(umockdev-wrapper "$harness" "$scratch/usb.state" "$commands")
usb() { echo "$1" >"$commands"; }

start_panel || exit 1
check "the interface on USB has a tab, beside About" test "$(tab_count)" = 2
check "its easy page is shown" shows easy.png
shot usb-easy-en
page_click ${easy_switch[10]}
check "a click on phantom power 1 writes 255 into byte 10 through libusb" wait_byte usb 10 255
check "the other bytes went back as the interface had them" test "$(byte usb 1)" = 40

usb pull
check "the interface pulled, its tab goes" wait_tabs 1
check "and About is shown" shows about.png
usb plug
check "plugged in again, its tab comes back" wait_tabs 2
select_tab 1
page_click ${easy_switch[11]}
check "and a click reaches it: phantom power 2 writes 255 into byte 11" wait_byte usb 11 255

close_panel
check "the close button ends the panel (exit code $code)" test "$code" = 0
passed

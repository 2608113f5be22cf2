#!/usr/bin/env bash
# End-to-end test of the panel as a screen reader meets it on Linux: a private session bus
# (dbus-run-session), where the accessibility bus starts on demand, the real panel on a
# private X display with virtual interfaces, and a libatspi client that reads its tree, acts
# and listens. Without the bridge (NO_AT_BRIDGE=1, or no session bus) the panel is not there
# and says nothing.
# Usage: screen_reader_test.sh PROGRAM VIRTUAL CLIENT
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
program=$(realpath "$1")
virtual=$(realpath "$2")
client=$(realpath "$3")

# The accessibility bus's socket goes into the runtime folder the session bus starts with:
# a private one, or tests running side by side take each other's.
if [ -z "${SCREEN_READER_TEST_BUS:-}" ]; then
  runtime=$(mktemp -d) && chmod 700 "$runtime"
  XDG_RUNTIME_DIR=$runtime SCREEN_READER_TEST_BUS=1 dbus-run-session -- "$0" "$@" \
    2> >(grep -v -e 'Failed to set fd limit' -e 'ctivat' -e 'SpiRegistry daemon' >&2)
  status=$?
  rm -rf "$runtime"
  exit $status
fi
source "$here/x11_session.sh"
start_session "$0" "$@"

plug a --block 0 34 0 0 0 0 0 0 0 0 0 0 0 0 0 0 || exit 1
plug old --firmware 1.1.0 || exit 1
said_nothing() { [ ! -s "$scratch/panel.log" ]; }

start_panel || exit 1
"$client" check en "$virtual" "$scratch"
check "the client's expectations in English" test $? = 0
check "the panel said nothing" said_nothing
close_panel
check "and closes normally with the bridge running" test "$code" = 0

start_panel lang ger || exit 1
"$client" check de "$virtual" "$scratch"
check "the client's expectations in German" test $? = 0
close_panel

NO_AT_BRIDGE=1 start_panel || exit 1
check "with NO_AT_BRIDGE=1 the panel is not on the accessibility bus" "$client" absent
check "and says nothing" said_nothing
close_panel

session_bus=$DBUS_SESSION_BUS_ADDRESS
unset DBUS_SESSION_BUS_ADDRESS
start_panel || exit 1
export DBUS_SESSION_BUS_ADDRESS=$session_bus
check "with no session bus the panel is not on the accessibility bus" "$client" absent
check "and says nothing" said_nothing
close_panel
check "and closes normally" test "$code" = 0

passed

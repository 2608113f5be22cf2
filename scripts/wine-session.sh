# Sourced by the Windows test stages and benchmarks: the test wine prefix, a
# private Xvfb on demand (scripts/x11-display.sh), and the clean-up of what they
# started when the shell exits. Processes are ended by their own ids, never by name.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
source "$(dirname "${BASH_SOURCE[0]}")/x11-display.sh"

export WINEPREFIX=$wine_prefix WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml="
"$repo/scripts/wine-prefix" "$WINEPREFIX"

windows_exe=$windows_build/app/KeltoVeltrano.exe
session_dir=$(mktemp -d)
end_wine_session() {
  # The prefix's wineserver leaves by itself a few seconds after its last client.
  timeout 20 wineserver -w 2>/dev/null || true
  stop_private_display
  rm -rf "$session_dir"
}
trap end_wine_session EXIT

#!/bin/sh
# Runs a command on a throwaway X11 desktop: a fresh Xvfb display (1280x800x24) with openbox as the
# window manager, inside its own D-Bus session with a fresh unlocked GNOME keyring (with-keyring.sh), and
# with a fresh home and XDG directories. Everything it started is stopped when the command ends, and the
# command's exit status is passed through.
#
# Usage: with-desktop.sh <command> [args...]
# Environment:
#   VESK_DESKTOP_TRAY=1     also run trayer, an XEmbed system tray (a bare display has none)
#   VESK_DESKTOP_SCREEN     the screen geometry, 1280x800x24 unless set
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for tool in Xvfb openbox xprop; do
    if ! command -v "$tool" >/dev/null; then
        echo "with-desktop.sh: $tool is needed (packages xvfb, openbox, x11-utils)" >&2
        exit 1
    fi
done
if [ "${VESK_DESKTOP_TRAY:-0}" = 1 ] && ! command -v trayer >/dev/null; then
    echo "with-desktop.sh: VESK_DESKTOP_TRAY=1 needs trayer (package trayer)" >&2
    exit 1
fi

root=$(mktemp -d "${TMPDIR:-/tmp}/vesk-desktop.XXXXXX")
chmod 700 "$root"
xvfb=
wm=
tray=
cleanup()
{
    for pid in $tray $wm $xvfb; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in $tray $wm $xvfb; do
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Polls `test` every 50 ms for up to `tries` times; fails with `what` when it never holds.
wait_for()
{
    what=$1 tries=$2
    shift 2
    while ! "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        if [ "$tries" -le 0 ]; then
            echo "with-desktop.sh: $what did not come up" >&2
            return 1
        fi
        sleep 0.05
    done
}

# -displayfd lets the server pick a free display and write its number once it accepts clients.
mkfifo "$root/displayfd"
Xvfb -displayfd 3 -screen 0 "${VESK_DESKTOP_SCREEN:-1280x800x24}" -nolisten tcp -noreset \
    3>"$root/displayfd" >"$root/xvfb.log" 2>&1 &
xvfb=$!
display=
if ! read -r display <"$root/displayfd" || [ -z "$display" ]; then
    echo "with-desktop.sh: Xvfb did not start:" >&2
    cat "$root/xvfb.log" >&2
    exit 1
fi
export DISPLAY=":$display"

mkdir -p "$root/config" "$root/cache" "$root/state" "$root/data"
export XDG_CONFIG_HOME="$root/config" XDG_CACHE_HOME="$root/cache" XDG_STATE_HOME="$root/state"
export XDG_SESSION_TYPE=x11 QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
# GTK programs under test: no accessibility bus to wait for, no dconf daemon to start.
export NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory
unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP SESSION_MANAGER 2>/dev/null || true

openbox --sm-disable >"$root/openbox.log" 2>&1 &
wm=$!
# The window manager is up once it has announced itself on the root window.
wait_for "openbox" 200 sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'

if [ "${VESK_DESKTOP_TRAY:-0}" = 1 ]; then
    trayer --edge top --align right --widthtype request --height 24 --SetDockType true \
        --transparent false >"$root/trayer.log" 2>&1 &
    tray=$!
    wait_for "trayer" 200 sh -c 'xprop -root _NET_CLIENT_LIST | grep -q "window id"'
fi

status=0
"$here/with-keyring.sh" "$@" || status=$?
exit "$status"

#!/bin/sh
# Runs a command on a throwaway X11 desktop: a fresh Xvfb display (1280x800x24 unless VESK_DESKTOP_SCREEN
# says otherwise) with openbox as the window manager and, with VESK_DESKTOP_TRAY=1, trayer as an XEmbed
# system tray, inside a fresh keyring session (with-keyring.sh) with fresh XDG directories. Everything it
# started is stopped when the command ends; the command's exit status is passed through.
#
# Usage: with-desktop.sh <command> [args...]
set -eu
. "$(dirname "$0")/desktop-lib.sh"
need "xvfb, openbox, x11-utils" Xvfb openbox xprop
[ "${VESK_DESKTOP_TRAY:-0}" != 1 ] || need trayer trayer
make_root desktop

# -displayfd lets the server pick a free display and write its number once it accepts clients.
mkfifo "$root/displayfd"
Xvfb -displayfd 3 -screen 0 "${VESK_DESKTOP_SCREEN:-1280x800x24}" -nolisten tcp -noreset \
    3>"$root/displayfd" >"$root/xvfb.log" 2>&1 &
started=$!
display=
if ! read -r display <"$root/displayfd" || [ -z "$display" ]; then
    echo "with-desktop.sh: Xvfb did not start:" >&2
    cat "$root/xvfb.log" >&2
    exit 1
fi
export DISPLAY=":$display" XDG_SESSION_TYPE=x11 QT_QPA_PLATFORM=xcb

openbox --sm-disable >"$root/openbox.log" 2>&1 &
started="$! $started"
# The window manager is up once it has announced itself on the root window.
wait_for openbox "$root/openbox.log" sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'
if [ "${VESK_DESKTOP_TRAY:-0}" = 1 ]; then
    trayer --edge top --align right --widthtype request --height 24 --SetDockType true \
        --transparent false >"$root/trayer.log" 2>&1 &
    started="$! $started"
    wait_for trayer "$root/trayer.log" sh -c 'xprop -root _NET_CLIENT_LIST | grep -q "window id"'
fi

"$here/with-keyring.sh" "$@"

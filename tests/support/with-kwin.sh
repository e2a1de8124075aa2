#!/bin/sh
# Runs a command on a throwaway headless KDE desktop: KWin 5.27 on its virtual back end (1280x720), with
# xdg-desktop-portal and its KDE back end answering the GlobalShortcuts and RemoteDesktop portals, inside
# a fresh keyring session (with-keyring.sh) with fresh XDG directories, as the user vesk-e2e when started as
# root. KWin's binary carries a file capability that a process started by runuser may not exec, so a plain
# copy runs (under the same name, which KWin checks).
#
# Usage: with-kwin.sh <command> [args...]
# For the command: WAYLAND_DISPLAY (an absolute path), QT_QPA_PLATFORM=wayland.
set -eu
. "$(dirname "$0")/desktop-lib.sh"
need "kwin-wayland, xdg-desktop-portal, xdg-desktop-portal-kde, wl-clipboard" kwin_wayland \
    /usr/libexec/xdg-desktop-portal /usr/lib/*/libexec/xdg-desktop-portal-kde wl-paste
run_as_test_user "$@"
if [ -z "${VESK_KWIN_SESSION:-}" ]; then
    # KWin, the portals and the command share the keyring's session bus.
    exec env VESK_KWIN_SESSION=1 "$here/with-keyring.sh" "$0" "$@"
fi
make_root kwin run
mkdir "$root/bin"
cp "$(command -v kwin_wayland)" "$root/bin/kwin_wayland"
export XDG_CURRENT_DESKTOP=KDE KDE_FULL_SESSION=true KDE_SESSION_VERSION=5 XDG_SESSION_TYPE=wayland
"$root/bin/kwin_wayland" --virtual --width 1280 --height 720 --socket wayland-vesk --no-lockscreen \
    >"$root/kwin.log" 2>&1 &
started=$!
wait_for KWin "$root/kwin.log" test -S "$root/run/wayland-vesk"

export WAYLAND_DISPLAY="$root/run/wayland-vesk" QT_QPA_PLATFORM=wayland GDK_BACKEND=wayland
# The portal's KDE back end is started by the bus on demand and must find the compositor; the bus starts
# the portal (which ends with the bus) on the first call.
dbus-update-activation-environment WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_RUNTIME_DIR XDG_CONFIG_HOME \
    XDG_CACHE_HOME XDG_STATE_HOME KDE_FULL_SESSION KDE_SESSION_VERSION QT_QPA_PLATFORM XDG_SESSION_TYPE
wait_for "the GlobalShortcuts portal" "" dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop \
    /org/freedesktop/portal/desktop org.freedesktop.DBus.Properties.Get \
    string:org.freedesktop.portal.GlobalShortcuts string:version

# Vesk would keep its key in KWallet under KDE, which in a throwaway session asks to create a wallet; the
# command's programs use the Secret Service keyring of with-keyring.sh instead. Vesk recognises KWin by its
# name on the bus, not by these variables.
unset XDG_CURRENT_DESKTOP KDE_FULL_SESSION KDE_SESSION_VERSION
"$@"

#!/bin/sh
# Runs a command on a throwaway headless KDE desktop: KWin 5.27 on its virtual back end (1280x720), with
# xdg-desktop-portal and its KDE back end answering the GlobalShortcuts and RemoteDesktop portals, inside
# its own D-Bus session with a fresh unlocked GNOME keyring (with-keyring.sh) and fresh XDG directories.
# Started as root, the script runs itself again as the user vesk-e2e (created when missing), handing that
# user the directory named by VESK_ARTIFACTS_DIR. KWin's binary carries a file capability that a process
# started by runuser may not exec, so a plain copy runs (under the same name, which KWin checks). A
# compositor or portal that does not come up fails the run with its log.
#
# Usage: with-kwin.sh <command> [args...]
# For the command: WAYLAND_DISPLAY (an absolute path), XDG_CURRENT_DESKTOP=KDE, QT_QPA_PLATFORM=wayland.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for tool in kwin_wayland /usr/libexec/xdg-desktop-portal /usr/lib/*/libexec/xdg-desktop-portal-kde wl-paste; do
    if ! command -v "$tool" >/dev/null; then
        echo "with-kwin.sh: $tool is needed (packages kwin-wayland, xdg-desktop-portal, xdg-desktop-portal-kde," \
            "wl-clipboard)" >&2
        exit 1
    fi
done

if [ "$(id -u)" = 0 ]; then
    user=vesk-e2e
    if ! id "$user" >/dev/null 2>&1; then
        useradd --create-home --shell /bin/sh "$user"
    fi
    if [ -n "${VESK_ARTIFACTS_DIR:-}" ]; then
        mkdir -p "$VESK_ARTIFACTS_DIR"
        chown -R "$user" "$VESK_ARTIFACTS_DIR"
    fi
    exec runuser -u "$user" -- env HOME="/home/$user" USER="$user" LOGNAME="$user" "$0" "$@"
fi

if [ -z "${VESK_KWIN_SESSION:-}" ]; then
    # KWin, the portals and the command share the keyring's session bus.
    exec env VESK_KWIN_SESSION=1 "$here/with-keyring.sh" "$0" "$@"
fi

root=$(mktemp -d "${TMPDIR:-/tmp}/vesk-kwin.XXXXXX")
chmod 700 "$root"
mkdir -p "$root/run" "$root/config" "$root/cache" "$root/state" "$root/data" "$root/bin"
chmod 700 "$root/run"
cp "$(command -v kwin_wayland)" "$root/bin/kwin_wayland"
compositor=
cleanup()
{
    if [ -n "$compositor" ]; then
        kill "$compositor" 2>/dev/null || true
        wait "$compositor" 2>/dev/null || true
    fi
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

unset DISPLAY WAYLAND_DISPLAY SESSION_MANAGER 2>/dev/null || true
export XDG_RUNTIME_DIR="$root/run" XDG_CONFIG_HOME="$root/config" XDG_CACHE_HOME="$root/cache" \
    XDG_STATE_HOME="$root/state" XDG_CURRENT_DESKTOP=KDE KDE_FULL_SESSION=true KDE_SESSION_VERSION=5 \
    XDG_SESSION_TYPE=wayland
# Every new window gets the focus, as programs started from a launcher do; the tests start them from a
# script, which KWin's focus stealing prevention would otherwise hold back behind Vesk's window.
printf '[Windows]\nFocusStealingPreventionLevel=0\n' >"$root/config/kwinrc"
"$root/bin/kwin_wayland" --virtual --width 1280 --height 720 --socket wayland-vesk --no-lockscreen \
    >"$root/kwin.log" 2>&1 &
compositor=$!

tries=200
until [ -S "$root/run/wayland-vesk" ]; do
    tries=$((tries - 1))
    if [ "$tries" -le 0 ] || ! kill -0 "$compositor" 2>/dev/null; then
        echo "with-kwin.sh: KWin did not come up:" >&2
        cat "$root/kwin.log" >&2
        exit 1
    fi
    sleep 0.05
done

export WAYLAND_DISPLAY="$root/run/wayland-vesk" QT_QPA_PLATFORM=wayland QT_QUICK_BACKEND=software \
    GDK_BACKEND=wayland NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory
# The portal's KDE back end is started by the bus on demand and must find the compositor.
dbus-update-activation-environment WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_RUNTIME_DIR XDG_CONFIG_HOME \
    XDG_CACHE_HOME XDG_STATE_HOME KDE_FULL_SESSION KDE_SESSION_VERSION QT_QPA_PLATFORM XDG_SESSION_TYPE
# The bus starts the portal (which ends with the bus) on the first call.
tries=100
until dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop /org/freedesktop/portal/desktop \
    org.freedesktop.DBus.Properties.Get string:org.freedesktop.portal.GlobalShortcuts string:version \
    >/dev/null 2>&1; do
    tries=$((tries - 1))
    if [ "$tries" -le 0 ]; then
        echo "with-kwin.sh: the GlobalShortcuts portal did not come up" >&2
        exit 1
    fi
    sleep 0.1
done

# Vesk would keep its key in KWallet under KDE, which in a throwaway session asks to create a wallet; the
# command's programs use the Secret Service keyring of with-keyring.sh instead. Vesk recognises KWin by its
# name on the bus, not by these variables.
unset XDG_CURRENT_DESKTOP KDE_FULL_SESSION KDE_SESSION_VERSION

status=0
"$@" || status=$?
exit "$status"

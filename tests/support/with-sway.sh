#!/bin/sh
# Runs a command on a throwaway headless sway desktop (wlroots' headless back end, software rendering, one
# 1280x720 output, no Xwayland), inside its own D-Bus session with a fresh unlocked GNOME keyring
# (with-keyring.sh) and fresh XDG directories. sway refuses to run as root: started as root, the script
# runs itself again as the user vesk-e2e (created when missing), handing that user the directory named by
# VESK_ARTIFACTS_DIR. Everything it started is stopped when the command ends; its exit status is passed
# through. A compositor that does not come up fails the run with sway's log.
#
# Usage: with-sway.sh <command> [args...]
# For the command: WAYLAND_DISPLAY (an absolute path, so a changed XDG_RUNTIME_DIR keeps it), SWAYSOCK
# (for swaymsg), XDG_CURRENT_DESKTOP=sway, QT_QPA_PLATFORM=wayland, GDK_BACKEND=wayland.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for tool in sway swaymsg wl-paste; do
    if ! command -v "$tool" >/dev/null; then
        echo "with-sway.sh: $tool is needed (packages sway, wl-clipboard)" >&2
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

root=$(mktemp -d "${TMPDIR:-/tmp}/vesk-sway.XXXXXX")
chmod 700 "$root"
mkdir -p "$root/run" "$root/config" "$root/cache" "$root/state" "$root/data"
chmod 700 "$root/run"
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

cat >"$root/sway.conf" <<'CONF'
output HEADLESS-1 resolution 1280x720
xwayland disable
default_border normal
focus_on_window_activation focus
CONF

unset DISPLAY WAYLAND_DISPLAY SWAYSOCK SESSION_MANAGER 2>/dev/null || true
export XDG_RUNTIME_DIR="$root/run" XDG_CONFIG_HOME="$root/config" XDG_CACHE_HOME="$root/cache" \
    XDG_STATE_HOME="$root/state"
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
    sway --config "$root/sway.conf" >"$root/sway.log" 2>&1 &
compositor=$!

tries=200
socket=
ipc=
while :; do
    socket=$(find "$root/run" -maxdepth 1 -name 'wayland-*' -type s | head -n 1)
    ipc=$(find "$root/run" -maxdepth 1 -name 'sway-ipc.*.sock' -type s | head -n 1)
    if [ -n "$socket" ] && [ -n "$ipc" ] && SWAYSOCK=$ipc swaymsg -t get_version >/dev/null 2>&1; then
        break
    fi
    tries=$((tries - 1))
    if [ "$tries" -le 0 ] || ! kill -0 "$compositor" 2>/dev/null; then
        echo "with-sway.sh: sway did not come up:" >&2
        cat "$root/sway.log" >&2
        exit 1
    fi
    sleep 0.05
done

export WAYLAND_DISPLAY="$socket" SWAYSOCK="$ipc" XDG_CURRENT_DESKTOP=sway XDG_SESSION_TYPE=wayland \
    QT_QPA_PLATFORM=wayland GDK_BACKEND=wayland QT_QUICK_BACKEND=software
# GTK programs under test: no accessibility bus to wait for, no dconf daemon to start.
export NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory

status=0
"$here/with-keyring.sh" "$@" || status=$?
exit "$status"

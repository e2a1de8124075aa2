#!/bin/sh
# Runs a command on a throwaway headless sway desktop (wlroots' headless back end, software rendering, one
# 1280x720 output, no Xwayland) inside a fresh keyring session (with-keyring.sh) with fresh XDG
# directories, as the user vesk-e2e when started as root. Everything it started is stopped when the command
# ends; its exit status is passed through.
#
# Usage: with-sway.sh <command> [args...]
# For the command: WAYLAND_DISPLAY (an absolute path, so a changed XDG_RUNTIME_DIR keeps it), SWAYSOCK
# (for swaymsg), XDG_CURRENT_DESKTOP=sway, QT_QPA_PLATFORM=wayland, GDK_BACKEND=wayland.
set -eu
. "$(dirname "$0")/desktop-lib.sh"
need "sway, wl-clipboard" sway swaymsg wl-paste
run_as_test_user "$@"
make_root sway run

cat >"$root/sway.conf" <<'CONF'
output HEADLESS-1 resolution 1280x720
xwayland disable
default_border normal
focus_on_window_activation focus
CONF
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
    sway --config "$root/sway.conf" >"$root/sway.log" 2>&1 &
started=$!

sway_up()
{
    socket=$(find "$root/run" -maxdepth 1 -name 'wayland-*' -type s | head -n 1)
    ipc=$(find "$root/run" -maxdepth 1 -name 'sway-ipc.*.sock' -type s | head -n 1)
    [ -n "$socket" ] && [ -n "$ipc" ] && SWAYSOCK=$ipc swaymsg -t get_version
}
wait_for sway "$root/sway.log" sway_up
export WAYLAND_DISPLAY="$socket" SWAYSOCK="$ipc" XDG_CURRENT_DESKTOP=sway XDG_SESSION_TYPE=wayland \
    QT_QPA_PLATFORM=wayland GDK_BACKEND=wayland

"$here/with-keyring.sh" "$@"

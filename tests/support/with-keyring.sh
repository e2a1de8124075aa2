#!/bin/sh
# Runs a command inside its own D-Bus session with a fresh, unlocked GNOME keyring, so keyring tests never
# touch the user's keyring and never raise an unlock prompt. Usage: with-keyring.sh <command> [args...]
set -eu
if ! command -v dbus-run-session >/dev/null || ! command -v gnome-keyring-daemon >/dev/null; then
    echo "with-keyring.sh: dbus-run-session and gnome-keyring-daemon are needed (packages dbus, gnome-keyring)" >&2
    exit 1
fi
home=$(mktemp -d "${TMPDIR:-/tmp}/vesk-keyring.XXXXXX")
trap 'rm -rf "$home"' EXIT INT TERM
chmod 700 "$home"
# The keyring files and the daemon's control socket go into the throwaway home.
# dbus-run-session sets DBUS_SESSION_BUS_ADDRESS; nothing may fall back to a bus under the real runtime dir.
status=0
HOME=$home XDG_DATA_HOME=$home/.local/share XDG_RUNTIME_DIR=$home \
    dbus-run-session -- sh -c '
        # An empty line unlocks (and on first use creates) the login keyring with an empty password.
        printf "\n" | gnome-keyring-daemon --unlock --components=secrets >/dev/null
        exec "$@"' sh "$@" || status=$?
exit "$status"

#!/bin/sh
# Runs a command inside its own D-Bus session with a fresh, unlocked GNOME keyring, so keyring tests never
# touch the user's keyring and never raise an unlock prompt. Usage: with-keyring.sh <command> [args...]
set -eu
. "$(dirname "$0")/desktop-lib.sh"
need "dbus, gnome-keyring" dbus-run-session gnome-keyring-daemon
home=$(mktemp -d "${TMPDIR:-/tmp}/vesk-keyring.XXXXXX")
# A document portal started on the session bus mounts its FUSE file system under the runtime directory and
# may still hold it when the session ends.
trap 'fusermount -u -z "$home/doc" 2>/dev/null || true; rm -rf "$home"' EXIT INT TERM
chmod 700 "$home"
# The keyring files and the daemon's control socket go into the throwaway home; dbus-run-session sets
# DBUS_SESSION_BUS_ADDRESS, so nothing falls back to a bus under the real runtime directory.
HOME=$home XDG_DATA_HOME=$home/.local/share XDG_RUNTIME_DIR=$home \
    dbus-run-session -- sh -c '
        # An empty line unlocks (and on first use creates) the login keyring with an empty password. The
        # daemon forks away and outlives the session bus, so stop it by the pid the bus knows it by.
        printf "\n" | gnome-keyring-daemon --unlock --components=secrets >/dev/null
        daemon=$(dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
            org.freedesktop.DBus.GetConnectionUnixProcessID string:org.freedesktop.secrets 2>/dev/null |
            awk "{ print \$2 }")
        status=0
        "$@" || status=$?
        [ -z "$daemon" ] || kill "$daemon" 2>/dev/null || true
        exit "$status"' sh "$@"

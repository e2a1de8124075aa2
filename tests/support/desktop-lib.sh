# Sourced by the with-*.sh scripts after `set -eu`: what every throwaway session needs.
here=$(cd "$(dirname "$0")" && pwd)
me=$(basename "$0")

# need PACKAGES TOOL...: fails, naming the packages, when a tool is missing.
need()
{
    packages=$1
    shift
    for tool in "$@"; do
        command -v "$tool" >/dev/null || { echo "$me: $tool is needed (packages $packages)" >&2; exit 1; }
    done
}

# sway and KWin refuse to run as root: started as root, the script runs itself again as the user vesk-e2e
# (created when missing), handing that user the directory named by VESK_ARTIFACTS_DIR.
run_as_test_user()
{
    [ "$(id -u)" = 0 ] || return 0
    id vesk-e2e >/dev/null 2>&1 || useradd --create-home --shell /bin/sh vesk-e2e
    if [ -n "${VESK_ARTIFACTS_DIR:-}" ]; then
        mkdir -p "$VESK_ARTIFACTS_DIR"
        chown -R vesk-e2e "$VESK_ARTIFACTS_DIR"
    fi
    exec runuser -u vesk-e2e -- env HOME=/home/vesk-e2e USER=vesk-e2e LOGNAME=vesk-e2e "$0" "$@"
}

# A private directory `root` with fresh XDG directories (exported, a runtime directory too when asked with
# `run`), removed on exit after the processes in `started` (the last started first) are stopped.
make_root()
{
    root=$(mktemp -d "${TMPDIR:-/tmp}/vesk-$1.XXXXXX")
    chmod 700 "$root"
    mkdir -p "$root/run" "$root/config" "$root/cache" "$root/state" "$root/data"
    chmod 700 "$root/run"
    export XDG_CONFIG_HOME="$root/config" XDG_CACHE_HOME="$root/cache" XDG_STATE_HOME="$root/state"
    [ "${2:-}" != run ] || export XDG_RUNTIME_DIR="$root/run"
    started=
    trap 'for pid in $started; do kill "$pid" 2>/dev/null || true; wait "$pid" 2>/dev/null || true; done
          rm -rf "$root"' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    # Qt and GTK programs under test: software rendering, no accessibility bus, no dconf daemon.
    export QT_QUICK_BACKEND=software NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory
    unset DISPLAY WAYLAND_DISPLAY SWAYSOCK SESSION_MANAGER XDG_CURRENT_DESKTOP 2>/dev/null || true
}

# wait_for WHAT LOG COMMAND...: polls COMMAND every 50 ms for up to 10 s; fails with LOG (if any) when it
# never holds or the last process started has ended.
wait_for()
{
    what=$1 log=$2 tries=200
    shift 2
    until "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        last=${started%% *}
        if [ "$tries" -le 0 ] || { [ -n "$last" ] && ! kill -0 "$last" 2>/dev/null; }; then
            echo "$me: $what did not come up" >&2
            [ -z "$log" ] || cat "$log" >&2
            exit 1
        fi
        sleep 0.05
    done
}

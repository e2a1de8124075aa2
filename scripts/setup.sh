#!/usr/bin/env bash
# Installs the Debian 12 packages Vesk needs when any is missing, then configures and builds.
# Idempotent; quiet when everything is already there. Run as root on a fresh machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_BUILD_DIR:-$root/build}

packages=(
    g++ cmake make pkg-config
    libicu-dev nlohmann-json3-dev libcurl4-openssl-dev ca-certificates libsqlite3-dev
    qt6-base-dev qtkeychain-qt6-dev qt6-declarative-dev
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-window
    qml6-module-qtquick-templates qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtquick-dialogs
    qt6-declarative-dev-tools
    libx11-dev libxtst-dev libxfixes-dev
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    dbus gnome-keyring libsecret-tools
    xvfb openbox xdotool mousepad xfce4-terminal trayer xclip imagemagick x11-utils fonts-dejavu-core
    desktop-file-utils appstream dpkg-dev file openssl
    # Fuzzing: clang with libFuzzer and the sanitizer runtimes.
    clang libclang-rt-14-dev
    # The Wayland back end and its headless sway and KWin end-to-end tests (the portals' KDE back end is Qt 5).
    libwayland-dev libwayland-bin libxkbcommon-dev qt6-wayland sway wl-clipboard foot
    kwin-wayland xdg-desktop-portal xdg-desktop-portal-kde qtwayland5 libkf5globalaccel-bin
)

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    [[ $status == "install ok installed" ]] || missing+=("$p")
done
if ((${#missing[@]})); then
    echo "setup: installing ${missing[*]}"
    sudo_cmd=()
    [[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE="${VESK_BUILD_TYPE:-RelWithDebInfo}" ${VESK_CMAKE_ARGS:-} >/dev/null
cmake --build "$build" --parallel "$(nproc)"

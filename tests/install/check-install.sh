#!/usr/bin/env bash
# Installs a built tree the way a user or a distribution would and checks what lands where.
#   check-install.sh BUILD_DIR VERSION layout CMAKE SCRATCH_DIR   `cmake --install` into a scratch root under /usr
#   check-install.sh BUILD_DIR VERSION deb    CPACK SCRATCH_DIR   `cpack -G DEB`, then the package's fields and files
# Reports every problem it finds, then exits 1 if there was any.
set -euo pipefail
build=$1 version=$2 mode=$3 tool=$4 scratch=$(realpath -m "$5")
id=dev.vesk.Vesk root=$scratch/root problems=0
problem() {
    echo "check-install: $*" >&2
    problems=$((problems + 1))
}
# Runs a command with its output in $scratch/<log>.log, shown only when it fails.
logged() {
    local log=$scratch/$1.log
    shift
    "$@" >"$log" 2>&1 || { cat "$log" >&2 && false; }
}

rm -rf "$scratch"
mkdir -p "$scratch"
case $mode in
layout)
    DESTDIR=$root logged install "$tool" --install "$build" --prefix /usr || exit 1
    ;;
deb)
    logged cpack "$tool" --config "$build/CPackConfig.cmake" -G DEB -B "$scratch" || exit 1
    debs=("$scratch"/vesk_*.deb)
    deb=${debs[0]}
    [[ -f $deb ]] || { echo "check-install: cpack made no vesk_*.deb" >&2; exit 1; }
    echo "check-install: $(basename "$deb"), $(du -k "$deb" | cut -f1) KiB"
    dpkg-deb --info "$deb"
    for expected in Package=vesk "Version=$version" Section=utils Homepage=https://vesk.dev \
        "Maintainer=Vesk developers <support@vesk.dev>"; do
        value=$(dpkg-deb --field "$deb" "${expected%%=*}")
        [[ $value == "${expected#*=}" ]] || problem "${expected%%=*} is '$value', not '${expected#*=}'"
    done
    depends=", $(dpkg-deb --field "$deb" Depends | tr -d '\n'),"
    # From dpkg-shlibdeps (linked libraries) and from the list of QML modules the views import.
    for package in libqt6core6 libqt6quick6 libqt6widgets6 libqt6keychain1 libcurl4 libsqlite3-0 libxtst6 \
        qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates qml6-module-qtquick-layouts \
        qml6-module-qtqml-workerscript ca-certificates; do
        [[ $depends == *", $package "* || $depends == *", $package,"* ]] || problem "Depends lacks $package"
    done
    # Every dependency must be one Debian has; they are all installed here, so apt resolves them offline.
    logged apt apt-get install --simulate --no-install-recommends "$deb" ||
        problem "apt cannot satisfy the package's dependencies"
    outside=$(dpkg-deb --contents "$deb" | awk '{print $6}' | grep -v -E '^\./(usr/.*)?$' || true)
    [[ -z $outside ]] || problem "files outside /usr: $outside"
    dpkg-deb --extract "$deb" "$root"
    file "$root/usr/bin/vesk" | grep -q ', stripped' || problem "the binary in the package is not stripped"
    ;;
*)
    echo "check-install: unknown mode $mode" >&2
    exit 2
    ;;
esac

for path in usr/share/applications/$id.desktop usr/share/metainfo/$id.metainfo.xml \
    usr/share/icons/hicolor/scalable/apps/$id.svg usr/share/doc/vesk/copyright; do
    [[ -f $root/$path ]] || problem "/$path is missing"
done
for size in 16 24 32 48 64 128 256; do
    png=$root/usr/share/icons/hicolor/${size}x${size}/apps/$id.png
    file "$png" | grep -q "PNG image data, $size x $size," || problem "$png is missing or not ${size}x${size}"
done

# The launcher must point at the installed binary and icon, and the metainfo at the launcher.
desktop=$root/usr/share/applications/$id.desktop
grep -qsx "Icon=$id" "$desktop" || problem "the desktop entry's icon is not $id"
exec_binary=$(grep -m1 -oPs '^Exec=\K[^ ]+' "$desktop" || true)
[[ -f $root/usr/bin/$exec_binary && -x $root/usr/bin/$exec_binary ]] ||
    problem "the desktop entry runs '$exec_binary', which is not installed"
grep -qs "<launchable type=\"desktop-id\">$id.desktop</launchable>" "$root/usr/share/metainfo/$id.metainfo.xml" ||
    problem "the metainfo does not launch $id.desktop"

# The installed binary runs on its own (no build-tree paths), and says which version it is.
reported=$("$root/usr/bin/vesk" --version 2>&1) || problem "installed vesk --version failed: $reported"
[[ $reported == *"$version"* ]] || problem "installed vesk --version says '$reported'"

((problems == 0)) || exit 1
echo "check-install: $mode ok"

#!/usr/bin/env bash
# Installs a built tree the way a user or a distribution would and checks what lands where.
#   check-install.sh layout CMAKE BUILD_DIR SCRATCH_DIR VERSION   `cmake --install` into a scratch root under /usr
#   check-install.sh deb    CPACK BUILD_DIR SCRATCH_DIR VERSION   `cpack -G DEB`, then the package's fields and files
# Reports every problem it finds, then exits 1 if there was any.
set -euo pipefail
mode=$1 tool=$2 build=$3 scratch=$4 version=$5

id=dev.vesk.Vesk
sizes=(16 24 32 48 64 128 256)
expected=(usr/bin/vesk usr/share/applications/$id.desktop usr/share/metainfo/$id.metainfo.xml
          usr/share/icons/hicolor/scalable/apps/$id.svg usr/share/doc/vesk/copyright)
for size in "${sizes[@]}"; do
    expected+=("usr/share/icons/hicolor/${size}x${size}/apps/$id.png")
done

problems=0
problem() {
    echo "check-install: $*" >&2
    problems=$((problems + 1))
}

rm -rf "$scratch"
mkdir -p "$scratch"
root=$scratch/root

case $mode in
layout)
    DESTDIR=$root "$tool" --install "$build" --prefix /usr >"$scratch/install.log"
    ;;
deb)
    if ! "$tool" --config "$build/CPackConfig.cmake" -G DEB -B "$scratch" >"$scratch/cpack.log" 2>&1; then
        cat "$scratch/cpack.log" >&2
        exit 1
    fi
    debs=("$scratch"/vesk_*.deb)
    deb=${debs[0]}
    [[ -f $deb ]] || { echo "check-install: cpack made no vesk_*.deb" >&2; exit 1; }
    echo "check-install: $(basename "$deb"), $(du -k "$deb" | cut -f1) KiB"
    dpkg-deb --info "$deb"

    field() { dpkg-deb --field "$deb" "$1"; }
    [[ $(field Package) == vesk ]] || problem "Package is '$(field Package)'"
    [[ $(field Version) == "$version" ]] || problem "Version is '$(field Version)', not $version"
    [[ $(field Section) == utils ]] || problem "Section is '$(field Section)'"
    [[ $(field Maintainer) == "Vesk developers <support@vesk.dev>" ]] || problem "Maintainer is '$(field Maintainer)'"
    [[ $(field Homepage) == https://vesk.dev ]] || problem "Homepage is '$(field Homepage)'"
    depends=", $(field Depends | tr -d '\n'),"
    # From dpkg-shlibdeps (linked libraries) and from the list of QML modules the views import.
    for package in libqt6core6 libqt6quick6 libqt6widgets6 libqt6keychain1 libcurl4 libsqlite3-0 libxtst6 \
        qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates qml6-module-qtquick-layouts \
        qml6-module-qtqml-workerscript ca-certificates; do
        [[ $depends == *", $package "* || $depends == *", $package,"* ]] || problem "Depends lacks $package"
    done
    # Every dependency must be one Debian has; they are all installed here, so apt resolves them offline.
    if ! apt-get install --simulate --no-install-recommends "$deb" >"$scratch/apt.log" 2>&1; then
        cat "$scratch/apt.log" >&2
        problem "apt cannot satisfy the package's dependencies"
    fi
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

for path in "${expected[@]}"; do
    [[ -f $root/$path ]] || problem "/$path is missing"
done
[[ -x $root/usr/bin/vesk ]] || problem "/usr/bin/vesk is not executable"
for size in "${sizes[@]}"; do
    png=$root/usr/share/icons/hicolor/${size}x${size}/apps/$id.png
    [[ ! -f $png ]] || file "$png" | grep -q "PNG image data, $size x $size," || problem "$png is not ${size}x${size}"
done

# The launcher must point at the installed binary and icon, and the metainfo at the launcher.
desktop=$root/usr/share/applications/$id.desktop
if [[ -f $desktop ]]; then
    grep -qx "Icon=$id" "$desktop" || problem "the desktop entry's icon is not $id"
    exec_line=$(grep -m1 '^Exec=' "$desktop" || true)
    exec_binary=${exec_line#Exec=}
    [[ -x $root/usr/bin/${exec_binary%% *} ]] || problem "the desktop entry runs '$exec_binary', which is not installed"
fi
metainfo=$root/usr/share/metainfo/$id.metainfo.xml
[[ ! -f $metainfo ]] || grep -q "<launchable type=\"desktop-id\">$id.desktop</launchable>" "$metainfo" ||
    problem "the metainfo does not launch $id.desktop"

# The installed binary runs on its own (no build-tree paths), and says which version it is.
if [[ -x $root/usr/bin/vesk ]]; then
    reported=$("$root/usr/bin/vesk" --version 2>&1) || problem "installed vesk --version failed: $reported"
    [[ $reported == *"$version"* ]] || problem "installed vesk --version says '$reported'"
fi

if ((problems)); then
    exit 1
fi
echo "check-install: $mode ok"

#!/usr/bin/env bash
# Renders the PNG sizes of the app icon from its SVG. The PNGs are committed, so building Vesk needs no
# SVG renderer; run this (it needs rsvg-convert, from librsvg2-bin) after changing the SVG.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
svg=$here/hicolor/scalable/apps/dev.vesk.Vesk.svg
for size in 16 24 32 48 64 128 256; do
    mkdir -p "$here/hicolor/${size}x${size}/apps"
    rsvg-convert --width "$size" --height "$size" "$svg" --output "$here/hicolor/${size}x${size}/apps/dev.vesk.Vesk.png"
done

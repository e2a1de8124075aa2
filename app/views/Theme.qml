pragma Singleton
import QtQuick
import Vesk

// Colours, spacing and type for every view, in a light and a dark palette that follow the desktop's
// colour-scheme preference (Appearance.dark).
QtObject {
    readonly property bool dark: Appearance.dark

    // Surfaces, from the window back to raised menus and fields.
    readonly property color window: dark ? "#1c1c1e" : "#f5f5f7"
    readonly property color sidebar: dark ? "#232325" : "#ebebef"
    readonly property color card: dark ? "#232325" : "#ffffff"
    readonly property color raised: dark ? "#2c2c2e" : "#ffffff"
    readonly property color hover: dark ? "#2a2a2d" : "#e4e4e9"
    readonly property color pressed: dark ? "#3a3a3e" : "#d4d4da"
    readonly property color separator: dark ? "#2f2f32" : "#dcdce1"
    readonly property color border: dark ? "#343437" : "#d1d1d6"
    readonly property color fieldBorder: dark ? "#48484a" : "#c7c7cc"
    readonly property color track: dark ? "#48484a" : "#d1d1d6"
    // The review panel's body floats over other apps, slightly see-through.
    readonly property color panel: dark ? "#f01f1f21" : "#f5fbfbfd"
    readonly property color panelBorder: dark ? "#1fffffff" : "#24000000"
    // Overlays on any surface: quiet, hovered and pressed fills of small round buttons.
    readonly property color overlay: dark ? "#17ffffff" : "#0f000000"
    readonly property color overlayHover: dark ? "#2effffff" : "#1f000000"
    readonly property color overlayPressed: dark ? "#4affffff" : "#33000000"

    // Text.
    readonly property color text: dark ? "#f5f5f7" : "#1d1d1f"
    readonly property color textBody: dark ? "#d1d1d6" : "#3a3a3c"
    readonly property color textSoft: dark ? "#aeaeb2" : "#515154"
    readonly property color textMuted: dark ? "#8e8e93" : "#6e6e73"
    readonly property color textPlaceholder: dark ? "#6e6e73" : "#a1a1a6"
    readonly property color textOnAccent: "#ffffff"
    readonly property color textOnAccentMuted: "#d6e6ff"

    // The accent and what it marks: links, focus, the selection, the chosen option.
    readonly property color accent: dark ? "#0a84ff" : "#007aff"
    readonly property color accentFill: dark ? "#0a7cf0" : "#007aff"
    readonly property color accentHover: dark ? "#1a8cff" : "#1a86ff"
    readonly property color accentPressed: "#0064d1"
    readonly property color accentBorder: dark ? "#3396ff" : "#0a6be0"
    readonly property color accentTint: dark ? "#13233a" : "#e5f0ff"
    readonly property color accentTintStrong: dark ? "#2a3a55" : "#d3e5ff"
    readonly property color selection: "#0a63c9"
    readonly property color focusRing: dark ? "#64a8ff" : "#0a84ff"

    // Push buttons that are neither primary nor destructive.
    readonly property color control: dark ? "#333336" : "#ffffff"
    readonly property color controlHover: dark ? "#3e3e42" : "#f2f2f5"
    readonly property color controlPressed: dark ? "#4a4a4e" : "#e3e3e8"
    readonly property color controlBorder: dark ? "#47474b" : "#c7c7cc"
    readonly property color controlText: dark ? "#ffffff" : "#1d1d1f"
    readonly property color keycap: dark ? "#22ffffff" : "#0f000000"
    readonly property color keycapBorder: dark ? "#26ffffff" : "#1f000000"
    readonly property color keycapText: dark ? "#b3ffffff" : "#99000000"
    readonly property color keycapAccent: "#33ffffff"
    readonly property color keycapAccentBorder: "#4dffffff"
    readonly property color keycapAccentText: "#e6ffffff"

    // Scroll bars and tooltips: the neutral greys they have always had, in both palettes.
    readonly property color scrollThumb: "#bdbdbd"
    readonly property color scrollThumbPressed: "#353637"
    readonly property color tip: "#ffffff"
    readonly property color tipBorder: "#353637"
    readonly property color tipText: "#000000"

    // Outcomes.
    readonly property color success: dark ? "#30d158" : "#28a745"
    readonly property color successBorder: dark ? "#2f5e3a" : "#a8d8b4"
    readonly property color warning: dark ? "#ff9f0a" : "#d97706"
    readonly property color warningBorder: dark ? "#5e3a2f" : "#eec9a8"
    readonly property color danger: dark ? "#ff453a" : "#ff3b30"
    readonly property color dangerHover: dark ? "#ff5a50" : "#ff5147"
    readonly property color dangerPressed: "#d63a31"
    readonly property color dangerText: dark ? "#ff6961" : "#d70015"
    readonly property color dangerTint: dark ? "#3a2224" : "#fdecec"
    readonly property color dangerTintBorder: dark ? "#5c3034" : "#f3c3c3"
    readonly property color dangerTitle: dark ? "#ff8a80" : "#c4000f"

    // The diff: deleted and inserted runs.
    readonly property color deletedText: dark ? "#ff6b62" : "#c4000f"
    readonly property color deletedBackground: dark ? "#3d2426" : "#fde4e4"
    readonly property color insertedText: dark ? "#8ff0b0" : "#116329"
    readonly property color insertedBackground: dark ? "#1e4630" : "#dcf5e3"

    // Spacing between neighbours in rows and columns.
    readonly property int spacingSmall: 4
    readonly property int spacing: 8
    readonly property int spacingMedium: 10
    readonly property int spacingLarge: 12
    readonly property int spacingWide: 16

    // Type sizes, in pixels: keycaps, captions and notes, controls, body text, headings, titles, figures.
    readonly property int fontTiny: 10
    readonly property int fontSmall: 11
    readonly property int fontCaption: 12
    readonly property int fontBody: 13
    readonly property int fontText: 14
    readonly property int fontHeading: 15
    readonly property int fontSubtitle: 16
    readonly property int fontTitle: 18
    readonly property int fontDisplay: 20
    readonly property int fontLargeTitle: 24
    readonly property int fontFigure: 26
}

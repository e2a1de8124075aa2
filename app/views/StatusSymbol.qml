import QtQuick
import Vesk

// A round symbol with a glyph inside: a check mark for "all good", an exclamation mark for failures.
Rectangle {
    id: symbol

    property string glyph: "✓"
    property color tint: Theme.success
    property int size: 22

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: "transparent"
    border.width: 1.6
    border.color: tint

    Text {
        anchors.centerIn: parent
        text: symbol.glyph
        color: symbol.tint
        font.pixelSize: symbol.size * 0.58
        font.bold: true
    }
}

import QtQuick
import Vesk

// The app's push button: `primary` fills it with the accent colour, `destructive` with red; `hint` shows the
// key that also triggers it as a small keycap ("esc", "Ctrl R", "↩").
ButtonArea {
    id: button

    property string hint: ""
    property bool primary: false
    property bool destructive: false
    readonly property alias contentItem: content

    implicitHeight: 28
    implicitWidth: Math.max(hint === "" ? 72 : 0, content.implicitWidth + 20)
    opacity: enabled ? 1.0 : 0.45

    Rectangle {
        anchors.fill: parent
        radius: 7
        color: {
            if (button.destructive)
                return button.down ? Theme.dangerPressed : button.hovered ? Theme.dangerHover : Theme.danger
            if (button.primary)
                return button.down ? Theme.accentPressed : button.hovered ? Theme.accentHover : Theme.accentFill
            return button.down ? Theme.controlPressed : button.hovered ? Theme.controlHover : Theme.control
        }
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? Theme.focusRing : button.primary ? Theme.accentBorder : Theme.controlBorder
    }

    // Centred: the minimum width adds room on both sides.
    Row {
        id: content

        x: (button.width - implicitWidth) / 2
        height: button.height
        spacing: Theme.spacing

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: button.primary || button.destructive ? Theme.textOnAccent : Theme.controlText
            font.pixelSize: Theme.fontBody
            font.weight: button.primary || button.destructive ? Font.DemiBold : Font.Medium
        }
        Rectangle {
            visible: button.hint.length > 0
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: hintText.implicitWidth + 8
            implicitHeight: hintText.implicitHeight + 2
            radius: 4
            color: button.primary ? Theme.keycapAccent : Theme.keycap
            border.width: 1
            border.color: button.primary ? Theme.keycapAccentBorder : Theme.keycapBorder

            Text {
                id: hintText

                x: 4
                y: 1
                text: button.hint
                color: button.primary ? Theme.keycapAccentText : Theme.keycapText
                font.pixelSize: Theme.fontTiny
                font.weight: Font.Medium
            }
        }
    }
}

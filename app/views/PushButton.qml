import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The app's push button: `primary` fills it with the accent colour, `destructive` with red; `hint` shows the
// key that also triggers it as a small keycap ("esc", "Ctrl R", "↩"). Reached by Tab, never by a click, so
// a click leaves the keyboard where it was.
AbstractButton {
    id: button

    property string hint: ""
    property bool primary: false
    property bool destructive: false

    implicitHeight: 28
    implicitWidth: Math.max(hint === "" ? 72 : 0, contentItem.implicitWidth + 20)
    focusPolicy: Qt.TabFocus
    hoverEnabled: true
    opacity: enabled ? 1.0 : 0.45

    Accessible.name: text

    background: Rectangle {
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

    // Centred: the padding takes up whatever the minimum width adds.
    leftPadding: (width - contentItem.implicitWidth) / 2
    rightPadding: leftPadding

    contentItem: Row {
        spacing: Theme.spacing

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: button.primary || button.destructive ? Theme.textOnAccent : Theme.controlText
            font.pixelSize: Theme.fontBody
            font.weight: button.primary || button.destructive ? Font.DemiBold : Font.Medium
        }
        Label {
            visible: button.hint.length > 0
            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 4
            rightPadding: 4
            topPadding: 1
            bottomPadding: 1
            text: button.hint
            color: button.primary ? Theme.keycapAccentText : Theme.keycapText
            font.pixelSize: Theme.fontTiny
            font.weight: Font.Medium
            background: Rectangle {
                radius: 4
                color: button.primary ? Theme.keycapAccent : Theme.keycap
                border.width: 1
                border.color: button.primary ? Theme.keycapAccentBorder : Theme.keycapBorder
            }
        }
    }
}

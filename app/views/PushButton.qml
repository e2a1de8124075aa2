import QtQuick
import QtQuick.Controls.Basic

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
                return button.down ? "#d63a31" : button.hovered ? "#ff5a50" : "#ff453a"
            if (button.primary)
                return button.down ? "#0064d1" : button.hovered ? "#1a8cff" : "#0a7cf0"
            return button.down ? "#4a4a4e" : button.hovered ? "#3e3e42" : "#333336"
        }
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? "#64a8ff" : button.primary ? "#3396ff" : "#47474b"
    }

    // Centred: the padding takes up whatever the minimum width adds.
    leftPadding: (width - contentItem.implicitWidth) / 2
    rightPadding: leftPadding

    contentItem: Row {
        spacing: 8

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: "#ffffff"
            font.pixelSize: 13
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
            color: button.primary ? "#e6ffffff" : "#b3ffffff"
            font.pixelSize: 10
            font.weight: Font.Medium
            background: Rectangle {
                radius: 4
                color: button.primary ? "#33ffffff" : "#22ffffff"
                border.width: 1
                border.color: button.primary ? "#4dffffff" : "#26ffffff"
            }
        }
    }
}

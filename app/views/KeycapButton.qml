import QtQuick
import QtQuick.Controls.Basic

// A push button with the key that also triggers it shown as a small keycap ("esc", "Ctrl R", "↩").
AbstractButton {
    id: button

    property string hint: ""
    property bool primary: false

    implicitHeight: 28
    implicitWidth: contentRow.implicitWidth + 20
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    opacity: enabled ? 1.0 : 0.45

    Accessible.name: text

    background: Rectangle {
        radius: 7
        color: {
            if (button.primary)
                return button.down ? "#0064d1" : button.hovered ? "#1a8cff" : "#0a7cf0"
            return button.down ? "#4a4a4e" : button.hovered ? "#3e3e42" : "#333336"
        }
        border.width: 1
        border.color: button.primary ? "#3396ff" : "#47474b"
    }

    contentItem: Item {
        implicitWidth: contentRow.implicitWidth
        implicitHeight: contentRow.implicitHeight

        Row {
            id: contentRow

            anchors.centerIn: parent
            spacing: 8

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: button.text
                color: "#ffffff"
                font.pixelSize: 13
                font.weight: button.primary ? Font.DemiBold : Font.Medium
            }

            Rectangle {
                visible: button.hint.length > 0
                anchors.verticalCenter: parent.verticalCenter
                width: hintLabel.implicitWidth + 8
                height: 17
                radius: 4
                color: button.primary ? "#33ffffff" : "#22ffffff"
                border.width: 1
                border.color: button.primary ? "#4dffffff" : "#26ffffff"

                Text {
                    id: hintLabel

                    anchors.centerIn: parent
                    text: button.hint
                    color: button.primary ? "#e6ffffff" : "#b3ffffff"
                    font.pixelSize: 10
                    font.weight: Font.Medium
                }
            }
        }
    }
}

import QtQuick
import QtQuick.Controls.Basic

// A rounded push button; `prominent` fills it with the accent colour, `destructive` with red.
AbstractButton {
    id: button

    property bool prominent: false
    property bool destructive: false

    implicitHeight: 30
    implicitWidth: Math.max(72, label.implicitWidth + 28)
    hoverEnabled: true
    Accessible.name: text

    background: Rectangle {
        radius: 7
        color: {
            const base = button.destructive ? "#ff453a" : button.prominent ? "#0a84ff" : "#3a3a3e"
            return button.down ? Qt.darker(base, 1.25) : button.hovered ? Qt.lighter(base, 1.12) : base
        }
        border.width: button.visualFocus ? 2 : 0
        border.color: "#64a8ff"
    }
    contentItem: Text {
        id: label

        text: button.text
        color: "#ffffff"
        font.pixelSize: 13
        font.weight: button.prominent || button.destructive ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}

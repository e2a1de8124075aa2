import QtQuick
import QtQuick.Controls.Basic

// A quiet text button for header actions.
AbstractButton {
    id: button

    implicitHeight: 26
    implicitWidth: contentItem.implicitWidth + 16
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    Accessible.name: text

    background: Rectangle {
        radius: 6
        color: button.down ? "#3a3a3e" : button.hovered ? "#2c2c2f" : "transparent"
    }
    contentItem: Text {
        text: button.text
        color: "#0a84ff"
        font.pixelSize: 13
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}

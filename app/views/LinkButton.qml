import QtQuick
import QtQuick.Controls.Basic
import Vesk

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
        color: button.down ? Theme.pressed : button.hovered ? Theme.hover : "transparent"
    }
    contentItem: Text {
        text: button.text
        color: Theme.accent
        font.pixelSize: Theme.fontBody
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}

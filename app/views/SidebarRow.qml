import QtQuick
import Vesk

// One section in the home window's sidebar: icon and title, highlighted when selected or hovered.
Rectangle {
    id: row

    property string icon: ""
    property string title: ""
    property bool selected: false
    signal activated()

    implicitHeight: 32
    radius: 7
    color: selected ? Theme.pressed : hover.hovered ? Theme.hover : "transparent"

    Accessible.role: Accessible.PageTab
    Accessible.name: title

    HoverHandler {
        id: hover
    }
    TapHandler {
        onTapped: row.activated()
    }

    Text {
        id: iconLabel

        x: 10
        width: 20
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignHCenter
        text: row.icon
        color: row.selected ? Theme.accent : Theme.textMuted
        font.pixelSize: Theme.fontHeading
    }
    Text {
        anchors.left: iconLabel.right
        anchors.leftMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        text: row.title
        color: row.selected ? Theme.text : Theme.textBody
        font.pixelSize: Theme.fontBody
        font.weight: row.selected ? Font.DemiBold : Font.Normal
    }
}

import QtQuick
import Vesk

// The header of a home window section: title on the left, optional controls on the right.
Item {
    id: header

    property string title: ""
    default property alias trailing: trailingRow.data

    implicitHeight: 52

    Text {
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        text: header.title
        color: Theme.text
        font.pixelSize: Theme.fontDisplay
        font.weight: Font.DemiBold
    }
    Row {
        id: trailingRow

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.spacing
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.hover
    }
}

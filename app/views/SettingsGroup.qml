import QtQuick
import Vesk

// A titled card of settings rows, separated by hairlines.
Column {
    id: group

    property string title: ""
    default property alias rows: rowsColumn.data

    width: parent ? parent.width : 0
    spacing: Theme.spacing

    Text {
        leftPadding: 4
        text: group.title
        color: Theme.textMuted
        font.pixelSize: Theme.fontCaption
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    Rectangle {
        width: group.width
        height: rowsColumn.implicitHeight
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: Theme.separator

        Column {
            id: rowsColumn

            width: parent.width
        }
    }
}

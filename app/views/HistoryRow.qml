import QtQuick
import Vesk

// One history record as a list's delegate: its title, with its fixes and time under it (or the time beside
// it). A click activates it; a right click opens the shared context menu.
Rectangle {
    id: row

    // The history list's roles.
    required property var recordId
    required property string title
    required property string fixes
    required property string time

    required property HistoryActions historyActions
    property bool timeBeside: false
    property bool selected: false
    readonly property string detail: timeBeside ? fixes : fixes + " \u00B7 " + time
    signal activated()

    implicitHeight: 52
    radius: 8
    color: selected ? Theme.selection : mouse.containsMouse ? Theme.hover : "transparent"
    Accessible.role: Accessible.ListItem
    Accessible.name: title

    Column {
        anchors.left: parent.left
        anchors.right: trailingText.left
        anchors.leftMargin: 12
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 3

        Text {
            width: parent.width
            text: row.title
            color: Theme.text
            font.pixelSize: Theme.fontBody
            elide: Text.ElideRight
            maximumLineCount: 1
            textFormat: Text.PlainText
        }
        Text {
            width: parent.width
            text: row.detail
            color: row.selected ? Theme.textOnAccentMuted : Theme.textMuted
            font.pixelSize: Theme.fontSmall
            elide: Text.ElideRight
        }
    }
    Text {
        id: trailingText

        anchors.right: parent.right
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        text: row.timeBeside ? row.time : ""
        color: row.selected ? Theme.textOnAccentMuted : Theme.textMuted
        font.pixelSize: Theme.fontSmall
    }

    MouseArea {
        id: mouse

        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: (event) => {
            if (event.button === Qt.RightButton) {
                menu.recordId = row.recordId
                menu.popup()
            } else {
                row.activated()
            }
        }
    }
    HistoryContextMenu {
        id: menu

        historyActions: row.historyActions
    }
}

import QtQuick
import QtQuick.Layouts
import Vesk

// One settings row: a title with an optional note under it, and the control on the trailing side, or
// under the texts across the whole row when `stacked` (text fields).
Item {
    id: row

    property string title: ""
    property string note: ""
    property bool stacked: false
    default property alias control: slot.data

    width: parent ? parent.width : 0
    implicitHeight: layout.implicitHeight + 24

    Rectangle {
        visible: row.y > 0
        x: 16
        width: row.width - 32
        height: 1
        color: Theme.separator
    }

    GridLayout {
        id: layout

        x: 16
        y: 12
        width: row.width - 32
        columns: row.stacked ? 1 : 2
        columnSpacing: 20
        rowSpacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 3

            Text {
                visible: row.title !== ""
                Layout.fillWidth: true
                text: row.title
                color: Theme.text
                font.pixelSize: Theme.fontBody
                wrapMode: Text.WordWrap
            }
            Text {
                visible: row.note !== ""
                Layout.fillWidth: true
                text: row.note
                color: Theme.textMuted
                font.pixelSize: Theme.fontCaption
                wrapMode: Text.WordWrap
            }
        }
        Item {
            id: slot

            Layout.alignment: row.stacked ? Qt.AlignLeft : Qt.AlignRight | Qt.AlignVCenter
            Layout.fillWidth: row.stacked
            implicitWidth: childrenRect.width
            implicitHeight: childrenRect.height
        }
    }
}

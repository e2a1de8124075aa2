import QtQuick
import Vesk

// A section whose page is not built yet: its header and one quiet line.
Item {
    id: section

    property string title: ""
    property string note: ""
    default property alias trailing: header.trailing

    SectionHeader {
        id: header

        width: parent.width
        title: section.title
    }
    Text {
        anchors.centerIn: parent
        text: section.note
        color: Theme.textMuted
        font.pixelSize: Theme.fontBody
    }
}

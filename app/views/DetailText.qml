import QtQuick
import Vesk

// A labelled block of selectable text in the activity's detail pane.
Column {
    id: block

    property string label: ""
    property string body: ""
    property bool muted: false

    width: parent ? parent.width : 0
    spacing: Theme.spacingSmall

    Text {
        text: block.label
        color: Theme.textMuted
        font.pixelSize: Theme.fontSmall
        font.weight: Font.DemiBold
    }
    TextEdit {
        width: parent.width
        text: block.body
        readOnly: true
        selectByMouse: true
        wrapMode: TextEdit.Wrap
        textFormat: TextEdit.PlainText
        color: block.muted ? Theme.textSoft : Theme.text
        selectionColor: Theme.selection
        font.pixelSize: Theme.fontBody
    }
}

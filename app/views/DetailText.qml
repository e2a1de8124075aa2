import QtQuick

// A labelled block of selectable text in the activity's detail pane.
Column {
    id: block

    property string label: ""
    property string body: ""
    property bool muted: false

    width: parent ? parent.width : 0
    spacing: 4

    Text {
        text: block.label
        color: "#8e8e93"
        font.pixelSize: 11
        font.weight: Font.DemiBold
    }
    TextEdit {
        width: parent.width
        text: block.body
        readOnly: true
        selectByMouse: true
        wrapMode: TextEdit.Wrap
        textFormat: TextEdit.PlainText
        color: block.muted ? "#aeaeb2" : "#f5f5f7"
        selectionColor: "#0a63c9"
        font.pixelSize: 13
    }
}

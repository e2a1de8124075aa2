import QtQuick
import QtQuick.Controls.Basic
import Vesk

// A field that records a global shortcut: click, press the keys. Context: a ShortcutRecorder as `recorder`.
Column {
    id: field
    required property var recorder
    spacing: 6

    Rectangle {
        id: box
        width: 180
        height: 30
        radius: 7
        color: field.recorder.recording ? Theme.accentTintStrong : Theme.raised
        border.color: field.recorder.recording || focusArea.activeFocus ? Theme.accent : Theme.fieldBorder
        border.width: 1

        Text {
            anchors.verticalCenter: parent.verticalCenter
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.right: clearButton.left
            elide: Text.ElideRight
            text: field.recorder.recording || field.recorder.shortcutText === "" ? field.recorder.placeholder
                                                                                  : field.recorder.shortcutText
            color: field.recorder.recording || field.recorder.shortcutText === "" ? Theme.textMuted : Theme.text
            font.pixelSize: Theme.fontBody
        }

        Item {
            id: focusArea
            anchors.fill: parent
            focus: field.recorder.recording
            Keys.onPressed: event => {
                field.recorder.keyPressed(event.key, event.modifiers)
                event.accepted = true
            }
            onActiveFocusChanged: if (!activeFocus) field.recorder.stop()
        }

        MouseArea {
            anchors.fill: parent
            anchors.rightMargin: clearButton.width
            onClicked: {
                field.recorder.start()
                focusArea.forceActiveFocus()
            }
        }

        Text {
            id: clearButton
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            visible: field.recorder.shortcutText !== "" && !field.recorder.recording
            text: qsTr("\u2715")
            color: Theme.textMuted
            font.pixelSize: Theme.fontSmall
            MouseArea {
                anchors.fill: parent
                anchors.margins: -6
                onClicked: field.recorder.clear()
            }
        }
    }

    Text {
        visible: field.recorder.error !== ""
        width: 320
        wrapMode: Text.WordWrap
        text: field.recorder.error
        color: Theme.dangerText
        font.pixelSize: Theme.fontCaption
    }
}

import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The Write section: an editor, "Fix grammar", and the correction of the editor's text below it.
Item {
    id: root

    required property ComposerModel composer

    // Only the visible section takes the keyboard shortcuts.
    property bool active: true
    readonly property SessionModel session: root.composer.session
    readonly property string phase: session.isEditing ? "editing" : session.phase
    readonly property bool hasCorrection: phase === "result" || phase === "noChanges"

    function regenerate() {
        if (hasCorrection)
            session.regenerate()
    }

    onPhaseChanged: {
        // Return retries a failed run, so the failure takes the keyboard from the editor.
        if (phase === "error")
            root.forceActiveFocus()
    }

    Shortcut {
        enabled: root.active
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        onActivated: root.composer.fixGrammar()
    }
    Shortcut {
        enabled: root.active && (root.phase === "reading" || root.phase === "writing")
        sequence: "Escape"
        onActivated: root.session.cancel()
    }
    Shortcut {
        enabled: root.active && root.hasCorrection
        sequence: "Ctrl+R"
        onActivated: root.regenerate()
    }
    Shortcut {
        enabled: root.active && root.phase === "error" && !editor.activeFocus
        sequences: ["Return", "Enter"]
        onActivated: root.session.retry()
    }

    SectionHeader {
        id: header

        width: parent.width
        title: qsTr("Write")
    }

    Rectangle {
        id: editorCard

        anchors.top: header.bottom
        anchors.topMargin: 18
        width: parent.width
        height: Math.max(140, (root.height - header.height) * 0.42)
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: editor.activeFocus ? Theme.accent : Theme.border

        ScrollView {
            anchors.fill: parent
            anchors.margins: 2

            TextArea {
                id: editor

                text: root.composer.text
                onTextChanged: root.composer.text = text
                placeholderText: qsTr("Type or paste text to fix")
                placeholderTextColor: Theme.textPlaceholder
                Accessible.name: qsTr("Text to fix")
                wrapMode: TextEdit.Wrap
                color: Theme.text
                selectionColor: Theme.selection
                selectedTextColor: Theme.textOnAccent
                font.pixelSize: Theme.fontText
                padding: 12
                background: null
            }
        }
    }

    Item {
        id: controls

        anchors.top: editorCard.bottom
        anchors.topMargin: 10
        width: parent.width
        height: fixButton.height

        TextMetrics {
            id: counterWidth

            font: counter.font
            text: qsTr("88,888 characters")
        }
        Text {
            id: counter

            anchors.verticalCenter: parent.verticalCenter
            width: counterWidth.width
            text: root.composer.characterCountText
            color: Theme.textMuted
            font.pixelSize: Theme.fontCaption
        }

        PushButton {
            id: fixButton

            anchors.right: parent.right
            primary: true
            enabled: root.composer.canFix
            text: qsTr("Fix grammar")
            hint: "Ctrl ↩"
            onClicked: root.composer.fixGrammar()
        }
    }

    Rectangle {
        id: resultCard

        anchors.top: controls.bottom
        anchors.topMargin: 16
        anchors.bottom: parent.bottom
        width: parent.width
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: Theme.separator
        visible: root.phase !== "editing"

        ProgressHairline {
            x: 10
            y: 1
            width: parent.width - 20
            visible: root.phase === "writing" || root.phase === "reading" || root.session.isOverlaying
            animated: !Appearance.reduceMotion
        }

        // Writing.
        Column {
            x: 18
            y: 16
            width: parent.width - 36
            spacing: Theme.spacingLarge
            visible: root.phase === "reading" || root.phase === "writing"

            Item {
                width: parent.width
                height: cancelButton.height

                Row {
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: Theme.spacingMedium

                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: qsTr("Writing the correction")
                        color: Theme.textBody
                        font.pixelSize: Theme.fontText
                    }
                    TypingDots {
                        anchors.verticalCenter: parent.verticalCenter
                        animated: !Appearance.reduceMotion
                    }
                }
                PushButton {
                    id: cancelButton

                    anchors.right: parent.right
                    text: qsTr("Cancel")
                    hint: "esc"
                    onClicked: root.session.cancel()
                }
            }
            Text {
                width: parent.width
                text: root.session.streamingText
                visible: text.length > 0
                color: Theme.textSoft
                font.pixelSize: Theme.fontText
                lineHeight: 1.2
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
        }

        // Result.
        Item {
            anchors.fill: parent
            anchors.margins: 18
            anchors.topMargin: 14
            visible: root.phase === "result"

            Item {
                id: resultBar

                width: parent.width
                height: copyButton.height

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: root.session.changeCountText
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.Medium
                }
                Row {
                    anchors.right: parent.right
                    spacing: Theme.spacing

                    PushButton {
                        enabled: !root.session.isOverlaying
                        text: qsTr("Regenerate")
                        hint: "Ctrl R"
                        onClicked: root.regenerate()
                    }
                    PushButton {
                        id: copyButton

                        property bool copied: false

                        enabled: !root.session.isOverlaying
                        primary: true
                        text: copied ? qsTr("Copied") : qsTr("Copy")
                        implicitWidth: Math.max(contentItem.implicitWidth + 20, 76)
                        onClicked: {
                            if (root.composer.copyResult()) {
                                copied = true
                                copiedTimer.restart()
                            }
                        }

                        Timer {
                            id: copiedTimer

                            interval: 1500
                            onTriggered: copyButton.copied = false
                        }
                    }
                }
            }

            CappedScroll {
                anchors.top: resultBar.bottom
                anchors.topMargin: 12
                width: parent.width
                maxHeight: parent.height - resultBar.height - 12

                DiffText {
                    width: parent.width
                    pieces: root.session.diffPieces
                }
            }
        }

        // No changes, or the failure.
        SessionOutcome {
            // A failure reads from the top left; "No changes needed" sits in the middle.
            x: failed ? 18 : (parent.width - width) / 2
            y: failed ? 18 : (parent.height - height) / 2
            width: failed ? parent.width - 36 : implicitWidth
            session: root.session
            messageSpacing: 8

            PushButton {
                primary: true
                text: qsTr("Retry")
                hint: "↩"
                onClicked: root.session.retry()
            }
        }
    }
}

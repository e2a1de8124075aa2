import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import Vesk

// The API key of the selected provider: paste, check and save a key, or check, replace and remove the saved
// one, with the outcome of the last attempt. `connection` is a ProviderConnection.
Column {
    id: entry

    required property var connection
    readonly property bool showsField: !connection.hasSavedKey || connection.isEditing
    readonly property bool busy: connection.status === "checking"

    // Puts the keyboard in the key field (when it is shown).
    function focusKeyField() {
        keyField.forceActiveFocus()
    }

    spacing: Theme.spacingMedium

    // The saved key.
    Row {
        visible: !entry.showsField
        spacing: Theme.spacing

        StatusSymbol {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            glyph: entry.connection.status === "failed" ? "!" : "✓"
            tint: entry.connection.status === "failed" ? Theme.warning : Theme.success
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: entry.connection.status === "failed" ? qsTr("Needs attention. Check or replace the key.")
                                                       : qsTr("Saved to your keyring")
            color: Theme.text
            font.pixelSize: Theme.fontBody
        }
    }
    Row {
        visible: !entry.showsField
        spacing: Theme.spacing

        PushButton {
            text: qsTr("Check connection")
            enabled: !entry.busy
            onClicked: entry.connection.checkConnection()
        }
        PushButton {
            text: qsTr("Replace")
            enabled: !entry.busy
            onClicked: entry.connection.startReplacing()
        }
        PushButton {
            text: qsTr("Remove")
            enabled: !entry.busy
            onClicked: removal.open()
        }
    }

    // A new key.
    Rectangle {
        visible: entry.showsField
        width: Math.min(entry.width, 460)
        height: 30
        radius: 7
        color: Theme.raised
        border.width: 1
        border.color: keyField.activeFocus ? Theme.accent : Theme.fieldBorder

        TextField {
            id: keyField

            anchors.fill: parent
            leftPadding: 10
            rightPadding: 10
            echoMode: TextInput.Password
            text: entry.connection.draft
            onTextEdited: entry.connection.draft = text
            onAccepted: entry.connection.verifyAndSave()
            enabled: !entry.busy
            placeholderText: entry.connection.hasSavedKey ? qsTr("Key saved. Paste a new one to replace it")
                                                          : qsTr("Paste your %1 API key").arg(entry.connection.providerName)
            placeholderTextColor: Theme.textPlaceholder
            color: Theme.text
            selectionColor: Theme.selection
            font.pixelSize: Theme.fontBody
            background: null
            Accessible.name: entry.connection.providerName + " API key"
        }
    }
    Row {
        visible: entry.showsField
        spacing: Theme.spacing

        PushButton {
            primary: true
            enabled: !entry.busy && !entry.connection.isLoading
            text: entry.connection.hasSavedKey ? qsTr("Verify & replace") : qsTr("Verify & save")
            onClicked: entry.connection.verifyAndSave()
        }
        PushButton {
            visible: entry.connection.hasSavedKey
            enabled: !entry.busy
            text: qsTr("Cancel")
            onClicked: entry.connection.cancelReplacing()
        }
        LinkButton {
            visible: !entry.connection.hasSavedKey
            text: qsTr("Get a key ↗")
            onClicked: Qt.openUrlExternally(entry.connection.keyPageUrl)
        }
    }

    Text {
        visible: entry.busy
        text: entry.connection.isSaving ? qsTr("Saving key in keyring…") : qsTr("Checking the API key…")
        color: Theme.textMuted
        font.pixelSize: Theme.fontCaption
    }

    // What went wrong with the last attempt.
    Rectangle {
        visible: entry.connection.status === "failed"
        width: Math.min(entry.width, 460)
        height: failureTexts.implicitHeight + 20
        radius: 8
        color: Theme.dangerTint
        border.width: 1
        border.color: Theme.dangerTintBorder

        Column {
            id: failureTexts

            x: 12
            y: 10
            width: parent.width - 24
            spacing: 3

            Text {
                width: parent.width
                text: entry.connection.failureTitle
                color: Theme.dangerTitle
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                wrapMode: Text.WordWrap
            }
            Text {
                width: parent.width
                text: entry.connection.failureMessage
                color: Theme.text
                font.pixelSize: Theme.fontCaption
                wrapMode: Text.WordWrap
            }
            Text {
                visible: entry.connection.failureDetail !== ""
                width: parent.width
                text: entry.connection.failureDetail
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
                wrapMode: Text.WrapAnywhere
                maximumLineCount: 4
                elide: Text.ElideRight
            }
        }
    }

    Dialog {
        id: removal

        parent: T.Overlay.overlay
        anchors.centerIn: parent
        width: 380
        modal: true
        padding: 20
        title: qsTr("Remove the %1 key?").arg(entry.connection.providerName)

        background: Rectangle {
            radius: 12
            color: Theme.raised
            border.width: 1
            border.color: Theme.fieldBorder
        }
        header: Text {
            leftPadding: 20
            rightPadding: 20
            topPadding: 18
            text: removal.title
            color: Theme.text
            font.pixelSize: Theme.fontHeading
            font.weight: Font.DemiBold
            wrapMode: Text.WordWrap
        }
        contentItem: Text {
            text: qsTr("Vesk can't make corrections until you add a key again. The key is deleted from your keyring.")
            color: Theme.textBody
            font.pixelSize: Theme.fontBody
            wrapMode: Text.WordWrap
        }
        footer: Row {
            layoutDirection: Qt.RightToLeft
            rightPadding: 20
            bottomPadding: 18
            spacing: Theme.spacing

            PushButton {
                text: qsTr("Remove")
                primary: true
                onClicked: {
                    removal.close()
                    entry.connection.removeKey()
                }
            }
            PushButton {
                text: qsTr("Cancel")
                onClicked: removal.close()
            }
        }
    }
}

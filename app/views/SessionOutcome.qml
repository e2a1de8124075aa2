import QtQuick
import Vesk

// How a correction ended when there is no diff to show: "No changes needed", or the failure's title and
// message with the buttons the owner puts under them. Shown only in those two phases.
Item {
    id: outcome

    required property SessionModel session
    readonly property bool failed: session.phase === "error"
    // Between the failure's title, message and buttons.
    property int messageSpacing: 4
    // The buttons under a failure's message.
    default property alias actions: actionRow.data

    visible: session.phase === "noChanges" || failed
    implicitWidth: failed ? failure.implicitWidth : noChanges.implicitWidth
    implicitHeight: failed ? failure.implicitHeight : noChanges.implicitHeight

    Row {
        id: noChanges

        visible: !outcome.failed
        spacing: Theme.spacingMedium
        topPadding: 4
        bottomPadding: 4

        StatusSymbol {
            anchors.verticalCenter: parent.verticalCenter
            glyph: "✓"
            tint: Theme.success
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("No changes needed")
            color: Theme.text
            font.pixelSize: Theme.fontText
        }
    }

    Row {
        id: failure

        visible: outcome.failed
        width: outcome.width
        spacing: Theme.spacingMedium

        StatusSymbol {
            glyph: "!"
            tint: Theme.warning
        }
        Column {
            width: parent.width - 32
            spacing: outcome.messageSpacing

            Text {
                width: parent.width
                visible: text.length > 0
                text: outcome.session.failureTitle
                color: Theme.text
                font.pixelSize: Theme.fontText
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: outcome.session.failureMessage
                color: Theme.textBody
                font.pixelSize: Theme.fontBody
                wrapMode: Text.Wrap
            }
            Row {
                id: actionRow

                visible: children.length > 0
                spacing: Theme.spacing
            }
        }
    }
}

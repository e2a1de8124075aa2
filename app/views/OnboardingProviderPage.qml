import QtQuick
import Vesk

// The provider to correct with and its API key, checked with a tiny real correction before it is saved.
Column {
    id: page

    required property ProviderConnection connection
    property bool active: false

    spacing: Theme.spacingWide

    onActiveChanged: {
        if (active)
            keyEntry.focusKeyField()
    }
    Component.onCompleted: {
        if (active)
            keyEntry.focusKeyField()
    }

    Text {
        width: parent.width
        wrapMode: Text.Wrap
        text: qsTr("Vesk sends the text you select straight to the AI provider you choose, with your own API key.")
        color: Theme.textSoft
        font.pixelSize: Theme.fontText
        lineHeight: 1.2
    }

    Row {
        width: parent.width
        spacing: Theme.spacingLarge

        Repeater {
            model: [
                { value: "anthropic", title: "Anthropic", note: qsTr("Claude. Recommended.") },
                { value: "openai", title: "OpenAI", note: qsTr("GPT, or a compatible server.") }
            ]

            // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
            // qmllint disable unqualified
            Rectangle {
                required property var modelData
                readonly property bool chosen: page.connection.provider === modelData.value

                width: (page.width - 12) / 2
                height: 64
                radius: 10
                color: chosen ? Theme.accentTint : tileMouse.containsMouse ? Theme.hover : Theme.card
                border.width: chosen ? 2 : 1
                border.color: chosen ? Theme.accent : Theme.border
                Accessible.role: Accessible.RadioButton
                Accessible.name: modelData.title
                Accessible.checked: chosen

                Column {
                    x: 14
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 3

                    Text {
                        text: modelData.title
                        color: Theme.text
                        font.pixelSize: Theme.fontHeading
                        font.weight: Font.DemiBold
                    }
                    Text {
                        text: modelData.note
                        color: Theme.textMuted
                        font.pixelSize: Theme.fontCaption
                    }
                }
                MouseArea {
                    id: tileMouse

                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: {
                        page.connection.provider = modelData.value
                        keyEntry.focusKeyField()
                    }
                }
            }
            // qmllint enable unqualified
        }
    }

    Text {
        text: qsTr("Anthropic's Claude is recommended.")
        color: Theme.textMuted
        font.pixelSize: Theme.fontCaption
    }

    ProviderKeyEntry {
        id: keyEntry

        width: parent.width
        connection: page.connection
    }

    Text {
        width: parent.width
        wrapMode: Text.Wrap
        text: "Your text goes straight to " + page.connection.providerName
              + " over an encrypted page.connection. Nothing passes through Vesk's servers or is used for training."
        color: Theme.textMuted
        font.pixelSize: Theme.fontCaption
    }
}

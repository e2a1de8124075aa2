import QtQuick
import Vesk

// The last page: where Vesk lives from now on.
Column {
    id: page

    required property OnboardingModel onboarding

    spacing: 14

    Repeater {
        model: [
            qsTr("Select text in any app and press %1 to fix it.").arg(page.onboarding.shortcutText),
            qsTr("Vesk lives in the system tray: Write, Activity and Settings are in its menu."),
            qsTr("Change the style, tone and language of corrections in Settings, under Writing.")
        ]

        Row {
            id: point

            required property string modelData

            width: parent.width
            spacing: Theme.spacingLarge

            Rectangle {
                y: 7
                width: 6
                height: 6
                radius: 3
                color: Theme.accent
            }
            Text {
                width: parent.width - 18
                wrapMode: Text.Wrap
                text: point.modelData
                color: Theme.textBody
                font.pixelSize: Theme.fontText
                lineHeight: 1.2
            }
        }
    }
}

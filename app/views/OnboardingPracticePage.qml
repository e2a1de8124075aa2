import QtQuick
import Vesk
import QtQuick.Controls.Basic

// A practice correction through the real flow: the user selects the sentence and presses the shortcut,
// exactly as they will in any other app.
Column {
    id: page

    required property OnboardingModel onboarding

    property bool active: false

    spacing: Theme.spacingWide

    onActiveChanged: {
        if (active && !page.onboarding.practiced)
            practice.forceActiveFocus()
    }

    Text {
        width: parent.width
        wrapMode: Text.Wrap
        text: page.onboarding.practiced
              ? qsTr("That's it: Vesk fixed the sentence in place. It works the same way in every app.")
              : qsTr("Click the sentence below, press Ctrl+A to select it, then press %1. Check the correction, then press Return to put it in place.").arg(page.onboarding.shortcutText)
        color: Theme.textSoft
        font.pixelSize: Theme.fontText
        lineHeight: 1.2
    }

    Rectangle {
        width: parent.width
        height: 150
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: page.onboarding.practiced ? Theme.success : practice.activeFocus ? Theme.accent : Theme.border

        TextArea {
            id: practice

            objectName: "practiceField"
            anchors.fill: parent
            anchors.margins: 4
            text: page.onboarding.practiceSentence
            onTextChanged: page.onboarding.practiceText = text
            wrapMode: TextEdit.Wrap
            color: Theme.text
            selectionColor: Theme.selection
            selectedTextColor: Theme.textOnAccent
            font.pixelSize: Theme.fontHeading
            Accessible.name: qsTr("Practice sentence")
            background: null
        }
    }

    Row {
        visible: page.onboarding.practiced
        spacing: Theme.spacingMedium

        StatusSymbol {
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Corrected")
            color: Theme.success
            font.pixelSize: Theme.fontText
            font.weight: Font.DemiBold
        }
    }
}

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// First launch: what Vesk still needs before the first correction.
Rectangle {
    id: root
    color: "#1c1c1e"
    implicitWidth: 560
    implicitHeight: 620

    component Step: RowLayout {
        property bool done
        property string title
        property string detail
        spacing: 14
        Layout.fillWidth: true
        Rectangle {
            Layout.alignment: Qt.AlignTop
            width: 22; height: 22; radius: 11
            color: done ? "#30d158" : "transparent"
            border.color: done ? "#30d158" : "#8e8e93"
            border.width: 2
            Text {
                anchors.centerIn: parent
                text: done ? "\u2713" : ""
                color: "#1c1c1e"
                font.pixelSize: 14
                font.bold: true
            }
        }
        ColumnLayout {
            spacing: 4
            Layout.fillWidth: true
            Text { text: title; color: "#f2f2f7"; font.pixelSize: 15; font.weight: Font.DemiBold }
            Text {
                text: detail
                color: "#aeaeb2"
                font.pixelSize: 13
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 40
        spacing: 24

        Text { text: "Welcome to Vesk"; color: "#f2f2f7"; font.pixelSize: 26; font.weight: Font.Bold }
        Text {
            text: "Select text in any app and press Alt+G: Vesk fixes it in place."
            color: "#aeaeb2"; font.pixelSize: 14; wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Step {
            done: onboarding.hasKey
            title: done ? "Your API key is saved" : "Add an API key"
            detail: done ? "Corrections go straight to your provider with your own key."
                         : "Vesk talks to OpenAI or Anthropic with your own key. Add one in Settings, under AI & Privacy, or run `vesk key set openai` in a terminal."
        }
        Step {
            done: onboarding.canPostInput
            title: done ? "Vesk can copy and paste in your apps" : "Vesk can't send keystrokes here"
            detail: done ? "Your desktop lets Vesk copy the selection and paste the correction."
                         : onboarding.limitation
        }
        Item { Layout.fillHeight: true }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 12
            Button { text: "Open Settings"; onClicked: onboarding.openSettings() }
            Button { text: "Close"; onClicked: onboarding.close() }
        }
    }
}

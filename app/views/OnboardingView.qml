import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The first-launch guide.
Rectangle {
    id: root

    required property OnboardingModel onboarding
    // The provider and its key.
    required property ProviderConnection connection

    color: Theme.window
    implicitWidth: 560
    implicitHeight: 620

    readonly property int page: root.onboarding.page
    readonly property bool canContinue: page === 0 ? root.connection.hasSavedKey : page === 2 ? root.onboarding.practiced : true

    function advance() {
        if (!canContinue)
            return
        if (page === 3)
            root.onboarding.finish()
        else
            root.onboarding.next()
    }

    // Return moves on wherever it isn't typing: a single-line field passes it up once it has done its part.
    focus: true
    Keys.onReturnPressed: advance()
    Keys.onEnterPressed: advance()
    onPageChanged: {
        if (page !== 0 && page !== 2)
            root.forceActiveFocus()
    }
    // Once the key is saved its field goes away; Return then moves on.
    Connections {
        target: root.connection
        function onStateChanged() {
            if (root.connection.hasSavedKey && !root.connection.isEditing && root.page === 0)
                root.forceActiveFocus()
        }
    }
    Connections {
        target: root.onboarding
        function onPracticedChanged() {
            if (root.onboarding.practiced)
                root.forceActiveFocus()
        }
    }
    readonly property var titles: [qsTr("Connect your AI provider"), qsTr("Work in any app"), qsTr("Try it once"), qsTr("You're all set")]

    Column {
        id: heading

        x: 40
        y: 36
        width: parent.width - 80
        spacing: Theme.spacing

        Row {
            spacing: 6

            Repeater {
                model: root.onboarding.pageCount

                // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
                // qmllint disable unqualified
                Rectangle {
                    required property int index

                    width: index === root.page ? 22 : 8
                    height: 8
                    radius: 4
                    color: index <= root.page ? Theme.accent : Theme.pressed
                }
                // qmllint enable unqualified
            }
        }
        Text {
            topPadding: 14
            text: root.titles[root.page]
            color: Theme.text
            font.pixelSize: Theme.fontLargeTitle
            font.weight: Font.Bold
        }
    }

    Item {
        id: body

        anchors.top: heading.bottom
        anchors.topMargin: 20
        anchors.bottom: footer.top
        anchors.bottomMargin: 16
        x: 40
        width: parent.width - 80

        OnboardingProviderPage {
            anchors.fill: parent
            connection: root.connection
            visible: root.page === 0
            active: visible
        }
        OnboardingDesktopPage {
            anchors.fill: parent
            onboarding: root.onboarding
            visible: root.page === 1
        }
        OnboardingPracticePage {
            anchors.fill: parent
            onboarding: root.onboarding
            visible: root.page === 2
            active: visible
        }
        OnboardingDonePage {
            anchors.fill: parent
            onboarding: root.onboarding
            visible: root.page === 3
        }
    }

    Item {
        id: footer

        anchors.bottom: parent.bottom
        anchors.bottomMargin: 28
        x: 40
        width: parent.width - 80
        height: 32

        LinkButton {
            visible: root.page > 0 && root.page < 3
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Back")
            onClicked: root.onboarding.back()
        }
        Row {
            anchors.right: parent.right
            spacing: Theme.spacingMedium

            LinkButton {
                // The key can be added later in Settings; the practice needs a desktop that lets Vesk paste.
                visible: (root.page === 0 && !root.connection.hasSavedKey) || (root.page === 2 && !root.onboarding.practiced)
                anchors.verticalCenter: parent.verticalCenter
                text: root.page === 0 ? qsTr("Later") : qsTr("Skip")
                onClicked: root.onboarding.next()
            }
            PushButton {
                objectName: "continueButton"
                primary: true
                text: root.page === 3 ? qsTr("Start using Vesk") : qsTr("Continue")
                enabled: root.canContinue
                opacity: enabled ? 1 : 0.45
                focusPolicy: Qt.NoFocus
                onClicked: root.advance()
            }
        }
    }
}

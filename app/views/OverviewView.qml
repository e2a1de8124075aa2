import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The Overview section: four figures and the newest corrections, or a first-run invitation.
Item {
    id: root

    required property HomeModel home
    required property OverviewModel overview
    required property HistoryListModel recent
    required property HistoryActions historyActions

    property bool active: true

    onActiveChanged: {
        if (active) {
            root.overview.refresh()
            root.recent.refreshTimes()
        }
    }

    SectionHeader {
        id: header

        width: parent.width
        title: qsTr("Overview")

        LinkButton {
            text: qsTr("Write a new correction")
            onClicked: root.home.selection = "composer"
        }
    }

    Column {
        id: emptyState

        visible: root.overview.isEmpty
        anchors.centerIn: parent
        width: Math.min(parent.width, 420)
        spacing: Theme.spacingMedium

        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Make your first correction")
            color: Theme.text
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.overview.emptyMessage
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            topPadding: 8
            spacing: Theme.spacingMedium

            PushButton {
                text: qsTr("AI & Privacy")
                onClicked: root.home.selection = "settings"
            }
            PushButton {
                text: qsTr("Write")
                primary: true
                onClicked: root.home.selection = "composer"
            }
        }
    }

    Column {
        visible: !root.overview.isEmpty
        anchors.top: header.bottom
        anchors.topMargin: 20
        anchors.bottom: parent.bottom
        width: parent.width
        spacing: 22

        Row {
            id: cards

            width: parent.width
            spacing: Theme.spacingLarge

            Repeater {
                model: root.overview.figures

                // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
                // qmllint disable unqualified
                Rectangle {
                    required property var modelData

                    width: (cards.width - cards.spacing * 3) / 4
                    height: 92
                    radius: 10
                    color: Theme.card
                    border.width: 1
                    border.color: Theme.separator
                    Accessible.role: Accessible.StaticText
                    Accessible.name: modelData.value + " " + modelData.title

                    Column {
                        anchors.left: parent.left
                        anchors.leftMargin: 16
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: Theme.spacingSmall

                        Text {
                            text: modelData.value
                            color: Theme.text
                            font.pixelSize: Theme.fontFigure
                            font.weight: Font.DemiBold
                        }
                        Text {
                            text: modelData.title
                            color: Theme.textMuted
                            font.pixelSize: Theme.fontCaption
                        }
                    }
                }
                // qmllint enable unqualified
            }
        }

        Item {
            width: parent.width
            height: 26

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Recent")
                color: Theme.text
                font.pixelSize: Theme.fontHeading
                font.weight: Font.DemiBold
            }
            LinkButton {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("See all")
                onClicked: root.home.selection = "activity"
            }
        }

        ListView {
            id: recentList

            width: parent.width
            height: parent.height - cards.height - 26 - 2 * parent.spacing
            clip: true
            spacing: 2
            model: root.recent
            boundsBehavior: Flickable.StopAtBounds

            // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
            // qmllint disable unqualified
            delegate: HistoryRow {
                id: recentRow

                width: recentList.width
                timeBeside: true
                historyActions: root.historyActions
                onActivated: root.historyActions.open(recentRow.recordId)
            }
            // qmllint enable unqualified
        }
    }
}

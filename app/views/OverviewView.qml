import QtQuick
import QtQuick.Controls.Basic

// The Overview section: four figures and the newest corrections, or a first-run invitation.
// Context: `overview` (OverviewModel), `recent` (HistoryListModel), `historyActions`, `home`.
Item {
    id: root

    property bool active: true

    onActiveChanged: {
        if (active) {
            overview.refresh()
            recent.refreshTimes()
        }
    }

    SectionHeader {
        id: header

        width: parent.width
        title: "Overview"

        LinkButton {
            text: "Write a new correction"
            onClicked: home.selection = "composer"
        }
    }

    Column {
        id: emptyState

        visible: overview.isEmpty
        anchors.centerIn: parent
        width: Math.min(parent.width, 420)
        spacing: 10

        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Make your first correction"
            color: "#f5f5f7"
            font.pixelSize: 18
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: overview.emptyMessage
            color: "#8e8e93"
            font.pixelSize: 13
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            topPadding: 8
            spacing: 10

            PillButton {
                text: "AI & Privacy"
                onClicked: home.selection = "settings"
            }
            PillButton {
                text: "Write"
                prominent: true
                onClicked: home.selection = "composer"
            }
        }
    }

    Column {
        visible: !overview.isEmpty
        anchors.top: header.bottom
        anchors.topMargin: 20
        anchors.bottom: parent.bottom
        width: parent.width
        spacing: 22

        Row {
            id: cards

            width: parent.width
            spacing: 12

            Repeater {
                model: overview.figures

                Rectangle {
                    required property var modelData

                    width: (cards.width - cards.spacing * 3) / 4
                    height: 92
                    radius: 10
                    color: "#232325"
                    border.width: 1
                    border.color: "#2f2f32"
                    Accessible.role: Accessible.StaticText
                    Accessible.name: modelData.value + " " + modelData.title

                    Column {
                        anchors.left: parent.left
                        anchors.leftMargin: 16
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 4

                        Text {
                            text: modelData.value
                            color: "#f5f5f7"
                            font.pixelSize: 26
                            font.weight: Font.DemiBold
                        }
                        Text {
                            text: modelData.title
                            color: "#8e8e93"
                            font.pixelSize: 12
                        }
                    }
                }
            }
        }

        Item {
            width: parent.width
            height: 26

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: "Recent"
                color: "#f5f5f7"
                font.pixelSize: 15
                font.weight: Font.DemiBold
            }
            LinkButton {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: "See all"
                onClicked: home.selection = "activity"
            }
        }

        ListView {
            id: recentList

            width: parent.width
            height: parent.height - cards.height - 26 - 2 * parent.spacing
            clip: true
            spacing: 2
            model: recent
            boundsBehavior: Flickable.StopAtBounds

            delegate: HistoryRow {
                width: recentList.width
                recordId: model.recordId
                title: model.title
                detail: model.fixes
                trailing: model.time
                onActivated: historyActions.open(model.recordId)
            }
        }
    }
}

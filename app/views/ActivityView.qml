import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The Activity section: every correction newest first, searched on every keystroke, with the selected
// one's details beside the list.
Item {
    id: root

    required property HomeModel home
    required property HistoryListModel activity
    required property HistoryActions historyActions

    property bool active: true
    // The record selected in Activity, 0 for none (a qint64, which Qt 6.4's type files do not name).
    // qmllint disable type
    readonly property var selectedId: root.home.activitySelection
    // qmllint enable type
    readonly property var selected: {
        // Re-read when the selection or the history changes.
        root.activity.count
        return root.selectedId !== 0 ? root.activity.record(root.selectedId) : ({})
    }
    readonly property bool hasSelection: selected.recordId !== undefined

    onActiveChanged: {
        if (active) {
            root.activity.refreshTimes()
            // Opening a record from the overview scrolls it into view.
            const row = root.activity.rowOf(root.selectedId)
            if (row >= 0)
                list.positionViewAtIndex(row, ListView.Contain)
        }
    }

    SectionHeader {
        id: header

        width: parent.width
        title: qsTr("Activity")

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.activity.countText
            color: Theme.textMuted
            font.pixelSize: Theme.fontCaption
        }
        LinkButton {
            text: qsTr("Clear")
            enabled: root.activity.totalCount > 0
            opacity: enabled ? 1 : 0.4
            onClicked: confirmClear.open()
        }
    }

    Column {
        visible: root.activity.totalCount === 0
        anchors.centerIn: parent
        spacing: Theme.spacingMedium

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("No corrections yet")
            color: Theme.text
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Corrections you accept will appear here.")
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
        }
        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Write")
            primary: true
            onClicked: root.home.selection = "composer"
        }
    }

    Item {
        id: listPane

        visible: root.activity.totalCount > 0
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: parent.bottom
        width: Math.round(parent.width * 0.42)

        TextField {
            id: search

            width: parent.width
            placeholderText: qsTr("Search corrections")
            placeholderTextColor: Theme.textPlaceholder
            color: Theme.text
            font.pixelSize: Theme.fontBody
            leftPadding: 10
            Accessible.name: qsTr("Search corrections")
            text: root.activity.query
            onTextEdited: root.activity.query = text
            background: Rectangle {
                radius: 7
                color: Theme.card
                border.width: 1
                border.color: search.activeFocus ? Theme.accent : Theme.border
            }
        }

        ListView {
            id: list

            anchors.top: search.bottom
            anchors.topMargin: 10
            anchors.bottom: parent.bottom
            width: parent.width
            clip: true
            spacing: 2
            model: root.activity
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}

            // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
            // qmllint disable unqualified
            delegate: HistoryRow {
                id: activityRow

                width: list.width
                historyActions: root.historyActions
                selected: activityRow.recordId === root.selectedId
                onActivated: root.home.activitySelection = activityRow.recordId
            }
            // qmllint enable unqualified
        }

        Text {
            visible: root.activity.count === 0
            anchors.horizontalCenter: list.horizontalCenter
            y: list.y + 30
            text: qsTr("No matching corrections")
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
        }
    }

    Rectangle {
        id: detailPane

        visible: root.activity.totalCount > 0
        anchors.left: listPane.right
        anchors.leftMargin: 16
        anchors.right: parent.right
        anchors.top: listPane.top
        anchors.bottom: parent.bottom
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: Theme.separator

        Text {
            visible: !root.hasSelection
            anchors.centerIn: parent
            text: qsTr("Select a correction")
            color: Theme.textMuted
            font.pixelSize: Theme.fontBody
        }

        Flickable {
            id: detailScroll

            visible: root.hasSelection
            anchors.fill: parent
            anchors.margins: 18
            clip: true
            contentHeight: detail.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}

            Column {
                id: detail

                width: detailScroll.width
                spacing: 14

                Text {
                    text: root.selected.source ?? ""
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontCaption
                }
                DetailText {
                    label: qsTr("Original")
                    body: root.selected.original ?? ""
                    muted: true
                }
                DetailText {
                    label: qsTr("Correction")
                    body: root.selected.corrected ?? ""
                }
                Text {
                    visible: text !== ""
                    text: root.selected.settings ?? ""
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontCaption
                }
                Text {
                    width: parent.width
                    wrapMode: Text.Wrap
                    text: root.selected.detail ?? ""
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontCaption
                }
                Row {
                    spacing: Theme.spacing

                    PushButton {
                        text: qsTr("Copy")
                        onClicked: root.historyActions.copyCorrection(root.selectedId)
                    }
                    PushButton {
                        text: qsTr("Reuse")
                        onClicked: root.historyActions.reuseCorrection(root.selectedId)
                    }
                    PushButton {
                        text: qsTr("Rerun original")
                        onClicked: root.historyActions.rerunOriginal(root.selectedId)
                    }
                }
            }
        }
    }

    Dialog {
        id: confirmClear

        objectName: "confirmClear"

        anchors.centerIn: parent
        width: 360
        modal: true
        title: qsTr("Clear all activity?")
        padding: 20

        background: Rectangle {
            radius: 12
            color: Theme.raised
            border.width: 1
            border.color: Theme.pressed
        }
        header: Text {
            topPadding: 20
            leftPadding: 20
            rightPadding: 20
            text: confirmClear.title
            color: Theme.text
            font.pixelSize: Theme.fontHeading
            font.weight: Font.DemiBold
        }
        contentItem: Text {
            text: root.activity.clearMessage
            wrapMode: Text.Wrap
            color: Theme.textBody
            font.pixelSize: Theme.fontBody
        }
        footer: Row {
            layoutDirection: Qt.RightToLeft
            spacing: Theme.spacing
            rightPadding: 20
            bottomPadding: 20

            PushButton {
                text: qsTr("Clear")
                destructive: true
                onClicked: {
                    root.historyActions.clearAll()
                    confirmClear.close()
                }
            }
            PushButton {
                text: qsTr("Cancel")
                onClicked: confirmClear.close()
            }
        }
    }
}

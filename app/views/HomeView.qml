import QtQuick
import Vesk

// The home window: the section sidebar beside the selected section.
Rectangle {
    id: root

    required property HomeModel home
    required property ComposerModel composer
    required property OverviewModel overview
    required property HistoryListModel recent
    required property HistoryListModel activity
    required property HistoryActions historyActions
    required property SettingsModel settings

    readonly property string selectedSection: root.home.selection
    readonly property var sections: [
        { key: "overview", title: qsTr("Overview"), icon: "▦" },
        { key: "composer", title: qsTr("Write"), icon: "✎" },
        { key: "activity", title: qsTr("Activity"), icon: "◷" },
        { key: "settings", title: qsTr("Settings"), icon: "⚙" }
    ]

    implicitWidth: 920
    implicitHeight: 620
    color: Theme.window

    Rectangle {
        id: sidebar

        width: 210
        height: parent.height
        color: Theme.sidebar

        Rectangle {
            anchors.right: parent.right
            width: 1
            height: parent.height
            color: Theme.separator
        }

        Column {
            x: 12
            y: 18
            width: parent.width - 24
            spacing: 2

            Text {
                leftPadding: 10
                bottomPadding: 14
                text: "Vesk"
                color: Theme.text
                font.pixelSize: Theme.fontSubtitle
                font.weight: Font.Bold
            }

            Repeater {
                model: root.sections

                // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
                // qmllint disable unqualified
                SidebarRow {
                    required property var modelData

                    width: parent.width
                    icon: modelData.icon
                    title: modelData.title
                    selected: root.home.selection === modelData.key
                    onActivated: root.home.selection = modelData.key
                }
                // qmllint enable unqualified
            }
        }
    }

    Item {
        id: content

        anchors.left: sidebar.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.leftMargin: 28
        anchors.rightMargin: 28
        anchors.topMargin: 10
        anchors.bottomMargin: 24

        OverviewView {
            anchors.fill: parent
            home: root.home
            overview: root.overview
            recent: root.recent
            historyActions: root.historyActions
            visible: root.home.selection === "overview"
            active: visible
        }

        ComposerView {
            anchors.fill: parent
            composer: root.composer
            visible: root.home.selection === "composer"
            active: visible
        }

        ActivityView {
            anchors.fill: parent
            home: root.home
            activity: root.activity
            historyActions: root.historyActions
            visible: root.home.selection === "activity"
            active: visible
        }

        SettingsView {
            anchors.fill: parent
            settings: root.settings
            visible: root.home.selection === "settings"
        }
    }
}

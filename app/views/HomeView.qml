import QtQuick

// The home window: the section sidebar beside the selected section.
// Context: `home` (selection), `composer` (the Write section's model), `overview`, `recent` and `activity`
// (the history's figures and lists), `historyActions`, `settings` (the Settings section's model), `reduceMotion`.
Rectangle {
    id: root

    readonly property string selectedSection: home.selection
    readonly property var sections: [
        { key: "overview", title: "Overview", icon: "▦" },
        { key: "composer", title: "Write", icon: "✎" },
        { key: "activity", title: "Activity", icon: "◷" },
        { key: "settings", title: "Settings", icon: "⚙" }
    ]

    implicitWidth: 920
    implicitHeight: 620
    color: "#1c1c1e"

    Rectangle {
        id: sidebar

        width: 210
        height: parent.height
        color: "#232325"

        Rectangle {
            anchors.right: parent.right
            width: 1
            height: parent.height
            color: "#2f2f32"
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
                color: "#f5f5f7"
                font.pixelSize: 16
                font.weight: Font.Bold
            }

            Repeater {
                model: root.sections

                SidebarRow {
                    required property var modelData

                    width: parent.width
                    icon: modelData.icon
                    title: modelData.title
                    selected: home.selection === modelData.key
                    onActivated: home.selection = modelData.key
                }
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
            visible: home.selection === "overview"
            active: visible
        }

        ComposerView {
            anchors.fill: parent
            visible: home.selection === "composer"
            active: visible
        }

        ActivityView {
            anchors.fill: parent
            visible: home.selection === "activity"
            active: visible
        }

        SettingsView {
            anchors.fill: parent
            visible: home.selection === "settings"
        }
    }
}

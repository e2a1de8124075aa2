import QtQuick
import QtQuick.Controls.Basic

// The menu every recent and activity row shares.
Menu {
    id: menu

    property var recordId: 0

    MenuItem {
        text: "Copy Correction"
        onTriggered: historyActions.copyCorrection(menu.recordId)
    }
    MenuItem {
        text: "Copy Original"
        onTriggered: historyActions.copyOriginal(menu.recordId)
    }
    MenuSeparator {}
    MenuItem {
        text: "Rerun Original"
        onTriggered: historyActions.rerunOriginal(menu.recordId)
    }
    MenuItem {
        text: "Reuse Correction"
        onTriggered: historyActions.reuseCorrection(menu.recordId)
    }
}

import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The menu every recent and activity row shares.
Menu {
    id: menu

    required property HistoryActions historyActions
    property var recordId: 0

    MenuItem {
        text: qsTr("Copy Correction")
        onTriggered: menu.historyActions.copyCorrection(menu.recordId)
    }
    MenuItem {
        text: qsTr("Copy Original")
        onTriggered: menu.historyActions.copyOriginal(menu.recordId)
    }
    MenuSeparator {}
    MenuItem {
        text: qsTr("Rerun Original")
        onTriggered: menu.historyActions.rerunOriginal(menu.recordId)
    }
    MenuItem {
        text: qsTr("Reuse Correction")
        onTriggered: menu.historyActions.reuseCorrection(menu.recordId)
    }
}

import QtQuick
import QtQuick.Controls.Basic
import Vesk

// An on/off switch in the app's colours. Bind `checked` to the setting and write it back in `onToggled`.
Switch {
    id: control

    padding: 0
    implicitWidth: 38
    implicitHeight: 22
    focusPolicy: Qt.TabFocus

    indicator: Rectangle {
        width: 38
        height: 22
        radius: 11
        color: control.checked ? Theme.accent : Theme.fieldBorder
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.focusRing

        Rectangle {
            x: control.checked ? parent.width - width - 2 : 2
            y: 2
            width: 18
            height: 18
            radius: 9
            color: Theme.textOnAccent
        }
    }
    contentItem: Item {}
}

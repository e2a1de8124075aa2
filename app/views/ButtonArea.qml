import QtQuick

// What a button does, without how it looks: hover, press and click with the mouse, Space when it has the
// keyboard focus, and the accessible button role. Only Tab gives it the focus (when `focusPolicy` has
// Qt.TabFocus), never a click, so a click leaves the keyboard where it was. Plain Qt Quick, so the review
// panel that uses it loads no controls library and style.
Item {
    id: area

    property string text
    property int focusPolicy: Qt.TabFocus
    readonly property bool hovered: mouse.containsMouse
    readonly property bool down: mouse.containsPress || area.spacePressed
    // The focus ring shows only for the keyboard's focus, which is the only focus a button can get.
    readonly property bool visualFocus: activeFocus
    property bool spacePressed: false

    signal clicked

    activeFocusOnTab: (focusPolicy & Qt.TabFocus) !== 0

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: area.clicked()

    Keys.onPressed: event => {
        if (event.key === Qt.Key_Space && !event.isAutoRepeat) {
            area.spacePressed = true
            event.accepted = true
        }
    }
    Keys.onReleased: event => {
        if (event.key === Qt.Key_Space && !event.isAutoRepeat && area.spacePressed) {
            area.spacePressed = false
            event.accepted = true
            area.clicked()
        }
    }
    onActiveFocusChanged: if (!activeFocus) spacePressed = false

    MouseArea {
        id: mouse

        anchors.fill: parent
        hoverEnabled: true
        onClicked: area.clicked()
    }
}

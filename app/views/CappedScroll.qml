import QtQuick
import QtQuick.Controls.Basic

// Grows with its content up to `maxHeight`, then scrolls.
Flickable {
    id: scroll

    property real maxHeight: 280
    default property alias content: holder.data

    implicitHeight: Math.min(holder.childrenRect.height, maxHeight)
    contentWidth: width
    contentHeight: holder.childrenRect.height
    clip: true
    boundsBehavior: Flickable.StopAtBounds

    ScrollBar.vertical: ScrollBar {
        policy: scroll.contentHeight > scroll.height ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff
    }

    Item {
        id: holder

        width: scroll.width
    }
}

import QtQuick
import Vesk

// Grows with its content up to `maxHeight`, then scrolls, with a thin bar that shows while it moves or is
// pointed at (drag it, or press beside it to jump there).
Item {
    id: scroll

    property real maxHeight: 280
    default property alias content: holder.data

    implicitHeight: Math.min(holder.childrenRect.height, maxHeight)

    Flickable {
        id: flickable

        anchors.fill: parent
        contentWidth: width
        contentHeight: holder.childrenRect.height
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        Item {
            id: holder

            width: flickable.width
        }
    }

    Item {
        id: bar

        readonly property real padding: 2
        readonly property real track: height - 2 * padding
        readonly property bool active: flickable.movingVertically || barMouse.pressed || barMouse.containsMouse
        readonly property real size: flickable.visibleArea.heightRatio
        // Never shorter than the bar is wide; the rest of the track keeps the full scroll range.
        readonly property real thumbSize: Math.max(width / height, size)

        // Scrolls so the thumb's top is at `y` (as far as the track goes).
        function moveThumbTo(y) {
            const room = (1 - thumbSize) * track
            const share = room > 0 ? Math.max(0, Math.min(room, y - padding)) / room : 0
            flickable.contentY = share * (1 - size) * flickable.contentHeight
        }

        visible: flickable.contentHeight > flickable.height
        anchors.right: parent.right
        width: 10
        height: parent.height

        Rectangle {
            id: thumb

            x: bar.padding
            y: bar.padding + (bar.size < 1 ? flickable.visibleArea.yPosition / (1 - bar.size) * (1 - bar.thumbSize) * bar.track : 0)
            width: 6
            height: bar.thumbSize * bar.track
            radius: width / 2
            color: barMouse.pressed ? Theme.scrollThumbPressed : Theme.scrollThumb
            opacity: 0.0

            states: State {
                name: "active"
                when: bar.active
                PropertyChanges { thumb.opacity: 0.75 }
            }
            transitions: Transition {
                from: "active"
                SequentialAnimation {
                    PauseAnimation { duration: 450 }
                    NumberAnimation { target: thumb; property: "opacity"; duration: 200; to: 0.0 }
                }
            }
        }

        MouseArea {
            id: barMouse

            // Where in the thumb it was grabbed; a press beside it grabs it by the middle.
            property real grab: 0

            anchors.fill: parent
            hoverEnabled: true
            onPressed: mouse => {
                const onThumb = mouse.y >= thumb.y && mouse.y <= thumb.y + thumb.height
                grab = onThumb ? mouse.y - thumb.y : thumb.height / 2
                bar.moveThumbTo(mouse.y - grab)
            }
            onPositionChanged: mouse => {
                if (pressed)
                    bar.moveThumbTo(mouse.y - grab)
            }
        }
    }
}

import QtQuick
import Vesk

// A thin indeterminate progress line; a still, shorter line when motion is reduced.
Item {
    id: hairline

    property bool animated: true
    property color color: Theme.accent

    implicitHeight: 2
    clip: true

    Rectangle {
        anchors.fill: parent
        color: Theme.text
        opacity: 0.06
    }

    Rectangle {
        id: runner

        width: hairline.width * 0.3
        height: hairline.height
        radius: height / 2
        color: hairline.color
        x: hairline.animated ? -width : (hairline.width - width) / 2

        NumberAnimation on x {
            running: hairline.animated && hairline.width > 0
            from: -runner.width
            to: hairline.width
            duration: 1300
            loops: Animation.Infinite
            easing.type: Easing.InOutQuad
        }
    }
}

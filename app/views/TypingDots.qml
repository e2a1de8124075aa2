import QtQuick
import Vesk

// Three dots that pulse one after another while text is on its way; still when motion is reduced.
Row {
    id: dots

    property bool animated: true
    property color color: Theme.textMuted
    property int dotSize: 6

    spacing: Theme.spacingSmall

    // Three dots written out rather than repeated: the panel then needs no item models. The dot reaches ids
    // outside it, which Qt 6.4's qmllint takes for unqualified access.
    // qmllint disable unqualified
    component Dot: Rectangle {
        id: dot

        required property int index

        width: dots.dotSize
        height: dots.dotSize
        radius: dots.dotSize / 2
        color: dots.color
        // Still dots keep the stagger, so they still read as "in progress".
        opacity: dots.animated ? 0.3 : 0.35 + 0.25 * index

        SequentialAnimation on opacity {
            running: dots.animated
            loops: Animation.Infinite
            PauseAnimation { duration: dot.index * 160 }
            NumberAnimation { to: 1.0; duration: 320; easing.type: Easing.OutQuad }
            NumberAnimation { to: 0.3; duration: 320; easing.type: Easing.InQuad }
            PauseAnimation { duration: (2 - dot.index) * 160 + 200 }
        }
    }
    // qmllint enable unqualified

    Dot { index: 0 }
    Dot { index: 1 }
    Dot { index: 2 }
}

import QtQuick
import Vesk

// The review panel's content: header, the body of the session's phase, and the buttons with their keys.
Item {
    id: root

    required property SessionModel review
    required property ReviewActions actions
    // Whether a compositor draws the see-through corners and the shadow.
    required property bool composited

    readonly property string phase: root.review.phase
    readonly property bool hasCorrection: phase === "result" || phase === "noChanges"
    readonly property bool isWorking: phase === "reading" || phase === "writing" || root.review.isOverlaying
    // Room for the drawn shadow, which only a compositor can show.
    readonly property int shadowMargin: root.composited ? 14 : 0

    function primaryAction() {
        if (phase === "error")
            root.review.retry()
        else if (phase === "result" && !root.review.isOverlaying)
            root.actions.accept()
        else if (phase === "noChanges")
            root.actions.close()
    }

    function regenerate() {
        if (hasCorrection)
            root.review.regenerate()
    }

    implicitWidth: 640
    implicitHeight: body.implicitHeight + 2 * shadowMargin

    Shortcut {
        sequences: ["Return", "Enter"]
        onActivated: root.primaryAction()
    }
    Shortcut {
        sequence: "Escape"
        onActivated: root.actions.close()
    }
    Shortcut {
        sequence: "Ctrl+R"
        onActivated: root.regenerate()
    }

    // A soft shadow drawn as fading outlines; cheaper than an effect and good enough at this size. Built only
    // where a compositor can show it.
    Loader {
        active: root.composited
        // The component reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
        // qmllint disable unqualified
        sourceComponent: Repeater {
            model: root.shadowMargin

            Rectangle {
                required property int index

                x: root.shadowMargin - index
                y: root.shadowMargin - index + 3
                width: body.width + 2 * index
                height: body.height + 2 * index
                radius: 12 + index
                color: "transparent"
                border.width: 1
                border.color: Qt.rgba(0, 0, 0, 0.16 * Math.pow(1 - index / root.shadowMargin, 2))
            }
        }
        // qmllint enable unqualified
    }

    Rectangle {
        id: body

        x: root.shadowMargin
        y: root.shadowMargin
        width: root.width - 2 * root.shadowMargin
        height: root.height - 2 * root.shadowMargin
        implicitHeight: column.implicitHeight + 2 * 16
        radius: 12
        color: Theme.panel
        border.width: 1
        border.color: Theme.panelBorder

        // The whole background drags the panel around.
        DragHandler {
            target: null
            onActiveChanged: if (active) root.Window.window.startSystemMove()
        }

        Column {
            id: column

            x: 18
            y: 16
            width: body.width - 36
            spacing: Theme.spacingMedium

            // Header: title and close button, subtitle under them.
            Item {
                width: parent.width
                height: Math.max(titleLabel.implicitHeight, closeButton.height)

                Text {
                    id: titleLabel

                    anchors.verticalCenter: parent.verticalCenter
                    text: root.review.title
                    color: Theme.text
                    font.pixelSize: Theme.fontText
                    font.weight: Font.DemiBold
                }

                ButtonArea {
                    id: closeButton

                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    width: 22
                    height: 22
                    focusPolicy: Qt.NoFocus
                    text: qsTr("Close")
                    onClicked: root.actions.close()
                    onHoveredChanged: closeTip.due = false

                    Rectangle {
                        anchors.fill: parent
                        radius: 11
                        color: closeButton.down ? Theme.overlayPressed : closeButton.hovered ? Theme.overlayHover : Theme.overlay
                    }
                    Text {
                        anchors.fill: parent
                        text: "✕"
                        color: Theme.keycapText
                        font.pixelSize: Theme.fontSmall
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                    }
                }
            }

            Text {
                width: parent.width
                visible: text.length > 0
                text: root.review.subtitle
                color: Theme.textMuted
                font.pixelSize: Theme.fontCaption
                elide: Text.ElideRight
                topPadding: -6
            }

            ProgressHairline {
                objectName: "progressHairline"
                width: parent.width
                visible: root.phase === "writing" || root.review.isOverlaying
                animated: !Appearance.reduceMotion
            }

            // Body of the phase.
            Item {
                width: parent.width
                height: visible ? childrenRect.height : 0
                visible: root.phase === "reading"

                Row {
                    spacing: Theme.spacingMedium
                    topPadding: 6
                    bottomPadding: 6

                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: qsTr("Reading your selection…")
                        color: Theme.textBody
                        font.pixelSize: Theme.fontText
                    }
                    TypingDots {
                        objectName: "typingDots"
                        anchors.verticalCenter: parent.verticalCenter
                        animated: !Appearance.reduceMotion
                    }
                }
            }

            Text {
                width: parent.width
                visible: root.phase === "writing"
                text: root.review.streamingText
                color: Theme.textBody
                font.pixelSize: Theme.fontText
                lineHeight: 1.2
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
                maximumLineCount: 12
                elide: Text.ElideRight
            }

            CappedScroll {
                width: parent.width
                visible: root.phase === "result"
                maxHeight: 300

                DiffText {
                    width: parent.width
                    pieces: root.review.diffPieces
                }
            }

            SessionOutcome {
                width: parent.width
                session: root.review

                PushButton {
                    visible: root.review.offersOpenSettings
                    text: qsTr("Open Settings")
                    onClicked: root.actions.openSettings()
                }
            }

            // Footer: status on the left, buttons on the right.
            Item {
                width: parent.width
                height: buttons.height + 6

                Text {
                    anchors.left: parent.left
                    anchors.right: buttons.left
                    anchors.rightMargin: 12
                    anchors.verticalCenter: buttons.verticalCenter
                    text: root.review.isOverlaying ? qsTr("Writing the correction") : root.review.statusLine
                    color: Theme.textMuted
                    font.pixelSize: Theme.fontCaption
                    elide: Text.ElideRight
                }

                Row {
                    id: buttons

                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                    spacing: Theme.spacing

                    PushButton {
                        text: qsTr("Cancel")
                        hint: "esc"
                        onClicked: root.actions.close()
                    }
                    PushButton {
                        visible: root.hasCorrection
                        enabled: !root.review.isOverlaying
                        text: qsTr("Regenerate")
                        hint: "Ctrl R"
                        onClicked: root.regenerate()
                    }
                    PushButton {
                        visible: root.hasCorrection
                        enabled: !root.review.isOverlaying
                        primary: true
                        text: root.review.primaryTitle
                        hint: "↩"
                        onClicked: root.primaryAction()
                    }
                    PushButton {
                        visible: root.phase === "error"
                        primary: true
                        text: qsTr("Retry")
                        hint: "↩"
                        onClicked: root.review.retry()
                    }
                }
            }
        }
    }

    // The close button's tip, after a moment's hover. Under the button: there is no room above it.
    Rectangle {
        id: closeTip

        property bool due: false

        visible: due && closeButton.hovered
        width: tipText.implicitWidth + 12
        height: tipText.implicitHeight + 12
        color: Theme.tip
        border.color: Theme.tipBorder

        Text {
            id: tipText

            x: 6
            y: 6
            text: closeButton.text
            color: Theme.tipText
        }

        Timer {
            interval: 600
            running: closeButton.hovered && !closeTip.due
            onTriggered: {
                // Centred under the button, kept 6 px inside the window.
                const below = closeButton.mapToItem(root, closeButton.width / 2, closeButton.height)
                closeTip.x = Math.max(6, Math.min(root.width - closeTip.width - 6, below.x - closeTip.width / 2))
                closeTip.y = below.y + 3
                closeTip.due = true
            }
        }
    }
}

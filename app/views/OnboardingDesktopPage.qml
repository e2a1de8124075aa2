import QtQuick
import Vesk

// Whether this desktop lets Vesk copy the selection and paste the correction in other apps, and what to do
// when it doesn't.
Column {
    id: page

    required property OnboardingModel onboarding

    spacing: Theme.spacingWide

    Timer {
        interval: 1000
        repeat: true
        running: page.visible
        onTriggered: page.onboarding.refreshDesktop()
    }

    Text {
        width: parent.width
        wrapMode: Text.Wrap
        text: qsTr("Vesk copies the text you select, and pastes the correction over it, by sending the copy and ")
              + "paste keys to the app you're in."
        color: Theme.textSoft
        font.pixelSize: Theme.fontText
        lineHeight: 1.2
    }

    Rectangle {
        width: parent.width
        height: status.implicitHeight + 32
        radius: 10
        color: Theme.card
        border.width: 1
        border.color: page.onboarding.canPostInput ? Theme.successBorder : Theme.warningBorder

        Row {
            id: status

            x: 16
            y: 16
            width: parent.width - 32
            spacing: Theme.spacingLarge

            StatusSymbol {
                glyph: page.onboarding.canPostInput ? "\u2713" : "!"
                tint: page.onboarding.canPostInput ? Theme.success : Theme.warning
            }
            Column {
                width: parent.width - 40
                spacing: Theme.spacingSmall

                Text {
                    width: parent.width
                    wrapMode: Text.Wrap
                    text: page.onboarding.canPostInput ? qsTr("Vesk can copy and paste in your apps")
                                                  : qsTr("Vesk can't send keystrokes here")
                    color: Theme.text
                    font.pixelSize: Theme.fontText
                    font.weight: Font.DemiBold
                }
                Text {
                    width: parent.width
                    wrapMode: Text.Wrap
                    text: !page.onboarding.canPostInput ? page.onboarding.limitation
                          : page.onboarding.shortcutNote !== "" ? page.onboarding.shortcutNote
                          : qsTr("Select text anywhere and press %1.").arg(page.onboarding.shortcutText)
                    color: Theme.textSoft
                    font.pixelSize: Theme.fontBody
                }
            }
        }
    }

    Text {
        visible: !page.onboarding.canPostInput
        width: parent.width
        wrapMode: Text.Wrap
        textFormat: Text.StyledText
        color: Theme.textSoft
        font.pixelSize: Theme.fontBody
        lineHeight: 1.25
        text: (page.onboarding.isWayland
               ? "What still works here: the Write window (from the tray menu) and <tt>vesk correct</tt> in a "
                 + "terminal. Vesk corrects in place on sway and other wlroots desktops, and in an X11 session "
                 + "(for example \u201cGNOME on Xorg\u201d).<br><br>"
               : "")
              + "To reach Vesk from the keyboard without the global shortcut, bind the command "
              + "<tt>vesk fix</tt> to a key in your desktop's keyboard settings: GNOME Settings \u2192 Keyboard \u2192 "
              + "Custom Shortcuts, or KDE System Settings \u2192 Shortcuts \u2192 Custom Shortcuts, or a "
              + "<tt>bindsym</tt> line in your sway or i3 configuration."
    }
}

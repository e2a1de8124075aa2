import QtQuick
import QtQuick.Controls.Basic
import Vesk

// A drop-down of {value, label, menuLabel, note} options: the control shows the short label, the menu the
// longer one and any note. `picked` says which value the user chose; bind `value` to the setting.
ComboBox {
    id: picker

    property var options: []
    property string value: ""
    signal picked(string value)

    implicitWidth: 230
    implicitHeight: 28
    model: options
    textRole: "label"
    currentIndex: options.findIndex(option => option.value === value)
    onActivated: index => picker.picked(options[index].value)

    background: Rectangle {
        radius: 7
        color: picker.down ? Theme.pressed : picker.hovered ? Theme.border : Theme.raised
        border.width: 1
        border.color: picker.visualFocus ? Theme.accent : Theme.fieldBorder
    }
    contentItem: Text {
        leftPadding: 10
        rightPadding: 24
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        text: picker.displayText
        color: Theme.text
        font.pixelSize: Theme.fontBody
    }
    indicator: Text {
        x: picker.width - width - 9
        anchors.verticalCenter: parent.verticalCenter
        text: "⌄"
        color: Theme.textMuted
        font.pixelSize: Theme.fontCaption
    }
    // The delegate reaches ids outside it, which Qt 6.4's qmllint takes for unqualified access.
    // qmllint disable unqualified
    delegate: ItemDelegate {
        id: option

        required property var modelData
        required property int index

        width: picker.popup.width
        highlighted: picker.highlightedIndex === index
        contentItem: Column {
            spacing: 2

            Text {
                text: (option.index === picker.currentIndex ? "✓ " : "   ")
                      + (option.modelData.menuLabel || option.modelData.label)
                color: Theme.text
                font.pixelSize: Theme.fontBody
            }
            Text {
                visible: (option.modelData.note || "") !== ""
                leftPadding: 14
                text: option.modelData.note || ""
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
            }
        }
        background: Rectangle {
            radius: 5
            color: option.highlighted ? Theme.selection : "transparent"
        }
    }
    // qmllint enable unqualified
    popup: Popup {
        y: picker.height + 2
        width: Math.max(picker.width, 240)
        implicitHeight: contentItem.implicitHeight + 8
        padding: 4

        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            // Qt 6.4's type files do not name the delegate model's type.
            // qmllint disable type
            model: picker.popup.visible ? picker.delegateModel : null
            // qmllint enable type
            currentIndex: picker.highlightedIndex
        }
        background: Rectangle {
            radius: 8
            color: Theme.raised
            border.width: 1
            border.color: Theme.fieldBorder
        }
    }
}

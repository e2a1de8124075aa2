import QtQuick
import QtQuick.Controls.Basic
import Vesk

// The Settings section: General, Writing, AI & Privacy and Help, then the version. Every control takes
// effect at once.
Item {
    id: root

    required property SettingsModel settings

    readonly property ProviderConnection connection: root.settings.connection
    property bool showsAdvanced: root.settings.baseAddress !== ""

    // The note of the option whose value is `value`, empty when none has one.
    function noteOf(options, value) {
        for (let i = 0; i < options.length; ++i) {
            if (options[i].value === value)
                return options[i].note || ""
        }
        return ""
    }

    SectionHeader {
        id: header

        width: parent.width
        title: qsTr("Settings")
    }

    ScrollView {
        id: scroller

        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        contentWidth: availableWidth
        clip: true

        Column {
            width: scroller.availableWidth - 14
            topPadding: 18
            bottomPadding: 24
            spacing: 22

            SettingsGroup {
                title: qsTr("General")

                SettingsRow {
                    title: qsTr("Correction shortcut")
                    note: qsTr("Select text in any app, then press it.")

                    ShortcutRecorderField {
                        recorder: root.settings.shortcutRecorder
                    }
                }
                SettingsRow {
                    title: qsTr("Review before replacing")
                    note: qsTr("Turn off to replace right away.")

                    ToggleSwitch {
                        Accessible.name: qsTr("Review before replacing")
                        checked: root.settings.reviewBeforeReplacing
                        onToggled: root.settings.reviewBeforeReplacing = checked
                    }
                }
                SettingsRow {
                    title: qsTr("Launch at login")
                    note: qsTr("Start Vesk when you log in.")

                    ToggleSwitch {
                        Accessible.name: qsTr("Launch at login")
                        checked: root.settings.launchAtLogin.enabled
                        onToggled: root.settings.launchAtLogin.enabled = checked
                    }
                }
            }

            SettingsGroup {
                title: qsTr("Writing")

                SettingsRow {
                    title: qsTr("Style")
                    note: qsTr("Grammar fixes mistakes. Polish also smooths phrasing.")

                    OptionPicker {
                        Accessible.name: qsTr("Strength")
                        options: root.settings.strengthOptions
                        value: root.settings.strength
                        onPicked: value => root.settings.strength = value
                    }
                }
                SettingsRow {
                    title: qsTr("Tone")
                    note: qsTr("Voice of the corrected text.")

                    OptionPicker {
                        Accessible.name: qsTr("Tone")
                        options: root.settings.toneOptions
                        value: root.settings.tone
                        onPicked: value => root.settings.tone = value
                    }
                }
                SettingsRow {
                    title: qsTr("Language")
                    note: qsTr("Replies in the language you wrote in.")

                    OptionPicker {
                        Accessible.name: qsTr("Language")
                        options: root.settings.languageOptions
                        value: root.settings.language
                        onPicked: value => root.settings.language = value
                    }
                }
                SettingsRow {
                    title: qsTr("Never change meaning")
                    note: qsTr("Vesk won't add or remove content.")

                    ToggleSwitch {
                        Accessible.name: qsTr("Never change meaning")
                        checked: root.settings.meaningLock
                        onToggled: root.settings.meaningLock = checked
                    }
                }
                SettingsRow {
                    title: qsTr("Custom rules")
                    note: qsTr("Extra guidance Vesk follows on every correction.")
                    stacked: true

                    Column {
                        width: parent.width
                        spacing: 6

                        Rectangle {
                            width: parent.width
                            height: 96
                            radius: 8
                            color: Theme.raised
                            border.width: 1
                            border.color: rulesField.activeFocus ? Theme.accent : Theme.fieldBorder

                            ScrollView {
                                anchors.fill: parent
                                anchors.margins: 1

                                TextArea {
                                    id: rulesField

                                    text: root.settings.customRules
                                    onTextChanged: root.settings.customRules = text
                                    placeholderText: qsTr("e.g. Never use em dashes. Keep \"LGTM\" as-is.")
                                    placeholderTextColor: Theme.textPlaceholder
                                    Accessible.name: qsTr("Custom rules")
                                    wrapMode: TextEdit.Wrap
                                    color: Theme.text
                                    selectionColor: Theme.selection
                                    selectedTextColor: Theme.textOnAccent
                                    font.pixelSize: Theme.fontBody
                                    padding: 8
                                    background: null
                                }
                            }
                        }
                        Text {
                            width: parent.width
                            horizontalAlignment: Text.AlignRight
                            text: root.settings.customRulesCount
                            color: Theme.textMuted
                            font.pixelSize: Theme.fontSmall
                        }
                    }
                }
            }

            SettingsGroup {
                title: qsTr("AI & Privacy")

                SettingsRow {
                    title: qsTr("Provider")
                    note: qsTr("Anthropic's Claude is recommended.")

                    OptionPicker {
                        Accessible.name: qsTr("Provider")
                        options: root.settings.providerOptions
                        value: root.connection.provider
                        onPicked: value => root.connection.provider = value
                    }
                }
                SettingsRow {
                    title: qsTr("Model")
                    note: root.settings.modelIsFree ? qsTr("Any model the server at the base address offers.")
                                               : root.noteOf(root.settings.modelOptions, root.settings.model)

                    OptionPicker {
                        visible: !root.settings.modelIsFree
                        Accessible.name: qsTr("Model")
                        options: root.settings.modelOptions
                        value: root.settings.model
                        onPicked: value => root.settings.model = value
                    }
                    Rectangle {
                        visible: root.settings.modelIsFree
                        width: 230
                        height: 28
                        radius: 7
                        color: Theme.raised
                        border.width: 1
                        border.color: modelField.activeFocus ? Theme.accent : Theme.fieldBorder

                        TextField {
                            id: modelField

                            anchors.fill: parent
                            leftPadding: 10
                            rightPadding: 10
                            text: root.settings.model
                            onTextEdited: root.settings.model = text
                            Accessible.name: qsTr("Model")
                            color: Theme.text
                            selectionColor: Theme.selection
                            font.pixelSize: Theme.fontBody
                            background: null
                        }
                    }
                }
                SettingsRow {
                    title: qsTr("API key")
                    stacked: true

                    ProviderKeyEntry {
                        width: parent.width
                        connection: root.connection
                    }
                }
                SettingsRow {
                    note: root.settings.privacyNote
                }
                SettingsRow {
                    title: qsTr("Base address")
                    note: (root.connection.provider === "openai"
                           ? "For OpenAI-compatible servers such as Ollama, LM Studio or vLLM."
                           : "For a gateway or proxy that speaks Anthropic's API.")
                          + " Leave it empty to use " + root.connection.providerName + " directly."
                    stacked: true

                    Column {
                        width: parent.width
                        spacing: 6

                        LinkButton {
                            visible: !root.showsAdvanced
                            text: qsTr("Use another server…")
                            onClicked: root.showsAdvanced = true
                        }
                        Rectangle {
                            visible: root.showsAdvanced
                            width: Math.min(parent.width, 460)
                            height: 30
                            radius: 7
                            color: Theme.raised
                            border.width: 1
                            border.color: root.settings.baseAddressError !== "" ? Theme.dangerText
                                        : addressField.activeFocus ? Theme.accent : Theme.fieldBorder

                            TextField {
                                id: addressField

                                anchors.fill: parent
                                leftPadding: 10
                                rightPadding: 10
                                text: root.settings.baseAddress
                                onTextEdited: root.settings.baseAddress = text
                                placeholderText: qsTr("http://localhost:11434/v1")
                                placeholderTextColor: Theme.textPlaceholder
                                Accessible.name: qsTr("Base address")
                                color: Theme.text
                                selectionColor: Theme.selection
                                font.pixelSize: Theme.fontBody
                                background: null
                            }
                        }
                        Text {
                            visible: root.settings.baseAddressError !== ""
                            width: parent.width
                            wrapMode: Text.WordWrap
                            text: root.settings.baseAddressError
                            color: Theme.dangerText
                            font.pixelSize: Theme.fontCaption
                        }
                    }
                }
            }

            SettingsGroup {
                title: qsTr("Help")

                SettingsRow {
                    title: qsTr("Contact support")
                    note: qsTr("Questions, ideas or bugs.")

                    LinkButton {
                        text: qsTr("Email Vesk support ↗")
                        onClicked: root.settings.contactSupport()
                    }
                }
            }

            Text {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.settings.versionText
                color: Theme.textPlaceholder
                font.pixelSize: Theme.fontSmall
            }
        }
    }
}

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
        title: "Settings"
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
                title: "General"

                SettingsRow {
                    title: "Correction shortcut"
                    note: "Select text in any app, then press it."

                    ShortcutRecorderField {
                        recorder: root.settings.shortcutRecorder
                    }
                }
                SettingsRow {
                    title: "Review before replacing"
                    note: "Turn off to replace right away."

                    ToggleSwitch {
                        Accessible.name: "Review before replacing"
                        checked: root.settings.reviewBeforeReplacing
                        onToggled: root.settings.reviewBeforeReplacing = checked
                    }
                }
                SettingsRow {
                    title: "Launch at login"
                    note: "Start Vesk when you log in."

                    ToggleSwitch {
                        Accessible.name: "Launch at login"
                        checked: root.settings.launchAtLogin.enabled
                        onToggled: root.settings.launchAtLogin.enabled = checked
                    }
                }
            }

            SettingsGroup {
                title: "Writing"

                SettingsRow {
                    title: "Style"
                    note: "Grammar fixes mistakes. Polish also smooths phrasing."

                    OptionPicker {
                        Accessible.name: "Strength"
                        options: root.settings.strengthOptions
                        value: root.settings.strength
                        onPicked: value => root.settings.strength = value
                    }
                }
                SettingsRow {
                    title: "Tone"
                    note: "Voice of the corrected text."

                    OptionPicker {
                        Accessible.name: "Tone"
                        options: root.settings.toneOptions
                        value: root.settings.tone
                        onPicked: value => root.settings.tone = value
                    }
                }
                SettingsRow {
                    title: "Language"
                    note: "Replies in the language you wrote in."

                    OptionPicker {
                        Accessible.name: "Language"
                        options: root.settings.languageOptions
                        value: root.settings.language
                        onPicked: value => root.settings.language = value
                    }
                }
                SettingsRow {
                    title: "Never change meaning"
                    note: "Vesk won't add or remove content."

                    ToggleSwitch {
                        Accessible.name: "Never change meaning"
                        checked: root.settings.meaningLock
                        onToggled: root.settings.meaningLock = checked
                    }
                }
                SettingsRow {
                    title: "Custom rules"
                    note: "Extra guidance Vesk follows on every correction."
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
                                    placeholderText: "e.g. Never use em dashes. Keep \"LGTM\" as-is."
                                    placeholderTextColor: Theme.textPlaceholder
                                    Accessible.name: "Custom rules"
                                    wrapMode: TextEdit.Wrap
                                    color: Theme.text
                                    selectionColor: Theme.selection
                                    selectedTextColor: Theme.textOnAccent
                                    font.pixelSize: 13
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
                            font.pixelSize: 11
                        }
                    }
                }
            }

            SettingsGroup {
                title: "AI & Privacy"

                SettingsRow {
                    title: "Provider"
                    note: "Anthropic's Claude is recommended."

                    OptionPicker {
                        Accessible.name: "Provider"
                        options: root.settings.providerOptions
                        value: root.connection.provider
                        onPicked: value => root.connection.provider = value
                    }
                }
                SettingsRow {
                    title: "Model"
                    note: root.settings.modelIsFree ? "Any model the server at the base address offers."
                                               : root.noteOf(root.settings.modelOptions, root.settings.model)

                    OptionPicker {
                        visible: !root.settings.modelIsFree
                        Accessible.name: "Model"
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
                            Accessible.name: "Model"
                            color: Theme.text
                            selectionColor: Theme.selection
                            font.pixelSize: 13
                            background: null
                        }
                    }
                }
                SettingsRow {
                    title: "API key"
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
                    title: "Base address"
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
                            text: "Use another server…"
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
                                placeholderText: "http://localhost:11434/v1"
                                placeholderTextColor: Theme.textPlaceholder
                                Accessible.name: "Base address"
                                color: Theme.text
                                selectionColor: Theme.selection
                                font.pixelSize: 13
                                background: null
                            }
                        }
                        Text {
                            visible: root.settings.baseAddressError !== ""
                            width: parent.width
                            wrapMode: Text.WordWrap
                            text: root.settings.baseAddressError
                            color: Theme.dangerText
                            font.pixelSize: 12
                        }
                    }
                }
            }

            SettingsGroup {
                title: "Help"

                SettingsRow {
                    title: "Contact support"
                    note: "Questions, ideas or bugs."

                    LinkButton {
                        text: "Email Vesk support ↗"
                        onClicked: root.settings.contactSupport()
                    }
                }
            }

            Text {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: root.settings.versionText
                color: Theme.textPlaceholder
                font.pixelSize: 11
            }
        }
    }
}

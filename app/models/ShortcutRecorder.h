#pragma once

// The recorder control's model: listens for a new shortcut for one name, checks it, and stores it. While
// it listens the shortcuts are paused, so pressing the current one records it instead of starting a
// correction.

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>

namespace vesk::app {

class ShortcutSettings;

class ShortcutRecorder : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY changed)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY changed)
    Q_PROPERTY(bool recording READ isRecording NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)

public:
    ShortcutRecorder(ShortcutSettings& settings, QString name, QObject* parent = nullptr);
    ~ShortcutRecorder() override;

    // "Alt+G", or empty when the name has no shortcut.
    [[nodiscard]] QString shortcutText() const;
    // "Press Shortcut" while listening, "Record Shortcut" otherwise.
    [[nodiscard]] QString placeholder() const;
    [[nodiscard]] bool isRecording() const { return m_recording; }
    // Why the last recorded shortcut was refused; otherwise why the shortcut isn't active (another program
    // holds it, or the desktop gives shortcuts only to commands); empty when all is well.
    [[nodiscard]] QString error() const;

    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();
    // A key press while listening (Qt key and modifiers). Bare modifiers wait for a key; Escape alone stops.
    Q_INVOKABLE void keyPressed(int key, int modifiers);
    // The field's clear button: no shortcut for the name.
    Q_INVOKABLE void clear();

signals:
    void changed();

private:
    ShortcutSettings& m_settings;
    QString m_name;
    bool m_recording = false;
    QString m_error;
};

} // namespace vesk::app

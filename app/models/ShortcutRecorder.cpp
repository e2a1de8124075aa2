#include "app/models/ShortcutRecorder.h"

#include "app/services/ShortcutSettings.h"

namespace vesk::app {

ShortcutRecorder::ShortcutRecorder(ShortcutSettings& settings, QString name, QObject* parent)
    : QObject(parent), m_settings(settings), m_name(std::move(name))
{
    connect(&m_settings, &ShortcutSettings::shortcutChanged, this, [this](const QString& changedName) {
        if (changedName == m_name) {
            emit changed();
        }
    });
}

ShortcutRecorder::~ShortcutRecorder()
{
    if (m_recording) {
        m_settings.setRecording(false);
    }
}

QString ShortcutRecorder::shortcutText() const
{
    const auto combination = m_settings.shortcut(m_name);
    return combination ? combination->displayText() : QString();
}

QString ShortcutRecorder::placeholder() const
{
    return m_recording ? tr("Press Shortcut") : tr("Record Shortcut");
}

QString ShortcutRecorder::error() const
{
    return m_error.isEmpty() ? m_settings.registrationError(m_name) : m_error;
}

void ShortcutRecorder::start()
{
    if (m_recording) {
        return;
    }
    m_recording = true;
    m_error.clear();
    m_settings.setRecording(true);
    emit changed();
}

void ShortcutRecorder::stop()
{
    if (!m_recording) {
        return;
    }
    m_recording = false;
    m_settings.setRecording(false);
    emit changed();
}

void ShortcutRecorder::keyPressed(int key, int modifiers)
{
    if (!m_recording || KeyCombination::isModifierKey(key)) {
        return;
    }
    const auto held = Qt::KeyboardModifiers(modifiers) &
                      (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (key == Qt::Key_Escape && held == Qt::NoModifier) {
        stop();
        return;
    }
    // Stop listening first: recording grabs the keys for real to learn whether another program holds them.
    stop();
    QString reason;
    if (!m_settings.record(m_name, KeyCombination{key, held}, &reason)) {
        m_error = reason;
        emit changed();
    }
}

void ShortcutRecorder::clear()
{
    m_error.clear();
    m_settings.setShortcut(m_name, std::nullopt);
    emit changed();
}

} // namespace vesk::app

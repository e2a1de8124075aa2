#pragma once

// The first-launch window. For now it says plainly what stands between the user and a first
// correction: a provider key, and a session where Vesk can send keystrokes.

#include <QObject>
#include <QString>
#include <memory>

class QQuickView;

namespace vesk::app {

class OnboardingWindow : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool hasKey READ hasKey NOTIFY stateChanged)
    Q_PROPERTY(bool canPostInput READ canPostInput NOTIFY stateChanged)
    Q_PROPERTY(QString limitation READ limitation NOTIFY stateChanged)

public:
    explicit OnboardingWindow(QObject* parent = nullptr);
    ~OnboardingWindow() override;

    // Shows the window with what is known now, rebuilt fresh each time.
    void show(bool hasKey, bool canPostInput, const QString& limitation);
    [[nodiscard]] bool isVisible() const;

    [[nodiscard]] bool hasKey() const { return m_hasKey; }
    [[nodiscard]] bool canPostInput() const { return m_canPostInput; }
    [[nodiscard]] QString limitation() const { return m_limitation; }

    Q_INVOKABLE void openSettings() { emit settingsRequested(); }
    Q_INVOKABLE void close();

signals:
    void stateChanged();
    void settingsRequested();

private:
    std::unique_ptr<QQuickView> m_view;
    bool m_hasKey = false;
    bool m_canPostInput = false;
    QString m_limitation;
};

} // namespace vesk::app

#pragma once

// The desktop's look as the views see it: the colour scheme (Theme.qml picks its palette by it) and the
// wish for less motion. One app-wide instance, shared by every window's QML engine.

#include "app/platform/ColorScheme.h"
#include "app/platform/DesktopAppearance.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace vesk::app {

class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY darkChanged)
    // Read as a window is built, and every window is built when it opens.
    Q_PROPERTY(bool reduceMotion READ reduceMotion CONSTANT)

public:
    // The app's instance, made on first use.
    [[nodiscard]] static Appearance& instance();
    // What every QML engine gets for `Appearance`: the app's instance, which stays the app's.
    [[nodiscard]] static Appearance* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    [[nodiscard]] bool isDark() const { return m_colorScheme.scheme() == ColorScheme::Scheme::dark; }
    [[nodiscard]] bool reduceMotion() const;
    // Where the wish for less motion comes from: the platform's appearance, pointed at while any window lives, so a
    // desktop that has gone with its windows (a test's, say) is never asked.
    class DesktopLink
    {
    public:
        explicit DesktopLink(DesktopAppearance& desktop)
        {
            instance().m_desktop = &desktop;
            ++instance().m_desktopLinks;
        }
        ~DesktopLink()
        {
            if (--instance().m_desktopLinks == 0) {
                instance().m_desktop = nullptr;
            }
        }
        DesktopLink(const DesktopLink&) = delete;
        DesktopLink& operator=(const DesktopLink&) = delete;
    };
    // For screenshots of both palettes; the desktop's next change of preference takes over again.
    void setScheme(ColorScheme::Scheme scheme) { m_colorScheme.setScheme(scheme); }

signals:
    void darkChanged();

private:
    Appearance();

    ColorScheme m_colorScheme;
    DesktopAppearance* m_desktop = nullptr;
    int m_desktopLinks = 0;
};

} // namespace vesk::app

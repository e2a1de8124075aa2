#include "app/models/Appearance.h"

#include <QCoreApplication>
#include <QJSEngine>

namespace vesk::app {

Appearance::Appearance() : QObject(QCoreApplication::instance())
{
    connect(&m_colorScheme, &ColorScheme::changed, this, &Appearance::darkChanged);
}

Appearance& Appearance::instance()
{
    // Parented to the application, which deletes it on the way out.
    static Appearance* const appearance = new Appearance();
    return *appearance;
}

Appearance* Appearance::create(QQmlEngine* /*engine*/, QJSEngine* /*scriptEngine*/)
{
    Appearance* appearance = &instance();
    QJSEngine::setObjectOwnership(appearance, QJSEngine::CppOwnership);
    return appearance;
}

bool Appearance::reduceMotion() const
{
    return m_desktop != nullptr && m_desktop->prefersReducedMotion();
}

} // namespace vesk::app

#pragma once

// The home window's navigation: which section the sidebar shows.

#include "app/common/HomeSection.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>

namespace vesk::app {

class HomeModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    // The selected section's raw value: "overview", "composer", "activity" or "settings".
    Q_PROPERTY(QString selection READ selection WRITE setSelection NOTIFY selectionChanged)
    // The history record selected in Activity, 0 for none.
    Q_PROPERTY(
        qint64 activitySelection READ activitySelection WRITE setActivitySelection NOTIFY activitySelectionChanged)

public:
    using QObject::QObject;

    [[nodiscard]] static QString rawValue(HomeSection section);
    [[nodiscard]] static std::optional<HomeSection> fromRawValue(const QString& raw);

    [[nodiscard]] HomeSection section() const { return m_section; }
    void select(HomeSection section);

    [[nodiscard]] QString selection() const { return rawValue(m_section); }
    // Unknown raw values are ignored.
    void setSelection(const QString& raw);

    [[nodiscard]] qint64 activitySelection() const { return m_activitySelection; }
    void setActivitySelection(qint64 recordId);

signals:
    void selectionChanged();
    void activitySelectionChanged();

private:
    HomeSection m_section = HomeSection::overview;
    qint64 m_activitySelection = 0;
};

} // namespace vesk::app

#include "app/models/HomeModel.h"

#include <array>
#include <utility>

namespace vesk::app {

namespace {

constexpr std::array<std::pair<HomeSection, const char*>, 4> sections{{
    {HomeSection::overview, "overview"},
    {HomeSection::composer, "composer"},
    {HomeSection::activity, "activity"},
    {HomeSection::settings, "settings"},
}};

} // namespace

QString HomeModel::rawValue(HomeSection section)
{
    for (const auto& [value, raw] : sections) {
        if (value == section) {
            return QString::fromLatin1(raw);
        }
    }
    return QStringLiteral("overview");
}

std::optional<HomeSection> HomeModel::fromRawValue(const QString& raw)
{
    for (const auto& [value, name] : sections) {
        if (raw == QLatin1String(name)) {
            return value;
        }
    }
    return std::nullopt;
}

void HomeModel::select(HomeSection section)
{
    if (m_section == section) {
        return;
    }
    m_section = section;
    emit selectionChanged();
}

void HomeModel::setSelection(const QString& raw)
{
    if (const std::optional<HomeSection> section = fromRawValue(raw)) {
        select(*section);
    }
}

void HomeModel::setActivitySelection(qint64 recordId)
{
    if (m_activitySelection == recordId) {
        return;
    }
    m_activitySelection = recordId;
    emit activitySelectionChanged();
}

} // namespace vesk::app

#include "app/services/AppSettings.h"
#include "app/common/Logging.h"
#include "app/services/PrivateFiles.h"

#include "app/common/AppIdentity.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QSettings>

namespace vesk::app {


AppSettings::AppSettings(std::unique_ptr<QSettings> storage, QObject* parent)
    : QObject(parent),
      m_storage(storage ? std::move(storage) : std::make_unique<QSettings>(organizationName, applicationName))
{
    const QByteArray stored = m_storage->value(storageKey).toByteArray();
    if (stored.isEmpty()) {
        return;
    }
    const Json json = Json::parse(stored.begin(), stored.end(), nullptr, /*allow_exceptions=*/false);
    auto decoded = appSettingsFromJson(json);
    if (decoded) {
        m_snapshot = std::move(decoded).value();
    } else {
        qCDebug(lcSettings) << "stored settings ignored:" << QString::fromStdString(decoded.error());
    }
}

AppSettings::~AppSettings() = default;

template <typename Mutate> void AppSettings::update(Mutate mutate)
{
    AppSettingsSnapshot next = m_snapshot;
    mutate(next);
    const bool different = !(next == m_snapshot);
    m_snapshot = std::move(next);
    if (different) {
        emit changed();
    }
    save();
}

void AppSettings::save()
{
    // Never throws: text that is not UTF-8 (it cannot come from the settings pages) is stored replaced.
    const std::string encoded = toJson(m_snapshot).dump(-1, ' ', false, Json::error_handler_t::replace);
    // The folder and file are the user's alone; the file keeps its permissions when rewritten.
    if (m_storage->format() != QSettings::InvalidFormat && !m_storage->fileName().isEmpty()) {
        makePrivateDirectory(QFileInfo(m_storage->fileName()).path());
        makePrivateFile(m_storage->fileName());
    }
    m_storage->setValue(storageKey, QByteArray::fromStdString(encoded));
    m_storage->sync();
    if (m_storage->status() != QSettings::NoError) {
        qCWarning(lcSettings) << "Couldn't save settings to" << m_storage->fileName();
    }
}

void AppSettings::setSelectedProvider(ProviderID provider)
{
    update([&](AppSettingsSnapshot& s) { s.selectedProvider = provider; });
}

void AppSettings::setModel(ProviderID provider, const std::string& model)
{
    update([&](AppSettingsSnapshot& s) { s.models[provider] = model; });
}

void AppSettings::setCorrection(const CorrectionSettings& correction)
{
    update([&](AppSettingsSnapshot& s) { s.correction = correction; });
}

void AppSettings::setHasOnboarded(bool hasOnboarded)
{
    update([&](AppSettingsSnapshot& s) { s.hasOnboarded = hasOnboarded; });
}

void AppSettings::setReviewBeforeReplacing(bool review)
{
    update([&](AppSettingsSnapshot& s) { s.reviewBeforeReplacing = review; });
}

void AppSettings::setEndpoint(ProviderID provider, const std::string& baseUrl)
{
    update([&](AppSettingsSnapshot& s) {
        if (baseUrl.empty()) {
            s.endpoints.erase(provider);
        } else {
            s.endpoints[provider] = baseUrl;
        }
    });
}

void AppSettings::setSnapshot(const AppSettingsSnapshot& snapshot)
{
    update([&](AppSettingsSnapshot& s) { s = snapshot; });
}

} // namespace vesk::app

#include "app/services/AppSettings.h"

#include "app/common/Logging.h"
#include "app/services/PrivateFiles.h"

#include <QLoggingCategory>
#include <QSettings>

namespace vesk::app {

AppSettings::AppSettings(std::unique_ptr<QSettings> storage, QObject* parent)
    : QObject(parent), m_storage(settingsStorage(std::move(storage)))
{
    const QByteArray stored = m_storage->value(storageKey).toByteArray();
    if (stored.isEmpty()) {
        return;
    }
    m_stored = Json::parse(stored.begin(), stored.end(), nullptr, /*allow_exceptions=*/false);
    if (!m_stored.is_object()) {
        m_stored = Json();
        m_unreadable = stored;
        m_warnings.emplace_back(std::string("the saved settings are not a JSON object; the defaults are used, and "
                                            "the file keeps them under ") +
                                unreadableKey);
    } else {
        m_loaded = decodeAppSettings(m_stored);
        m_snapshot = m_loaded.snapshot;
        m_warnings = m_loaded.warnings;
    }
    for (const std::string& warning : m_warnings) {
        qCWarning(lcSettings).noquote() << QString::fromStdString(warning);
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
    const Json document = storedAppSettings(m_stored, m_loaded, m_snapshot);
    // Never throws: text that is not UTF-8 (it cannot come from the settings pages) is stored replaced.
    const std::string encoded = document.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (!m_unreadable.isEmpty() && !m_storage->contains(unreadableKey)) {
        m_storage->setValue(unreadableKey, m_unreadable);
    }
    m_unreadable.clear();
    m_storage->setValue(storageKey, QByteArray::fromStdString(encoded));
    savePrivately(*m_storage);
    // What is still not understood stays so through later saves.
    m_stored = document;
    m_loaded = decodeAppSettings(document);
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

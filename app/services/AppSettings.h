#pragma once

// Every user choice that outlives a launch, persisted at once as one JSON document under
// "appSettings.v1". Main thread only; code on other threads receives copies of the values it needs.

#include "core/AppSettingsSnapshot.h"

#include <QObject>
#include <QSettings>
#include <memory>
#include <string>
#include <vector>

namespace vesk::app {

class AppSettings : public QObject
{
    Q_OBJECT

public:
    static constexpr const char* storageKey = "appSettings.v1";
    static constexpr const char* unreadableKey = "appSettings.v1.unreadable";

    // Loads from the user's settings file, or from `storage` when given (tests), field by field: a value this
    // version does not understand gives its default alone, with a warning, and is written back as it was
    // unless the user changes that setting. A document that is not a JSON object gives the defaults and is
    // kept under `unreadableKey` when the settings are next saved.
    explicit AppSettings(std::unique_ptr<QSettings> storage = nullptr, QObject* parent = nullptr);
    ~AppSettings() override;

    [[nodiscard]] const AppSettingsSnapshot& snapshot() const { return m_snapshot; }
    // What was not understood when loading, one sentence each (also logged).
    [[nodiscard]] const std::vector<std::string>& warnings() const { return m_warnings; }
    [[nodiscard]] ProviderID selectedProvider() const { return m_snapshot.selectedProvider; }
    [[nodiscard]] std::string model(ProviderID provider) const { return m_snapshot.model(provider); }
    [[nodiscard]] std::string currentModel() const { return m_snapshot.currentModel(); }
    [[nodiscard]] const CorrectionSettings& correction() const { return m_snapshot.correction; }
    [[nodiscard]] bool hasOnboarded() const { return m_snapshot.hasOnboarded; }
    [[nodiscard]] bool reviewBeforeReplacing() const { return m_snapshot.reviewBeforeReplacing; }
    [[nodiscard]] std::string endpoint(ProviderID provider) const { return m_snapshot.endpoint(provider); }

    // Every write saves the whole document, even when nothing changed; only a real change notifies.
    void setSelectedProvider(ProviderID provider);
    void setModel(ProviderID provider, const std::string& model);
    void setCorrection(const CorrectionSettings& correction);
    void setHasOnboarded(bool hasOnboarded);
    void setReviewBeforeReplacing(bool review);
    // An empty address goes back to the provider's public API host.
    void setEndpoint(ProviderID provider, const std::string& baseUrl);
    void setSnapshot(const AppSettingsSnapshot& snapshot);

signals:
    void changed();

private:
    template <typename Mutate> void update(Mutate mutate);
    void save();

    std::unique_ptr<QSettings> m_storage;
    AppSettingsSnapshot m_snapshot;
    // The document as stored and as this version read it, so that what it did not understand is kept.
    Json m_stored;
    AppSettingsDecoding m_loaded;
    QByteArray m_unreadable;
    std::vector<std::string> m_warnings;
};

} // namespace vesk::app

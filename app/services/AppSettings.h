#pragma once

// Every user choice that outlives a launch, persisted at once as one JSON document under
// "appSettings.v1". Main thread only; code on other threads receives copies of the values it needs.

#include "core/AppSettingsSnapshot.h"

#include <QObject>
#include <QSettings>
#include <memory>

namespace vesk::app {

class AppSettings : public QObject
{
    Q_OBJECT

public:
    static constexpr const char* storageKey = "appSettings.v1";

    // Loads from the user's settings file, or from `storage` when given (tests). A missing or unreadable
    // document gives the defaults, silently, and is left alone until the next change.
    explicit AppSettings(std::unique_ptr<QSettings> storage = nullptr, QObject* parent = nullptr);
    ~AppSettings() override;

    [[nodiscard]] const AppSettingsSnapshot& snapshot() const { return m_snapshot; }
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
};

} // namespace vesk::app

#pragma once

// The key entry behind AI & Privacy and the onboarding's provider step: which provider is selected, the key
// being typed, whether a key is saved, and how the last check went. A pasted key is tried with a tiny real
// correction before it is saved, so a bad key never replaces a good one. Keyring calls and the check run on
// worker threads this object owns and joins; their results are applied on the main thread, where it lives.

#include "core/APIKeyStore.h"
#include "core/ProviderError.h"
#include "core/ProviderFailure.h"
#include "core/ProviderTransport.h"
#include "core/WorkerThreads.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace vesk::app {

class AppSettings;

class ProviderConnection : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString draft READ draft WRITE setDraft NOTIFY draftChanged)
    // The provider's raw value, "openai" or "anthropic"; writing it selects the provider.
    Q_PROPERTY(QString provider READ providerRawValue WRITE selectProvider NOTIFY providerChanged)
    Q_PROPERTY(QString providerName READ providerName NOTIFY providerChanged)
    // Where the provider hands out API keys.
    Q_PROPERTY(QString keyPageUrl READ keyPageUrl NOTIFY providerChanged)
    Q_PROPERTY(bool hasSavedKey READ hasSavedKey NOTIFY stateChanged)
    // The entry field is shown although a key is saved (the user is replacing it).
    Q_PROPERTY(bool isEditing READ isEditing NOTIFY stateChanged)
    // Until the keyring has said whether the provider has a key.
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY stateChanged)
    // "failed", "idle", "checking" or "connected".
    Q_PROPERTY(QString status READ statusName NOTIFY stateChanged)
    // The check passed and the key is being written to the keyring (the status is still "checking").
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY stateChanged)
    Q_PROPERTY(QString failureTitle READ failureTitle NOTIFY stateChanged)
    Q_PROPERTY(QString failureMessage READ failureMessage NOTIFY stateChanged)
    Q_PROPERTY(QString failureDetail READ failureDetail NOTIFY stateChanged)

public:
    enum class Status { failed, idle, checking, connected };

    // What a check talks to: the provider, the key under test, and the model and base address in force.
    struct Probe
    {
        ProviderID provider;
        std::string key;
        std::string model;
        std::string baseUrl; // empty: the provider's public API host
    };
    // Runs on a worker thread and blocks; nothing when the key works. Should end promptly once `stop` is
    // requested (its result is ignored then).
    using Verify = std::function<std::optional<ProviderError>(const Probe& probe, std::stop_token stop)>;

    static constexpr std::chrono::milliseconds defaultLimit = std::chrono::seconds(12);

    // Starts on the settings' selected provider and loads whether it has a key. Selecting a provider writes
    // it to the settings; a provider selected elsewhere (another window) is followed.
    ProviderConnection(AppSettings& settings, std::shared_ptr<APIKeyStore> keys, Verify verify,
                       std::chrono::milliseconds limit = defaultLimit, QObject* parent = nullptr);
    ~ProviderConnection() override;

    // One streamed correction of a misspelt probe text with the default settings, read to its end.
    static Verify correctionProbe(std::shared_ptr<ProviderTransport> transport);

    [[nodiscard]] const QString& draft() const { return m_draft; }
    void setDraft(const QString& draft);
    [[nodiscard]] ProviderID provider() const { return m_provider; }
    [[nodiscard]] QString providerRawValue() const;
    [[nodiscard]] QString providerName() const;
    [[nodiscard]] QString keyPageUrl() const;
    [[nodiscard]] bool hasSavedKey() const { return m_hasSavedKey; }
    [[nodiscard]] bool isEditing() const { return m_isEditing; }
    [[nodiscard]] bool isLoading() const { return m_isLoading; }
    [[nodiscard]] Status status() const { return m_status; }
    [[nodiscard]] QString statusName() const;
    [[nodiscard]] bool isSaving() const { return m_isSaving; }
    [[nodiscard]] const std::optional<ProviderFailure>& failure() const { return m_failure; }
    [[nodiscard]] QString failureTitle() const;
    [[nodiscard]] QString failureMessage() const;
    [[nodiscard]] QString failureDetail() const;

    // Back to idle with an empty draft, then reloads the saved-key state; a check under way is stopped.
    void select(ProviderID provider);
    // Unknown raw values are ignored.
    void selectProvider(const QString& rawValue);

    // Checks the trimmed draft and saves it when the provider accepts it.
    Q_INVOKABLE void verifyAndSave();
    // Checks the saved key again, without saving anything.
    Q_INVOKABLE void checkConnection();
    // Removes the provider's key (the view has asked for confirmation).
    Q_INVOKABLE void removeKey();
    Q_INVOKABLE void startReplacing();
    Q_INVOKABLE void cancelReplacing();

signals:
    void draftChanged();
    void providerChanged();
    void stateChanged();

private:
    void loadSavedKey();
    // Runs `key` through the verify function under the time limit, then `onSuccess` with it.
    void check(std::string key, std::function<void(const std::string& key)> onSuccess);
    void save(const std::string& key);
    void fail(ProviderFailure failure);
    void setStatus(Status status);
    // Runs `work` on a worker thread, then `apply` with its result on this object's thread unless the object
    // is gone or another action or provider switch has begun since (`token` is then stale).
    template <typename Result>
    void inBackground(std::function<Result()> work, std::function<void(Result)> apply,
                      unsigned ProviderConnection::*token);

    AppSettings& m_settings;
    std::shared_ptr<APIKeyStore> m_keys;
    Verify m_verify;
    std::chrono::milliseconds m_limit;

    QString m_draft;
    ProviderID m_provider;
    bool m_hasSavedKey = false;
    bool m_isEditing = false;
    bool m_isLoading = false;
    bool m_isSaving = false;
    Status m_status = Status::idle;
    std::optional<ProviderFailure> m_failure;

    // Tokens of the latest saved-key load and the latest check, save or removal; a result whose token is no
    // longer current is dropped, so quick provider switches never show a stale state.
    unsigned m_loadID = 0;
    unsigned m_actionID = 0;
    std::stop_source m_checkStop; // the check under way
    QTimer m_limitTimer;
    WorkerThreads m_workers; // last, so they are joined before anything they use goes
};

} // namespace vesk::app

#include "app/models/ProviderConnection.h"

#include "app/common/Logging.h"
#include "app/common/Utf8.h"
#include "app/services/AppSettings.h"
#include "core/CorrectionSettings.h"
#include "core/PromptBuilder.h"
#include "core/ProviderClient.h"
#include "core/UnicodeText.h"

#include <QLoggingCategory>
#include <QMetaObject>

namespace vesk::app {

namespace {

// Misspelt on purpose, so the model has something to correct.
constexpr std::string_view probeText = "helo wrld";

// The injected check must not throw across a thread boundary; whatever it throws fails the check.
std::optional<ProviderError> runGuarded(const ProviderConnection::Verify& verify,
                                        const ProviderConnection::Probe& probe, std::stop_token stop)
{
    try {
        return verify(probe, std::move(stop));
    } catch (const ProviderError& error) {
        return error;
    } catch (const std::exception& error) {
        return ProviderError::transport(error.what());
    }
}

} // namespace

ProviderConnection::ProviderConnection(AppSettings& settings, std::shared_ptr<APIKeyStore> keys, Verify verify,
                                       std::chrono::milliseconds limit, QObject* parent)
    : QObject(parent), m_settings(settings), m_keys(std::move(keys)), m_verify(std::move(verify)), m_limit(limit),
      m_provider(settings.selectedProvider())
{
    m_limitTimer.setSingleShot(true);
    connect(&m_limitTimer, &QTimer::timeout, this, [this] {
        // The check's own result, should it still come, belongs to an action that has ended.
        ++m_actionID;
        m_checkStop.request_stop();
        qCInfo(lcConnection).noquote() << "No answer from" << providerName() << "within" << m_limit.count() << "ms";
        fail(ProviderFailure::from(ProviderError::timeout(), m_provider));
    });
    connect(&m_settings, &AppSettings::changed, this, [this] {
        if (m_settings.selectedProvider() != m_provider) {
            select(m_settings.selectedProvider());
        }
    });
    loadSavedKey();
}

ProviderConnection::~ProviderConnection()
{
    // Then the workers join: a check ends at its stop; a keyring call within the key store's own time limit.
    m_checkStop.request_stop();
}

ProviderConnection::Verify ProviderConnection::correctionProbe(std::shared_ptr<ProviderTransport> transport)
{
    return [transport = std::move(transport)](const Probe& probe, std::stop_token stop) {
        const ProviderClient client(probe.provider, transport, probe.baseUrl);
        return client.stream(
            PromptBuilder::systemPrompt(CorrectionSettings::standard()), probeText, probe.model, probe.key,
            [](const CorrectionEvent&) {}, std::move(stop));
    };
}

template <typename Result>
void ProviderConnection::inBackground(std::function<Result()> work, std::function<void(Result)> apply,
                                      unsigned ProviderConnection::*token)
{
    const unsigned started = this->*token;
    // The workers are joined before this object's QObject part goes, so posting to it is safe; Qt drops the
    // post should the object be destroyed before it runs.
    m_workers.start([this, work = std::move(work), apply = std::move(apply), started, token](std::stop_token) mutable {
        QMetaObject::invokeMethod(
            this,
            [this, apply = std::move(apply), started, token, result = work()]() mutable {
                if (this->*token == started) {
                    apply(std::move(result));
                }
            },
            Qt::QueuedConnection);
    });
}

void ProviderConnection::setDraft(const QString& draft)
{
    if (m_draft == draft) {
        return;
    }
    m_draft = draft;
    emit draftChanged();
}

QString ProviderConnection::providerRawValue() const
{
    return fromUtf8(rawValue(m_provider));
}

QString ProviderConnection::providerName() const
{
    return fromUtf8(displayName(m_provider));
}

QString ProviderConnection::keyPageUrl() const
{
    return m_provider == ProviderID::anthropic ? QStringLiteral("https://console.anthropic.com/settings/keys")
                                               : QStringLiteral("https://platform.openai.com/api-keys");
}

QString ProviderConnection::statusName() const
{
    switch (m_status) {
    case Status::failed:
        return QStringLiteral("failed");
    case Status::checking:
        return QStringLiteral("checking");
    case Status::connected:
        return QStringLiteral("connected");
    case Status::idle:
        break;
    }
    return QStringLiteral("idle");
}

QString ProviderConnection::failureTitle() const
{
    return m_failure ? QString::fromStdString(m_failure->title) : QString();
}

QString ProviderConnection::failureMessage() const
{
    return m_failure ? QString::fromStdString(m_failure->message) : QString();
}

QString ProviderConnection::failureDetail() const
{
    return m_failure && m_failure->detail ? QString::fromStdString(*m_failure->detail) : QString();
}

void ProviderConnection::select(ProviderID provider)
{
    if (provider == m_provider) {
        return;
    }
    ++m_actionID;
    m_checkStop.request_stop();
    m_limitTimer.stop();
    m_provider = provider;
    m_settings.setSelectedProvider(provider);
    setDraft({});
    m_isEditing = false;
    m_isSaving = false;
    m_failure.reset();
    m_status = Status::idle;
    emit providerChanged();
    loadSavedKey();
}

void ProviderConnection::selectProvider(const QString& rawValue)
{
    if (const auto provider = fromRawValue<ProviderID>(rawValue.toStdString())) {
        select(*provider);
    }
}

void ProviderConnection::loadSavedKey()
{
    ++m_loadID;
    m_isLoading = true;
    emit stateChanged();
    inBackground<bool>([keys = m_keys, provider = m_provider] { return keys->hasKey(provider); },
                       [this](bool hasKey) {
                           m_hasSavedKey = hasKey;
                           m_isLoading = false;
                           emit stateChanged();
                       },
                       &ProviderConnection::m_loadID);
}

void ProviderConnection::verifyAndSave()
{
    if (m_status == Status::checking) {
        return;
    }
    const std::string draft = m_draft.toStdString();
    const std::string_view key = unicode::trimmed(draft);
    if (key.empty()) {
        fail(ProviderFailure::from(ProviderError::missingAPIKey(m_provider), m_provider));
        return;
    }
    ++m_actionID;
    setStatus(Status::checking);
    check(std::string(key), [this](const std::string& verified) { save(verified); });
}

void ProviderConnection::checkConnection()
{
    if (m_status == Status::checking) {
        return;
    }
    ++m_actionID;
    setStatus(Status::checking);
    inBackground<std::optional<std::string>>(
        [keys = m_keys, provider = m_provider] { return keys->key(provider); },
        [this](std::optional<std::string> key) {
            if (!key || unicode::trimmed(*key).empty()) {
                ++m_loadID;
                m_hasSavedKey = false;
                fail(ProviderFailure::from(ProviderError::missingAPIKey(m_provider), m_provider));
                return;
            }
            check(std::move(*key), [this](const std::string&) { setStatus(Status::connected); });
        },
        &ProviderConnection::m_actionID);
}

void ProviderConnection::check(std::string key, std::function<void(const std::string& key)> onSuccess)
{
    Probe probe{m_provider, std::move(key), m_settings.model(m_provider), m_settings.endpoint(m_provider)};
    m_checkStop = std::stop_source();
    m_limitTimer.start(m_limit);
    inBackground<std::optional<ProviderError>>(
        [verify = m_verify, probe, stop = m_checkStop.get_token()] { return runGuarded(verify, probe, stop); },
        [this, key = probe.key, onSuccess = std::move(onSuccess)](std::optional<ProviderError> error) {
            m_limitTimer.stop();
            if (error) {
                // The error's texts mask the key; its description is safe to log.
                qCInfo(lcConnection).noquote()
                    << "The" << providerName() << "check failed:" << QString::fromStdString(error->description());
                fail(ProviderFailure::from(*error, m_provider));
                return;
            }
            onSuccess(key);
        },
        &ProviderConnection::m_actionID);
}

void ProviderConnection::save(const std::string& key)
{
    m_isSaving = true;
    emit stateChanged();
    inBackground<bool>([keys = m_keys, key, provider = m_provider] { return keys->save(key, provider); },
                       [this](bool saved) {
                           m_isSaving = false;
                           if (!saved) {
                               fail({"Couldn't save the key", "Try again.", std::nullopt});
                               return;
                           }
                           ++m_loadID; // a load still under way knows less than this
                           m_isLoading = false;
                           setDraft({});
                           m_hasSavedKey = true;
                           m_isEditing = false;
                           setStatus(Status::connected);
                       },
                       &ProviderConnection::m_actionID);
}

void ProviderConnection::removeKey()
{
    ++m_actionID;
    m_checkStop.request_stop();
    m_limitTimer.stop();
    inBackground<bool>([keys = m_keys, provider = m_provider] { return keys->remove(provider); },
                       [this](bool removed) {
                           if (!removed) {
                               fail({"Couldn't remove the key", "Try again.", std::nullopt});
                               return;
                           }
                           ++m_loadID;
                           m_isLoading = false;
                           setDraft({});
                           m_hasSavedKey = false;
                           m_isEditing = true; // the entry field is shown at once for a new key
                           setStatus(Status::idle);
                       },
                       &ProviderConnection::m_actionID);
}

void ProviderConnection::startReplacing()
{
    m_isEditing = true;
    emit stateChanged();
}

void ProviderConnection::cancelReplacing()
{
    // A key half pasted into a field no one sees any more has no business staying in memory.
    setDraft({});
    m_isEditing = false;
    emit stateChanged();
}

void ProviderConnection::fail(ProviderFailure failure)
{
    m_isSaving = false;
    m_failure = std::move(failure);
    m_status = Status::failed;
    emit stateChanged();
}

void ProviderConnection::setStatus(Status status)
{
    m_failure.reset();
    m_status = status;
    emit stateChanged();
}

} // namespace vesk::app

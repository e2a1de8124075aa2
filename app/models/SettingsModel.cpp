#include "app/models/SettingsModel.h"

#include "app/services/AppSettings.h"
#include "app/services/ShortcutSettings.h"
#include "app/common/Utf8.h"
#include "core/UnicodeText.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QUrl>
#include <QVariantMap>
#include <algorithm>

namespace vesk::app {

namespace {

// The language picker's control shows a short label; its menu says what the choice does.
std::string_view shortLabel(LanguageMode mode)
{
    switch (mode) {
    case LanguageMode::automatic:
        return "Auto-detect";
    case LanguageMode::englishUS:
        return "English (US)";
    case LanguageMode::englishUK:
        return "English (UK)";
    case LanguageMode::spanish:
        return "Spanish";
    }
    return title(mode);
}

template <typename E> std::string_view shortLabel(E value)
{
    return title(value);
}

template <typename E> QVariantList options()
{
    QVariantList list;
    for (const E value : allCases<E>()) {
        list.append(QVariantMap{{QStringLiteral("value"), fromUtf8(rawValue(value))},
                                {QStringLiteral("label"), fromUtf8(shortLabel(value))},
                                {QStringLiteral("menuLabel"), fromUtf8(title(value))}});
    }
    return list;
}

// Why an address can't be used, empty when it can. Only the scheme and host are checked: a path is how
// OpenAI-compatible servers put their API under a prefix.
QString addressProblem(const QString& address)
{
    const QUrl url(address, QUrl::StrictMode);
    const bool web = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !web || url.host().isEmpty()) {
        return QCoreApplication::translate(
            "SettingsModel", "Use an address that starts with http:// or https://, like http://localhost:11434/v1.");
    }
    return {};
}

} // namespace

SettingsModel::SettingsModel(AppSettings& settings, ProviderConnection& connection, ShortcutSettings& shortcuts,
                             QObject* parent)
    : QObject(parent), m_settings(settings), m_connection(connection),
      m_recorder(shortcuts, QString::fromLatin1(ShortcutSettings::fixGrammar))
{
    connect(&m_settings, &AppSettings::changed, this, &SettingsModel::changed);
    connect(&m_connection, &ProviderConnection::providerChanged, this, [this] {
        m_addressDraft.reset();
        emit changed();
    });
}

SettingsModel::~SettingsModel() = default;

template <typename Mutate> void SettingsModel::updateCorrection(Mutate mutate)
{
    CorrectionSettings correction = m_settings.correction();
    mutate(correction);
    m_settings.setCorrection(correction);
}

bool SettingsModel::reviewBeforeReplacing() const
{
    return m_settings.reviewBeforeReplacing();
}

void SettingsModel::setReviewBeforeReplacing(bool review)
{
    m_settings.setReviewBeforeReplacing(review);
}

QString SettingsModel::strength() const
{
    return fromUtf8(rawValue(m_settings.correction().strength));
}

void SettingsModel::setStrength(const QString& raw)
{
    if (const auto value = fromRawValue<CorrectionStrength>(raw.toStdString())) {
        updateCorrection([&](CorrectionSettings& c) { c.strength = *value; });
    }
}

QString SettingsModel::tone() const
{
    return fromUtf8(rawValue(m_settings.correction().tone));
}

void SettingsModel::setTone(const QString& raw)
{
    if (const auto value = fromRawValue<Tone>(raw.toStdString())) {
        updateCorrection([&](CorrectionSettings& c) { c.tone = *value; });
    }
}

QString SettingsModel::language() const
{
    return fromUtf8(rawValue(m_settings.correction().language));
}

void SettingsModel::setLanguage(const QString& raw)
{
    if (const auto value = fromRawValue<LanguageMode>(raw.toStdString())) {
        updateCorrection([&](CorrectionSettings& c) { c.language = *value; });
    }
}

QVariantList SettingsModel::strengthOptions()
{
    return options<CorrectionStrength>();
}

QVariantList SettingsModel::toneOptions()
{
    return options<Tone>();
}

QVariantList SettingsModel::languageOptions()
{
    return options<LanguageMode>();
}

bool SettingsModel::meaningLock() const
{
    return m_settings.correction().meaningLock;
}

void SettingsModel::setMeaningLock(bool lock)
{
    updateCorrection([&](CorrectionSettings& c) { c.meaningLock = lock; });
}

QString SettingsModel::customRules() const
{
    return QString::fromStdString(m_settings.correction().customInstructions);
}

void SettingsModel::setCustomRules(const QString& rules)
{
    const std::string typed = rules.toStdString();
    const std::string_view kept = unicode::firstGraphemes(typed, customRulesLimit);
    updateCorrection([&](CorrectionSettings& c) { c.customInstructions = std::string(kept); });
    if (kept.size() != typed.size()) {
        emit changed(); // the field still holds the longer text; it takes the stored one back
    }
}

QString SettingsModel::customRulesCount() const
{
    const std::size_t count = unicode::countGraphemes(m_settings.correction().customInstructions);
    return QStringLiteral("%1 / %2").arg(count).arg(customRulesLimit);
}

QVariantList SettingsModel::providerOptions()
{
    QVariantList list;
    for (const ProviderID provider : allCases<ProviderID>()) {
        list.append(QVariantMap{{QStringLiteral("value"), fromUtf8(rawValue(provider))},
                                {QStringLiteral("label"), fromUtf8(displayName(provider))}});
    }
    return list;
}

QString SettingsModel::model() const
{
    return QString::fromStdString(m_settings.model(m_connection.provider()));
}

void SettingsModel::setModel(const QString& model)
{
    const QString trimmed = model.trimmed();
    const ProviderID provider = m_connection.provider();
    m_settings.setModel(provider, trimmed.isEmpty() ? std::string(defaultModel(provider)) : trimmed.toStdString());
}

QVariantList SettingsModel::modelOptions() const
{
    const ProviderID provider = m_connection.provider();
    const std::string current = m_settings.model(provider);
    QVariantList list;
    const auto add = [&list](std::string_view model, const QString& note) {
        list.append(QVariantMap{{QStringLiteral("value"), fromUtf8(model)},
                                {QStringLiteral("label"), fromUtf8(model)},
                                {QStringLiteral("note"), note}});
    };
    for (const std::string_view known : models(provider)) {
        add(known, known == defaultModel(provider) ? tr("Fast and cheap. Recommended.") : QString());
    }
    // A model chosen elsewhere (the command line, or typed for another server) stays selectable.
    const auto knownModels = models(provider);
    if (std::find(knownModels.begin(), knownModels.end(), current) == knownModels.end()) {
        add(current, QString());
    }
    return list;
}

bool SettingsModel::modelIsFree() const
{
    return !m_settings.endpoint(m_connection.provider()).empty();
}

QString SettingsModel::baseAddress() const
{
    return m_addressDraft.value_or(QString::fromStdString(m_settings.endpoint(m_connection.provider())));
}

void SettingsModel::setBaseAddress(const QString& address)
{
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty() || addressProblem(trimmed).isEmpty()) {
        m_settings.setEndpoint(m_connection.provider(), trimmed.toStdString());
    }
    // The field keeps what was typed, usable or not, until the provider changes.
    m_addressDraft = address;
    emit changed();
}

QString SettingsModel::baseAddressError() const
{
    const QString typed = baseAddress().trimmed();
    return typed.isEmpty() ? QString() : addressProblem(typed);
}

QString SettingsModel::privacyNote() const
{
    const std::string endpoint = m_settings.endpoint(m_connection.provider());
    if (!endpoint.empty()) {
        // The provider's own promise says nothing about a server the user picked.
        return tr("Your text goes straight to the server at %1. Nothing passes through Vesk's servers.")
            .arg(QUrl(QString::fromStdString(endpoint)).host());
    }
    return tr("Your text goes straight to %1 over an encrypted connection. Nothing passes through Vesk's servers "
              "or is used for training.")
        .arg(m_connection.providerName());
}

QString SettingsModel::versionText()
{
    return tr("Version %1").arg(QLatin1String(VESK_VERSION));
}

bool SettingsModel::contactSupport() const
{
    return QDesktopServices::openUrl(QUrl(
        QStringLiteral("mailto:%1?subject=Vesk%20%2").arg(QLatin1String(supportAddress), QLatin1String(VESK_VERSION))));
}

} // namespace vesk::app

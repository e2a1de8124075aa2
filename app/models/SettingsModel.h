#pragma once

// The Settings section as QML sees it: every control writes the settings at once (there is no Save), and
// reads back what is stored. The provider's key entry, the shortcut recorder and launch at login are
// objects of their own, reached from here.

#include "app/services/LaunchAtLogin.h"
#include "app/models/ProviderConnection.h"
#include "app/models/ShortcutRecorder.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <QVariantList>
#include <optional>

namespace vesk::app {

class AppSettings;
class ShortcutSettings;

class SettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    Q_PROPERTY(vesk::app::ProviderConnection* connection READ connection CONSTANT)
    Q_PROPERTY(vesk::app::ShortcutRecorder* shortcutRecorder READ shortcutRecorder CONSTANT)
    Q_PROPERTY(vesk::app::LaunchAtLogin* launchAtLogin READ launchAtLogin CONSTANT)

    Q_PROPERTY(bool reviewBeforeReplacing READ reviewBeforeReplacing WRITE setReviewBeforeReplacing NOTIFY changed)

    // Raw values of the correction settings; options are {value, label, menuLabel} in picker order.
    Q_PROPERTY(QString strength READ strength WRITE setStrength NOTIFY changed)
    Q_PROPERTY(QString tone READ tone WRITE setTone NOTIFY changed)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY changed)
    Q_PROPERTY(QVariantList strengthOptions READ strengthOptions CONSTANT)
    Q_PROPERTY(QVariantList toneOptions READ toneOptions CONSTANT)
    Q_PROPERTY(QVariantList languageOptions READ languageOptions CONSTANT)
    Q_PROPERTY(bool meaningLock READ meaningLock WRITE setMeaningLock NOTIFY changed)
    // Cut to the first 1,024 characters when longer; otherwise stored exactly as typed.
    Q_PROPERTY(QString customRules READ customRules WRITE setCustomRules NOTIFY changed)
    // "N / 1024".
    Q_PROPERTY(QString customRulesCount READ customRulesCount NOTIFY changed)

    // The selected provider's model, its choices ({value, label, note}) and its base address.
    Q_PROPERTY(QVariantList providerOptions READ providerOptions CONSTANT)
    Q_PROPERTY(QString model READ model WRITE setModel NOTIFY changed)
    Q_PROPERTY(QVariantList modelOptions READ modelOptions NOTIFY changed)
    // With a base address of its own the server decides which models exist, so any name can be typed.
    Q_PROPERTY(bool modelIsFree READ modelIsFree NOTIFY changed)
    // As typed; an address that can't be used is not stored and says why in `baseAddressError`.
    Q_PROPERTY(QString baseAddress READ baseAddress WRITE setBaseAddress NOTIFY changed)
    Q_PROPERTY(QString baseAddressError READ baseAddressError NOTIFY changed)
    Q_PROPERTY(QString privacyNote READ privacyNote NOTIFY changed)

    Q_PROPERTY(QString versionText READ versionText CONSTANT)

public:
    static constexpr int customRulesLimit = 1024;
    static constexpr const char* supportAddress = "support@vesk.dev";

    SettingsModel(AppSettings& settings, ProviderConnection& connection, ShortcutSettings& shortcuts,
                  QObject* parent = nullptr);
    ~SettingsModel() override;

    [[nodiscard]] ProviderConnection* connection() const { return &m_connection; }
    [[nodiscard]] ShortcutRecorder* shortcutRecorder() { return &m_recorder; }
    [[nodiscard]] LaunchAtLogin* launchAtLogin() { return &m_launchAtLogin; }

    [[nodiscard]] bool reviewBeforeReplacing() const;
    void setReviewBeforeReplacing(bool review);

    [[nodiscard]] QString strength() const;
    void setStrength(const QString& rawValue);
    [[nodiscard]] QString tone() const;
    void setTone(const QString& rawValue);
    [[nodiscard]] QString language() const;
    void setLanguage(const QString& rawValue);
    [[nodiscard]] static QVariantList strengthOptions();
    [[nodiscard]] static QVariantList toneOptions();
    [[nodiscard]] static QVariantList languageOptions();
    [[nodiscard]] bool meaningLock() const;
    void setMeaningLock(bool lock);
    [[nodiscard]] QString customRules() const;
    void setCustomRules(const QString& rules);
    [[nodiscard]] QString customRulesCount() const;

    [[nodiscard]] static QVariantList providerOptions();
    [[nodiscard]] QString model() const;
    // An empty name goes back to the provider's default model.
    void setModel(const QString& model);
    [[nodiscard]] QVariantList modelOptions() const;
    [[nodiscard]] bool modelIsFree() const;
    [[nodiscard]] QString baseAddress() const;
    void setBaseAddress(const QString& address);
    [[nodiscard]] QString baseAddressError() const;
    [[nodiscard]] QString privacyNote() const;

    [[nodiscard]] static QString versionText();
    // Opens a new message to support in the user's mail program; false when none could be started.
    Q_INVOKABLE bool contactSupport() const;

signals:
    void changed();

private:
    template <typename Mutate> void updateCorrection(Mutate mutate);

    AppSettings& m_settings;
    ProviderConnection& m_connection;
    ShortcutRecorder m_recorder;
    LaunchAtLogin m_launchAtLogin;
    // What the user typed into the address field, while it differs from what could be stored.
    std::optional<QString> m_addressDraft;
};

} // namespace vesk::app

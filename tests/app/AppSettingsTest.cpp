#include "app/services/AppSettings.h"

#include "app/models/SettingsModel.h"
#include "app/services/ShortcutSettings.h"
#include "support/InMemoryKeyStore.h"
#include "support/SettingsFile.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

class AppSettingsTest : public ::testing::Test
{
protected:
    std::unique_ptr<QSettings> storage() const { return m_file.open(); }
    void store(const QByteArray& document) const { storage()->setValue(AppSettings::storageKey, document); }
    QByteArray stored() const { return storage()->value(AppSettings::storageKey).toByteArray(); }

    test::SettingsFile m_file;
};

// How each field is written is the snapshot's business (core tests), and that every control is kept across
// instances SettingsModelTest's.
TEST_F(AppSettingsTest, SameValueSavesAgainButNotifiesOnce)
{
    AppSettings settings(storage());
    QSignalSpy changed(&settings, &AppSettings::changed);
    settings.setHasOnboarded(true);
    store("overwritten");
    settings.setHasOnboarded(true);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_TRUE(stored().contains("\"hasOnboarded\":true")) << "the second write saved again";
}

// A value this version can't read costs that value alone (the snapshot's tests), and no save writes over it;
// a document that is not understood at all is kept aside at the first change.
TEST_F(AppSettingsTest, WhatIsNotUnderstoodIsKeptThroughChanges)
{
    store(R"({"selectedProvider":"mistral","endpoints":{"openai":"http://127.0.0.1:8080"}})");
    {
        AppSettings settings(storage());
        EXPECT_EQ(settings.warnings().size(), 1U);
        settings.setReviewBeforeReplacing(false);
    }
    EXPECT_TRUE(stored().contains(R"("selectedProvider":"mistral")")) << stored().toStdString();
    EXPECT_EQ(AppSettings(storage()).endpoint(ProviderID::openai), "http://127.0.0.1:8080");

    for (const QByteArray& document : {QByteArray("{not json"), QByteArray("[1]")}) {
        store(document);
        storage()->remove(AppSettings::unreadableKey);
        AppSettings unreadable(storage());
        EXPECT_EQ(unreadable.snapshot(), AppSettingsSnapshot{});
        EXPECT_EQ(stored(), document) << "left alone until the next change";
        unreadable.setHasOnboarded(true);
        EXPECT_EQ(storage()->value(AppSettings::unreadableKey).toByteArray(), document) << "then kept aside";
    }
}

// The settings section's controls over the same file.
class SettingsModelTest : public AppSettingsTest
{
protected:
    AppSettings m_settings{storage()};
    ShortcutSettings m_shortcuts{storage()};
    ProviderConnection m_connection{m_settings, std::make_shared<InMemoryKeyStore>(),
                                    ProviderConnection::correctionProbe(nullptr)};
    SettingsModel m_model{m_settings, m_connection, m_shortcuts};
};

TEST_F(SettingsModelTest, EveryControlIsStoredAtOnce)
{
    m_model.setStrength("clarityFlow");
    m_model.setTone("friendly");
    m_model.setLanguage("spanish");
    m_model.setTone("Friendly"); // not a raw value: ignored
    m_model.setMeaningLock(false);
    m_model.setReviewBeforeReplacing(false);
    m_model.setCustomRules("  Keep \"LGTM\" as-is.\n");
    m_connection.selectProvider("anthropic");
    m_model.setModel("claude-sonnet-4-6");

    const AppSettings reloaded(storage());
    EXPECT_EQ(reloaded.correction(),
              (CorrectionSettings{CorrectionStrength::clarityFlow, Tone::friendly, LanguageMode::spanish, false, true,
                                  "  Keep \"LGTM\" as-is.\n"}))
        << "custom rules stored as typed, untrimmed";
    EXPECT_EQ(std::tuple(reloaded.reviewBeforeReplacing(), reloaded.selectedProvider(), reloaded.currentModel()),
              std::tuple(false, ProviderID::anthropic, "claude-sonnet-4-6"));
}

TEST_F(SettingsModelTest, LongCustomRulesAreCutToTheirFirst1024Characters)
{
    QString pasted;
    for (int i = 0; i < 2000; ++i) {
        pasted += QStringLiteral("e\u0301"); // one character of two code points
    }
    m_model.setCustomRules(pasted);
    EXPECT_EQ(m_model.customRules(), pasted.left(2048));
    EXPECT_EQ(m_model.customRulesCount(), "1024 / 1024");
}

TEST_F(SettingsModelTest, UnusableBaseAddressIsKeptInTheFieldButNotStored)
{
    m_model.setBaseAddress("http://127.0.0.1:11434/v1");
    EXPECT_TRUE(m_model.modelIsFree());
    m_model.setBaseAddress("localhost:11434");
    EXPECT_EQ(m_model.baseAddress(), "localhost:11434");
    EXPECT_NE(m_model.baseAddressError(), "");
    EXPECT_EQ(m_settings.endpoint(ProviderID::openai), "http://127.0.0.1:11434/v1");
    EXPECT_EQ(m_model.privacyNote(),
              "Your text goes straight to the server at 127.0.0.1. Nothing passes through Vesk's servers.");

    m_model.setBaseAddress(" ");
    EXPECT_EQ(m_model.baseAddressError(), "");
    EXPECT_EQ(m_settings.endpoint(ProviderID::openai), "");
    EXPECT_EQ(m_model.privacyNote(), "Your text goes straight to OpenAI over an encrypted connection. Nothing passes "
                                     "through Vesk's servers or is used for training.");
}

} // namespace
} // namespace vesk::app

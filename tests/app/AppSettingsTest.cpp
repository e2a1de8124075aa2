#include "app/services/AppSettings.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

class AppSettingsTest : public ::testing::Test
{
protected:
    std::unique_ptr<QSettings> storage() const
    {
        return std::make_unique<QSettings>(m_dir.filePath("vesk.conf"), QSettings::IniFormat);
    }
    void store(const QByteArray& document) const { storage()->setValue(AppSettings::storageKey, document); }
    QByteArray stored() const { return storage()->value(AppSettings::storageKey).toByteArray(); }

    QTemporaryDir m_dir;
};

TEST_F(AppSettingsTest, ChangesPersistAcrossInstances)
{
    {
        AppSettings settings(storage());
        settings.setSelectedProvider(ProviderID::anthropic);
        settings.setModel(ProviderID::anthropic, "claude-opus-4-8");
        CorrectionSettings correction;
        correction.tone = Tone::friendly;
        settings.setCorrection(correction);
        settings.setReviewBeforeReplacing(false);
        settings.setEndpoint(ProviderID::openai, "http://localhost:11434");
    }
    const AppSettings reloaded(storage());
    EXPECT_EQ(reloaded.selectedProvider(), ProviderID::anthropic);
    EXPECT_EQ(reloaded.currentModel(), "claude-opus-4-8");
    EXPECT_EQ(reloaded.correction().tone, Tone::friendly);
    EXPECT_FALSE(reloaded.reviewBeforeReplacing());
    EXPECT_EQ(reloaded.endpoint(ProviderID::openai), "http://localhost:11434");
}

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

TEST_F(AppSettingsTest, UnreadableDocumentsGiveDefaultsAndStayUntilTheNextChange)
{
    for (const QByteArray& document : {QByteArray("{not json"), QByteArray(R"({"selectedProvider":"openai"})")}) {
        SCOPED_TRACE(document.toStdString());
        store(document);
        AppSettings settings(storage());
        EXPECT_EQ(settings.snapshot(), AppSettingsSnapshot{});
        EXPECT_EQ(stored(), document);
    }
}

TEST_F(AppSettingsTest, DocumentWithoutEndpointsLoadsAsBefore)
{
    store(R"({"selectedProvider":"anthropic","models":{"openai":"gpt-4o"},"correction":{"strength":"clarityFlow",)"
          R"("tone":"concise","language":"spanish","meaningLock":false,"preserveFormatting":true,)"
          R"("customInstructions":"x"},"hasOnboarded":true,"reviewBeforeReplacing":false})");
    const AppSettings settings(storage());
    EXPECT_EQ(settings.selectedProvider(), ProviderID::anthropic);
    EXPECT_EQ(settings.model(ProviderID::openai), "gpt-4o");
    EXPECT_EQ(settings.correction().strength, CorrectionStrength::clarityFlow);
    EXPECT_TRUE(settings.hasOnboarded());
    EXPECT_TRUE(settings.snapshot().endpoints.empty());
}

} // namespace
} // namespace vesk::app

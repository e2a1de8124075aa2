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

// A value this version can't read costs that value alone, and no save writes over it.
TEST_F(AppSettingsTest, WhatIsNotUnderstoodIsKeptThroughChanges)
{
    store(R"({"selectedProvider":"mistral","models":{"openai":"gpt-4o"},"correction":{"tone":"concise"},)"
          R"("endpoints":{"openai":"http://127.0.0.1:8080"}})");
    {
        AppSettings settings(storage());
        EXPECT_EQ(settings.warnings().size(), 1U);
        EXPECT_EQ(settings.endpoint(ProviderID::openai), "http://127.0.0.1:8080");
        EXPECT_EQ(settings.model(ProviderID::openai), "gpt-4o");
        EXPECT_EQ(settings.correction().tone, Tone::concise);
        settings.setReviewBeforeReplacing(false);
        settings.setHasOnboarded(true);
    }
    EXPECT_TRUE(stored().contains(R"("selectedProvider":"mistral")")) << stored().toStdString();
    const AppSettings reloaded(storage());
    EXPECT_FALSE(reloaded.reviewBeforeReplacing());
    EXPECT_EQ(reloaded.endpoint(ProviderID::openai), "http://127.0.0.1:8080");

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

} // namespace
} // namespace vesk::app

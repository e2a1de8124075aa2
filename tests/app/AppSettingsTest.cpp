#include "app/services/AppSettings.h"

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

} // namespace
} // namespace vesk::app


#include "app/desktop/GrammarCoordinator.h"

#include "app/desktop/AppRouter.h"
#include "app/services/AppSettings.h"
#include "app/services/CorrectionEnvironment.h"
#include "support/FakeCorrectionEngine.h"
#include "support/SettingsFile.h"
#include "support/fake/FakePlatform.h"

#include <QCoreApplication>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using QTest::qWaitFor;

struct RecordingRouter final : AppRouter
{
    void openOnboarding() override { ++onboarding; }
    void openHome(HomeSection section) override { sections.push_back(section); }
    void openComposer(const ComposerDraft& draft) override { drafts.push_back(draft); }
    int onboarding = 0;
    std::vector<HomeSection> sections;
    std::vector<ComposerDraft> drafts;
};

const WindowRef mousepad{42, "Mousepad", "Mousepad", false};

class GrammarCoordinatorTest : public ::testing::Test
{
protected:
    GrammarCoordinatorTest()
    {
        m_fake.windows.setActiveWindow(mousepad);
        m_fake.clipboard.setText("the user's clipboard");
        QObject::connect(&m_coordinator, &GrammarCoordinator::pasted, [this] { m_pasted = true; });
    }

    GrammarCoordinator::Panel panel()
    {
        return {[this](CorrectionSession& session, PanelActions actions) {
                    ++m_shows;
                    m_shown = &session;
                    m_actions = std::move(actions);
                },
                [this](const std::function<void()>& keyboardLeft) {
                    ++m_hides;
                    m_shown = nullptr;
                    if (keyboardLeft) {
                        keyboardLeft();
                    }
                },
                {}};
    }

    // The user presses the shortcut over `selection`: the focused app copies it when asked, the way a text
    // field with that selection does.
    void press(std::optional<QString> selection)
    {
        m_fake.input.copiesSelection(m_fake.clipboard, std::move(selection));
        m_coordinator.correctSelection();
    }

    // Waits for the `run`th run (counting from 1) to start, then plays its reply.
    void reply(std::size_t run, const std::vector<std::string>& pieces)
    {
        ASSERT_TRUE(qWaitFor([&] { return m_engine.streams.size() == run; }));
        m_engine.complete(pieces);
    }

    // Waits until the panel shows a session in `State`.
    template <class State = CorrectionSession::Result> bool shown()
    {
        return qWaitFor([this] { return m_shown != nullptr && std::holds_alternative<State>(m_shown->state()); });
    }

    std::vector<Keystroke> strokes() const
    {
        std::vector<Keystroke> out;
        std::ranges::transform(m_fake.input.posted(), std::back_inserter(out),
                               &FakeInputSynthesizer::PostedStroke::stroke);
        return out;
    }

    test::SettingsFile m_file;
    AppSettings m_settings{m_file.open()};
    FakePlatform m_fake = createFakePlatform();
    test::FakeCorrectionEngine m_engine;
    CorrectionEnvironment m_environment{m_settings, m_engine.engine()};
    RecordingRouter m_router;
    GrammarCoordinator m_coordinator{*m_fake.platform, m_environment, panel(), m_router};
    CorrectionSession* m_shown = nullptr;
    PanelActions m_actions;
    int m_shows = 0;
    int m_hides = 0;
    bool m_pasted = false;
};

TEST_F(GrammarCoordinatorTest, ReviewedCorrectionIsPastedAndTheClipboardComesBack)
{
    press("teh cat");
    ASSERT_EQ(m_shows, 1) << "the panel shows while the text is read";
    reply(1, {"The", " cat."});
    ASSERT_TRUE(shown());
    EXPECT_EQ(m_shown->original(), "teh cat");
    EXPECT_EQ(m_fake.clipboard.text(), "the user's clipboard") << "restored right after the copy";

    m_actions.accept();
    EXPECT_EQ(m_hides, 1);
    ASSERT_TRUE(qWaitFor([&] { return m_pasted; }));
    EXPECT_EQ(strokes(), (std::vector{Keystroke::copy, Keystroke::paste}));
    EXPECT_EQ(m_fake.input.posted().back().target, mousepad);
    EXPECT_EQ(m_fake.clipboard.text(), "the user's clipboard");
    ASSERT_EQ(m_engine.records.size(), 1U);
    EXPECT_EQ(m_engine.records[0].sourceApp, "Mousepad");
}

TEST_F(GrammarCoordinatorTest, NewestPressWins)
{
    press("first");
    CorrectionSession* first = m_shown;
    press("second");
    EXPECT_NE(m_shown, first);
    reply(1, {"Second."});
    ASSERT_TRUE(shown());
    EXPECT_EQ(m_shown->original(), "second");
    QCoreApplication::processEvents();
    EXPECT_EQ(m_engine.streams.size(), 1U) << "the first capture's text was dropped";
}

TEST_F(GrammarCoordinatorTest, CloseDuringCaptureDropsTheTextButRestoresTheClipboard)
{
    press("some text");
    m_actions.close();
    EXPECT_FALSE(m_coordinator.isBusy());
    EXPECT_EQ(m_hides, 1);
    EXPECT_EQ(m_fake.windows.activations().back(), mousepad) << "focus goes back where the user was";
    ASSERT_TRUE(qWaitFor([&] { return m_fake.clipboard.text() == "the user's clipboard"; }));
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_engine.streams.empty());
    EXPECT_TRUE(m_router.drafts.empty());
}

TEST_F(GrammarCoordinatorTest, ReviewOffPastesAtOnceButNotAnUnchangedText)
{
    m_settings.setReviewBeforeReplacing(false);
    press("teh cat");
    reply(1, {"The cat."});
    ASSERT_TRUE(qWaitFor([&] { return m_pasted; }));
    EXPECT_EQ(strokes().back(), Keystroke::paste);

    press("Fine.");
    reply(2, {"Fine."});
    ASSERT_TRUE(shown());
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_coordinator.isBusy()) << "the panel stays up saying no changes were needed";
    EXPECT_EQ(strokes().back(), Keystroke::copy);
}

TEST_F(GrammarCoordinatorTest, NothingSelectedOpensTheComposerAndNoInputPostingTheGuide)
{
    press(std::nullopt);
    ASSERT_TRUE(qWaitFor([&] { return !m_router.drafts.empty(); }));
    EXPECT_FALSE(m_coordinator.isBusy());
    EXPECT_TRUE(m_router.drafts[0].text.isEmpty());
    EXPECT_EQ(m_fake.clipboard.text(), "the user's clipboard");

    m_fake.input.setCanPostInput(false);
    m_coordinator.correctSelection();
    EXPECT_EQ(m_router.onboarding, 1);
    EXPECT_EQ(m_shows, 1) << "no panel this time";
    EXPECT_EQ(strokes(), std::vector{Keystroke::copy});
}

TEST_F(GrammarCoordinatorTest, FailureOffersSettings)
{
    press("helo");
    ASSERT_TRUE(qWaitFor([&] { return !m_engine.streams.empty(); }));
    m_engine.fail(ProviderError::http(401, "bad key"));
    ASSERT_TRUE(shown<CorrectionSession::Failed>());
    m_actions.accept(); // nothing to accept: the panel stays as it is
    EXPECT_TRUE(m_coordinator.isBusy());
    m_actions.openSettings();
    EXPECT_FALSE(m_coordinator.isBusy());
    EXPECT_EQ(m_router.sections, std::vector{HomeSection::settings});
}

} // namespace
} // namespace vesk::app

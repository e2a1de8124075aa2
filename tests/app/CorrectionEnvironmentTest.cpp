#include "app/services/CorrectionEnvironment.h"

#include "app/services/AppSettings.h"
#include "support/InMemoryKeyStore.h"
#include "support/SettingsFile.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

// A stream's last words may come from its worker while the app is shutting down.
TEST(CorrectionEnvironmentTest, WorkPostedAfterTheEnvironmentIsGoneIsDropped)
{
    const test::SettingsFile file;
    AppSettings settings(file.open());
    auto environment = std::make_unique<CorrectionEnvironment>(settings, std::make_shared<InMemoryKeyStore>(), nullptr);
    const MainThreadExecutor post = environment->mainThread();
    int ran = 0;
    post([&ran] { ++ran; });
    QCoreApplication::processEvents();
    EXPECT_EQ(ran, 1);

    post([&ran] { ++ran; }); // pending when the environment goes
    environment.reset();
    post([&ran] { ++ran; });
    QCoreApplication::processEvents();
    EXPECT_EQ(ran, 1);
}

} // namespace
} // namespace vesk::app

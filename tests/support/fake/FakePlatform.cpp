#include "support/fake/FakePlatform.h"

namespace vesk::app {

FakePlatform createFakePlatform()
{
    auto platform = std::make_unique<Platform>();
    auto shortcut = std::make_unique<FakeGlobalShortcut>();
    auto input = std::make_unique<FakeInputSynthesizer>();
    auto windows = std::make_unique<FakeWindowSystem>();
    auto clipboard = std::make_unique<FakeClipboard>();
    auto appearance = std::make_unique<FakeDesktopAppearance>();
    FakePlatform fake{nullptr, *shortcut, *input, *windows, *clipboard, *appearance};
    platform->shortcut = std::move(shortcut);
    platform->input = std::move(input);
    platform->windows = std::move(windows);
    platform->clipboard = std::move(clipboard);
    platform->appearance = std::move(appearance);
    fake.platform = std::move(platform);
    return fake;
}

} // namespace vesk::app

#pragma once

// A whole platform of fakes for the shell's tests.

#include "app/platform/Platform.h"
#include "support/fake/FakeClipboard.h"
#include "support/fake/FakeDesktopAppearance.h"
#include "support/fake/FakeGlobalShortcut.h"
#include "support/fake/FakeInputSynthesizer.h"
#include "support/fake/FakeWindowSystem.h"

namespace vesk::app {

// The platform to hand to the app, and typed references to its parts (owned by `platform`).
struct FakePlatform
{
    std::unique_ptr<Platform> platform;
    FakeGlobalShortcut& shortcut;
    FakeInputSynthesizer& input;
    FakeWindowSystem& windows;
    FakeClipboard& clipboard;
    FakeDesktopAppearance& appearance;
};

FakePlatform createFakePlatform();

} // namespace vesk::app

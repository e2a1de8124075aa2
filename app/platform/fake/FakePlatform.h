#pragma once

// A whole platform of fakes, for the shell's tests and for running the app with no desktop to act on.

#include "app/platform/Platform.h"
#include "app/platform/fake/FakeClipboard.h"
#include "app/platform/fake/FakeGlobalShortcut.h"
#include "app/platform/fake/FakeInputSynthesizer.h"
#include "app/platform/fake/FakeWindowSystem.h"

namespace vesk::app {

// The platform to hand to the app, and typed references to its parts (owned by `platform`).
struct FakePlatform
{
    std::unique_ptr<Platform> platform;
    FakeGlobalShortcut& shortcut;
    FakeInputSynthesizer& input;
    FakeWindowSystem& windows;
    FakeClipboard& clipboard;
};

FakePlatform createFakePlatform();

} // namespace vesk::app

#pragma once

// Opens the app's windows on request: onboarding, the home window on a section, the composer with a draft.

#include "app/common/HomeSection.h"

namespace vesk::app {

class AppRouter
{
public:
    virtual ~AppRouter() = default;
    virtual void openOnboarding() = 0;
    virtual void openHome(HomeSection section) = 0;
    virtual void openComposer(const ComposerDraft& draft) = 0;
};

} // namespace vesk::app

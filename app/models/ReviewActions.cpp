#include "app/models/ReviewActions.h"

namespace vesk::app {

void ReviewActions::set(std::function<void()> accept, std::function<void()> close, std::function<void()> openSettings)
{
    m_accept = std::move(accept);
    m_close = std::move(close);
    m_openSettings = std::move(openSettings);
}

} // namespace vesk::app

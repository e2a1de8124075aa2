#pragma once

// Access to the X connection Qt runs on, shared by the X11 back end.

struct _XDisplay; // Xlib's Display; Xlib's own header stays out of the headers of this back end

namespace vesk::app {

// Qt's connection when Qt runs on xcb, else null.
_XDisplay* qtX11Display();

// Runs `requests` with X errors recorded instead of reported, waits for the server to process them, and
// returns the error code of the first one (0: none). Main thread only.
template <typename Requests> int withX11ErrorsCaught(_XDisplay* display, Requests requests);

namespace x11detail {
void beginCatchingErrors(_XDisplay* display);
int endCatchingErrors(_XDisplay* display);
} // namespace x11detail

template <typename Requests> int withX11ErrorsCaught(_XDisplay* display, Requests requests)
{
    x11detail::beginCatchingErrors(display);
    requests();
    return x11detail::endCatchingErrors(display);
}

} // namespace vesk::app

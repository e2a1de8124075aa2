#include "app/platform/x11/X11Platform.h"

#include "app/platform/SystemClipboard.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11GlobalShortcut.h"
#include "app/platform/x11/X11InputSynthesizer.h"
#include "app/platform/x11/X11WindowSystem.h"

#include <QByteArray>
#include <X11/Xlib.h>

namespace vesk::app {

namespace {

class X11Appearance : public DesktopAppearance
{
public:
    explicit X11Appearance(_XDisplay* display) : m_display(display) {}

    bool composites() override
    {
        // A compositing manager owns the _NET_WM_CM_S<screen> selection while it runs.
        const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(m_display));
        const Atom selection = XInternAtom(m_display, name.constData(), False);
        return XGetSelectionOwner(m_display, selection) != None;
    }

private:
    _XDisplay* m_display;
};

} // namespace

std::unique_ptr<Platform> createX11Platform()
{
    _XDisplay* display = qtX11Display();
    if (display == nullptr) {
        return nullptr;
    }
    auto platform = std::make_unique<Platform>();
    platform->shortcut = std::make_unique<X11GlobalShortcut>(display);
    auto input = std::make_unique<X11InputSynthesizer>(display);
    if (!input->canPostInput()) {
        platform->limitation = QStringLiteral("The X server doesn't offer the XTest extension, so Vesk can't "
                                              "send keystrokes to other apps.");
    }
    platform->input = std::move(input);
    platform->windows = std::make_unique<X11WindowSystem>(display);
    platform->clipboard = std::make_unique<SystemClipboard>();
    platform->appearance = std::make_unique<X11Appearance>(display);
    return platform;
}

} // namespace vesk::app

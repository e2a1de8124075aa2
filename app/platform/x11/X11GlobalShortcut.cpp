#include "app/platform/x11/X11GlobalShortcut.h"

#include "app/common/Logging.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11Keys.h"

#include <QCoreApplication>
#include <QTimer>
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <array>
#include <xcb/xcb.h>

namespace vesk::app {
namespace {

// Grabs are per exact modifier state, so the same keys are grabbed again with Caps Lock and Num Lock on.
// Mod5 is left out: on many layouts it is AltGr, which people hold to type characters.
constexpr std::array<unsigned, 4> lockVariants = {0, Mod2Mask, LockMask, Mod2Mask | LockMask};
constexpr unsigned matchedModifiers = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;
constexpr int badAccess = 10;

} // namespace

X11GlobalShortcut::X11GlobalShortcut(_XDisplay* display, QObject* parent)
    : GlobalShortcut(parent), m_display(display ? display : qtX11Display())
{
    QCoreApplication::instance()->installNativeEventFilter(this);
    // With detectable auto-repeat the server sends held keys as repeated presses only, so a release is a
    // real one and can be reported at once instead of after the auto-repeat window.
    Bool supported = False;
    if (m_display != nullptr && XkbSetDetectableAutoRepeat(m_display, True, &supported) && supported) {
        m_releaseDelay = std::chrono::milliseconds(0);
    }
}

X11GlobalShortcut::~X11GlobalShortcut()
{
    QCoreApplication::instance()->removeNativeEventFilter(this);
    if (!m_paused) {
        for (const Grab& existing : std::as_const(m_grabs)) {
            ungrab(existing);
        }
    }
    if (m_display) {
        XFlush(m_display);
    }
}

bool X11GlobalShortcut::setShortcut(const QString& name, const std::optional<KeyCombination>& combination,
                                    QString* error)
{
    auto setError = [&](const QString& text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (const auto existing = m_grabs.constFind(name); existing != m_grabs.cend()) {
        if (combination && existing->combination == *combination) {
            return true;
        }
        if (!m_paused) {
            ungrab(*existing);
        }
        m_grabs.erase(existing);
    }
    if (!combination) {
        return true;
    }
    if (!m_display) {
        return setError(tr("Global shortcuts need an X11 session."));
    }
    Grab wanted;
    wanted.combination = *combination;
    wanted.keycode = x11Keycode(m_display, combination->key);
    wanted.modifiers = x11Modifiers(combination->modifiers);
    if (wanted.keycode == 0) {
        return setError(tr("%1 isn't on your keyboard layout.").arg(combination->displayText()));
    }
    const int failure = grab(wanted);
    if (failure != 0) {
        ungrab(wanted);
        return setError(
            failure == badAccess
                ? tr("%1 is already taken by another program. Choose another shortcut, or free it "
                     "in that program's or your desktop's keyboard settings.")
                      .arg(combination->displayText())
                : tr("%1 couldn't be registered (X error %2).").arg(combination->displayText()).arg(failure));
    }
    if (m_paused) {
        // The keys are free; they are taken for real when the recorder stops listening.
        ungrab(wanted);
        XFlush(m_display);
    }
    m_grabs.insert(name, wanted);
    return true;
}

void X11GlobalShortcut::setPaused(bool paused)
{
    if (paused == m_paused || !m_display) {
        m_paused = paused;
        return;
    }
    m_paused = paused;
    if (paused) {
        // Releasing the grabs lets the recorder's window receive the keys like any others.
        for (Grab& existing : m_grabs) {
            ungrab(existing);
            existing.isDown = false;
        }
        XFlush(m_display);
    } else {
        regrabAll();
    }
}

int X11GlobalShortcut::grab(Grab& wanted)
{
    const Window root = DefaultRootWindow(m_display);
    return withX11ErrorsCaught(m_display, [&] {
        for (const unsigned lock : lockVariants) {
            // owner_events off: even over our own windows the press goes to the root grab, never to a widget.
            XGrabKey(m_display, static_cast<int>(wanted.keycode), wanted.modifiers | lock, root, False, GrabModeAsync,
                     GrabModeAsync);
        }
    });
}

void X11GlobalShortcut::ungrab(const Grab& existing)
{
    // Ungrabbing keys another client holds does nothing to that client's grab, so every variant can be undone
    // after a partial failure.
    const Window root = DefaultRootWindow(m_display);
    for (const unsigned lock : lockVariants) {
        XUngrabKey(m_display, static_cast<int>(existing.keycode), existing.modifiers | lock, root);
    }
    // Sent at once: another program may be about to take the keys.
    XFlush(m_display);
}

void X11GlobalShortcut::regrabAll()
{
    for (auto it = m_grabs.begin(); it != m_grabs.end(); ++it) {
        it->keycode = x11Keycode(m_display, it->combination.key);
        it->isDown = false;
        if (it->keycode == 0 || grab(*it) != 0) {
            ungrab(*it);
            qCWarning(lcPlatform) << "Couldn't take the shortcut" << it.key() << "again; another program holds it";
        }
    }
    XFlush(m_display);
}

bool X11GlobalShortcut::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t" || !m_display || m_display != qtX11Display()) {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_MAPPING_NOTIFY) {
        const auto* mapping = static_cast<const xcb_mapping_notify_event_t*>(message);
        // Xlib never sees this event (Qt's xcb owns the queue), so its keymap cache is refreshed by hand
        // before the keys are looked up again.
        XMappingEvent refresh{};
        refresh.type = MappingNotify;
        refresh.display = m_display;
        refresh.request = mapping->request;
        refresh.first_keycode = mapping->first_keycode;
        refresh.count = mapping->count;
        XRefreshKeyboardMapping(&refresh);
        if (mapping->request != XCB_MAPPING_POINTER && !m_paused) {
            QTimer::singleShot(0, this, [this] {
                if (m_paused) {
                    return;
                }
                for (const Grab& existing : std::as_const(m_grabs)) {
                    ungrab(existing);
                }
                regrabAll();
            });
        }
        return false;
    }
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) {
        return false;
    }
    if (m_paused) {
        return false;
    }
    const auto* key = static_cast<const xcb_key_press_event_t*>(message);
    for (auto it = m_grabs.begin(); it != m_grabs.end(); ++it) {
        if (key->detail != it->keycode || (key->state & matchedModifiers) != it->modifiers) {
            continue;
        }
        if (type == XCB_KEY_PRESS) {
            // Auto-repeat comes as presses while the key is down or, without detectable auto-repeat, as
            // release/press pairs sharing one timestamp; the release of such a pair is still held back.
            const bool repeated = it->isDown || (it->lastReleaseTime != 0 && key->time == it->lastReleaseTime);
            it->isDown = true;
            if (it->pendingRelease && it->pendingRelease->isActive()) {
                it->pendingRelease->stop();
                if (!repeated) {
                    emit released(it.key()); // a quick second press: the first one still ends first
                }
            }
            if (!repeated) {
                emit pressed(it.key());
            }
        } else {
            holdBackRelease(it.key(), *it, key->time);
        }
        return true;
    }
    // The release of a grabbed key may come with a modifier already let go (Alt up before G): it still ends
    // the press.
    if (type == XCB_KEY_RELEASE) {
        for (auto it = m_grabs.begin(); it != m_grabs.end(); ++it) {
            if (key->detail == it->keycode && it->isDown) {
                holdBackRelease(it.key(), *it, key->time);
                return true;
            }
        }
    }
    return false;
}

void X11GlobalShortcut::holdBackRelease(const QString& name, Grab& entry, unsigned long time)
{
    entry.isDown = false;
    entry.lastReleaseTime = time;
    if (!entry.pendingRelease) {
        entry.pendingRelease = std::make_shared<QTimer>();
        entry.pendingRelease->setSingleShot(true);
        entry.pendingRelease->setInterval(m_releaseDelay);
        connect(entry.pendingRelease.get(), &QTimer::timeout, this, [this, name] { emit released(name); });
    }
    entry.pendingRelease->start();
}

} // namespace vesk::app

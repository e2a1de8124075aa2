#include "app/platform/wayland/WaylandPlatform.h"

#include "app/common/Logging.h"
#include "app/platform/SystemClipboard.h"
#include "app/platform/wayland/KWinWindows.h"
#include "app/platform/wayland/SwayBindingShortcut.h"
#include "app/platform/wayland/WaylandClipboard.h"
#include "app/platform/wayland/WaylandConnection.h"
#include "app/platform/wayland/WaylandKeyboard.h"
#include "app/platform/wayland/WaylandPortals.h"
#include "app/platform/wayland/WaylandWindows.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <array>
#include <xkbcommon/xkbcommon.h>

namespace vesk::app {
namespace {

enum class Desktop { sway, hyprland, gnome, kde, other };

Desktop desktopFrom(const QString& currentDesktop)
{
    // XDG_CURRENT_DESKTOP is a colon-separated list, most specific first ("ubuntu:GNOME").
    for (const QString& name : currentDesktop.toLower().split(u':', Qt::SkipEmptyParts)) {
        if (name == QLatin1String("sway")) {
            return Desktop::sway;
        }
        if (name == QLatin1String("hyprland")) {
            return Desktop::hyprland;
        }
        if (name == QLatin1String("gnome")) {
            return Desktop::gnome;
        }
        if (name == QLatin1String("kde")) {
            return Desktop::kde;
        }
    }
    return Desktop::other;
}

QString keyName(const KeyCombination& combination)
{
    char name[64] = {};
    const uint32_t keysym = waylandKeysym(combination.key);
    if (keysym == 0 || xkb_keysym_get_name(keysym, name, sizeof name) <= 0) {
        return combination.displayText().section(u'+', -1).toLower();
    }
    return QString::fromLatin1(name);
}

// The names a compositor's config uses for Super, Ctrl, Alt and Shift, in that order, for those held.
QStringList modifierNames(Qt::KeyboardModifiers modifiers, const std::array<const char*, 4>& names)
{
    const Qt::KeyboardModifier order[] = {Qt::MetaModifier, Qt::ControlModifier, Qt::AltModifier, Qt::ShiftModifier};
    QStringList held;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (modifiers & order[i]) {
            held << QLatin1String(names[i]);
        }
    }
    return held;
}

// Whether a program holds `name` on the session bus: KWin and GNOME Shell are known by theirs.
bool onBus(const char* name)
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus != nullptr && bus->isServiceRegistered(QLatin1String(name)).value();
}

// Where the GlobalShortcuts portal stands for the desktop's own shortcuts: KWin, GNOME Shell and Hyprland.
// Elsewhere (sway) a portal may answer with a back end of another desktop that cannot register anything,
// and the bind line is the honest answer.
bool desktopHasShortcutPortal()
{
    return onBus("org.kde.KWin") || onBus("org.gnome.Shell") ||
           desktopFrom(qEnvironmentVariable("XDG_CURRENT_DESKTOP")) == Desktop::hyprland;
}

QString limitationFor(const WaylandKeyboard& keyboard, bool clipboard)
{
    if (!keyboard.mayPostInput()) {
        return QStringLiteral("This desktop offers neither Wayland's virtual keyboard nor the remote desktop portal, "
                              "so Vesk can't copy the "
                              "selection or paste the correction here. Write (in the tray menu) and `vesk correct` "
                              "still work.");
    }
    if (!clipboard) {
        return QStringLiteral("This desktop doesn't let apps use the clipboard in the background (no data-control "
                              "protocol), so Vesk can't read the selection here. Write (in the tray menu) and "
                              "`vesk correct` still work.");
    }
    return {};
}

// Every Wayland compositor draws windows with transparency.
class WaylandAppearance : public DesktopAppearance
{
public:
    bool composites() override { return true; }
};

} // namespace

QString compositorBindInstructions(const QString& desktop, const KeyCombination& combination)
{
    const Qt::KeyboardModifiers modifiers = combination.modifiers;
    switch (desktopFrom(desktop)) {
    case Desktop::sway: {
        QStringList keys = modifierNames(modifiers, {"Mod4", "Ctrl", "Mod1", "Shift"});
        keys << keyName(combination);
        return QStringLiteral("Sway gives shortcuts only to commands. Add this line to ~/.config/sway/config, then "
                              "reload sway (Mod+Shift+C):\nbindsym %1 exec vesk fix")
            .arg(keys.join(u'+'));
    }
    case Desktop::hyprland:
        return QStringLiteral("Add this line to ~/.config/hypr/hyprland.conf:\nbind = %1, %2, exec, vesk fix")
            .arg(modifierNames(modifiers, {"SUPER", "CTRL", "ALT", "SHIFT"}).join(u' '), keyName(combination));
    case Desktop::gnome:
        return QStringLiteral("This GNOME doesn't let apps register shortcuts. In Settings → Keyboard → Custom "
                              "Shortcuts, add one with the command \"vesk fix\" and the keys %1.")
            .arg(combination.displayText());
    case Desktop::kde:
        return QStringLiteral("In System Settings → Shortcuts, add a command shortcut running \"vesk fix\" on %1.")
            .arg(combination.displayText());
    case Desktop::other:
        break;
    }
    return QStringLiteral("This desktop doesn't let apps register shortcuts. Bind %1 to the command \"vesk fix\" in "
                          "its keyboard settings.")
        .arg(combination.displayText());
}

std::unique_ptr<Platform> createWaylandPlatform()
{
    if (!isWaylandSession()) {
        return nullptr;
    }
    std::shared_ptr<WaylandConnection> connection = WaylandConnection::connect();
    if (!connection) {
        return nullptr;
    }
    auto keyboard = std::make_unique<WaylandKeyboard>(connection);
    auto clipboard = std::make_unique<WaylandClipboard>(connection);
    if (!keyboard->mayPostInput() && !clipboard->isAvailable()) {
        qCInfo(lcPlatform) << "The compositor offers neither a virtual keyboard nor clipboard access";
        return nullptr;
    }
    auto platform = std::make_unique<Platform>();
    platform->limitation = limitationFor(*keyboard, clipboard->isAvailable());
    if (clipboard->isAvailable()) {
        keyboard->setPasteObserver([target = clipboard.get()] { target->notePastePosted(); });
        platform->clipboard = std::move(clipboard);
    } else {
        platform->clipboard = std::make_unique<SystemClipboard>();
    }
    platform->input = std::move(keyboard);
    auto windows = std::make_unique<WaylandWindows>(connection);
    platform->appearance = std::make_unique<WaylandAppearance>();
    // On every compositor, whenever it maps: shown before the copy stroke, the panel could take it (sway), and
    // given back to the source app it is refused the activation it asks for later.
    platform->newWindowsTakeTheKeyboard = true;
    platform->focusSettle = std::chrono::milliseconds(0);
    if (!windows->knowsWindows() && onBus("org.kde.KWin")) {
        platform->windows = std::make_unique<KWinWindows>();
    } else {
        platform->windows = std::move(windows);
    }
    if (desktopHasShortcutPortal() && portalVersion(QStringLiteral("org.freedesktop.portal.GlobalShortcuts")) > 0) {
        platform->shortcut = std::make_unique<PortalGlobalShortcut>();
    } else {
        // The desktop gives shortcuts only to commands: registering is refused with how to bind `vesk fix`.
        RefusingGlobalShortcut::Reason bindLine =
            [desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP")](const KeyCombination& combination) {
                return compositorBindInstructions(desktop, combination);
            };
        const QString ipc = qEnvironmentVariable("SWAYSOCK", qEnvironmentVariable("I3SOCK"));
        if (ipc.isEmpty()) {
            platform->shortcut = std::make_unique<RefusingGlobalShortcut>(std::move(bindLine));
        } else {
            platform->shortcut = std::make_unique<SwayBindingShortcut>(std::move(bindLine), ipc);
        }
    }
    if (!platform->limitation.isEmpty()) {
        qCInfo(lcPlatform) << "Wayland platform:" << platform->limitation;
    }
    return platform;
}

} // namespace vesk::app

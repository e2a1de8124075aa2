#pragma once

// The desktop one Vesk runs on, as the end-to-end tests and the flow benchmarks act on it: X11 of
// with-desktop.sh, sway of with-sway.sh or KWin of with-kwin.sh, told apart by the environment.

#include "e2e/VeskSession.h"

#include <memory>
#include <string>
#include <vector>

namespace vesk::e2e {

inline const std::string typo = "teh cat sat on teh mat";
inline const std::string fixedText = "The cat sat on the mat.";

// A program the user writes in: how it is started and how each desktop knows it has the focus.
struct Target
{
    const char* name;
    std::vector<std::string> command; // the program and its options, before the file or the command it runs
    std::string appId;                // Wayland's app id
    std::string x11Title;             // a part of its X11 window's name
};
inline void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }
inline const Target mousepad{"Mousepad", {"mousepad"}, "mousepad", "notes.txt - Mousepad"};
#ifdef VESK_E2E_WAYLAND
// A Qt editor, whose text input works differently from GTK's.
inline const Target qtEditor{"QtEditor", {VESK_WAYLAND_QT_EDITOR}, "vesk-qt-editor", ""};
#endif

// How the tests act on one desktop. KWin tells other programs nothing about windows: there `knowsWindows`
// is false, the focus is taken as given, the panel as hidden, and as having the keys after a moment.
class DesktopDriver
{
public:
    explicit DesktopDriver(VeskSession& vesk) : m_vesk(vesk) {}
    virtual ~DesktopDriver() = default;
    // Null when no desktop is there.
    [[nodiscard]] static std::unique_ptr<DesktopDriver> forThisSession(VeskSession& vesk);

    [[nodiscard]] virtual bool knowsWindows() const { return true; }
    // What the desktop needs before Vesk starts; what failed, or empty.
    virtual std::string prepare() { return {}; }
    virtual bool startVesk() = 0;
    // Presses each stroke ("ctrl+a", "alt+g", "Return") in turn, to what has focus; what failed, or empty.
    virtual std::string press(const std::vector<std::string>& strokes) = 0;
    // Only presses (`down`) or only releases `stroke`, where the desktop can; what failed, or empty.
    virtual std::string hold(const std::string& stroke, bool /*down*/) { return "can't hold " + stroke; }
    [[nodiscard]] virtual std::string clipboard(const std::string& mimeType) = 0;
    [[nodiscard]] virtual bool hasFocus(const Target& target) = 0;
    // Whether a window of Vesk's titled `title` is shown.
    [[nodiscard]] virtual bool windowShown(const std::string& title) = 0;
    // Mousepad marks a modified document with a leading '*' in its title.
    [[nodiscard]] virtual bool editorModified() = 0;
    [[nodiscard]] virtual bool panelShown() = 0;
    // Waits until the review panel has the keys; false when it never did.
    virtual bool waitForPanelKeys() = 0;
    [[nodiscard]] virtual bool composerOpened() = 0;
    [[nodiscard]] virtual Target terminal() const = 0;
    // Selects the line the terminal printed; whether it did.
    virtual bool selectTerminalRow() = 0;
    virtual void photograph(const std::string& /*name*/) {}
    // What the desktop shows, for a failure report (on X11 with a screenshot saved as `shot`).
    [[nodiscard]] virtual std::string describe(const std::string& shot) = 0;

    // Another program takes the clipboard with `formats` (the clipboard owner's options) and holds it; false
    // when its text never showed.
    bool holdClipboard(const std::vector<std::string>& formats);
    // Opens `text` in `editor` and waits until it has the keys; false when it never did.
    bool openEditor(const Target& editor, const std::string& text);
    // Saves with Ctrl+S whenever `editor` has the focus until the file holds `expected`; what it held last.
    std::string saveUntil(const Target& editor, const std::string& expected);

protected:
    VeskSession& m_vesk;
    std::unique_ptr<BackgroundProcess> m_editor;
    std::unique_ptr<BackgroundProcess> m_owner;
};

} // namespace vesk::e2e

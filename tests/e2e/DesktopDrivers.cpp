// The end-to-end tests' hands on each desktop. X11: keys through XTest, windows by their owner's pid, the
// clipboard through xclip. sway: the shortcut a sway binding that runs `vesk fix`, as the user sets it up
// there, keys from a virtual keyboard with the seat's keymap, windows from sway's tree. KDE: Vesk registers
// its shortcut with the GlobalShortcuts portal and the keys, Vesk's and the test's, go through the
// RemoteDesktop portal; KWin lists no windows to other programs, but Vesk logs the app its script hears of.

#include "e2e/FlowTest.h"
#ifdef VESK_E2E_WAYLAND
#include "e2e/WaylandDesktop.h"
#endif

#include <algorithm>
#include <thread>

namespace vesk::e2e {
namespace {

class X11Driver final : public DesktopDriver
{
public:
    explicit X11Driver(VeskSession& vesk) : m_vesk(vesk) {}

    bool startVesk() override { return m_vesk.start(); }

    std::string press(const std::vector<std::string>& strokes) override
    {
        std::vector<std::string> args{"key", "--delay", "40"};
        args.insert(args.end(), strokes.begin(), strokes.end());
        const test::ProcessResult pressed = runTool("xdotool", args);
        return pressed.exitCode == 0 ? std::string() : "xdotool: " + pressed.err;
    }

    std::string clipboard(const std::string& mimeType) override
    {
        return e2e::clipboard(mimeType == "text/plain" ? "UTF8_STRING" : mimeType);
    }
    bool hasFocus(const Target& target) override
    {
        return activeWindowName().find(target.x11Title) != std::string::npos;
    }
    bool panelShown() override { return reviewPanel(m_vesk.pid()).has_value(); }
    // Once the panel has kept its place and size a moment, its content fits the phase.
    bool waitForPanelKeys() override { return waitForSettledPanel(m_vesk.pid()); }
    // With a tray the home window, where the Composer is, starts hidden.
    bool composerOpened() override { return homeWindow(m_vesk.pid()).has_value(); }

    Target terminal() const override
    {
        return {"Terminal",
                {"xfce4-terminal", "--disable-server", "--hide-menubar", "--hide-toolbar", "--hide-scrollbar",
                 "--geometry", "80x10", "-x"},
                "",
                "Terminal"};
    }
    bool selectTerminalRow() override
    {
        const std::string window = runTool("xdotool", {"getactivewindow"}).out;
        runTool("xdotool", {"mousemove", "--window", window.substr(0, window.find('\n')), "40", "8", "click",
                            "--repeat", "3", "--delay", "80", "1"});
        return runTool("xclip", {"-o", "-selection", "primary"}).out.starts_with("teh");
    }

    void photograph(const std::string& name) override { screenshot(name); }
    std::string describe() override
    {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("failed-") + info->test_suite_name() + "-" + info->name();
        std::replace(name.begin(), name.end(), '/', '-');
        return describeScreen() + "screenshot: " + screenshot(name).string() + "\n";
    }

private:
    VeskSession& m_vesk;
};

#ifdef VESK_E2E_WAYLAND
constexpr const char* veskAppId = "dev.vesk.Vesk";

class WaylandDriver final : public DesktopDriver
{
public:
    explicit WaylandDriver(VeskSession& vesk) : m_vesk(vesk) {}

    bool knowsWindows() const override { return onSway(); }
    std::string prepare() override { return onSway() ? bindFixInSway(m_vesk.directory()) : std::string(); }

    bool startVesk() override
    {
        // On KDE the shortcut and the keyboard come from the portals, which answer after start-up.
        if (!m_vesk.start(onSway() ? std::vector<std::string>{"\nbindsym Mod1+g exec vesk fix"}
                                   : std::vector<std::string>{"Shortcut session open",
                                                              "Remote desktop keyboard granted"})) {
            return false;
        }
        // Without a tray the home window opens at start; the panel is any other window of Vesk's.
        if (onSway()) {
            waitUntil([] { return !windowsOf(veskAppId).empty(); }, 2s);
            for (const auto& window : windowsOf(veskAppId)) {
                m_homeWindows.push_back(window.value("id", 0));
            }
        }
        return true;
    }

    std::string press(const std::vector<std::string>& strokes) override
    {
        if (!m_keyboard) {
            m_keyboard = std::make_unique<Keyboard>();
        }
        return m_keyboard->press(strokes);
    }

    std::string clipboard(const std::string& mimeType) override { return clipboardAs(mimeType); }
    // On KWin the terminal's focus is the last activation Vesk's script reported; an editor's is taken as given.
    bool hasFocus(const Target& target) override
    {
        if (onSway()) {
            return focusedAppId() == target.appId;
        }
        if (target.appId != kwinTerminal.appId) {
            return true;
        }
        const std::string log = m_vesk.log();
        const std::string activated = "KWin activated \"" + target.appId + '"';
        const auto last = log.rfind("KWin activated ");
        return last != std::string::npos && log.compare(last, activated.size(), activated) == 0;
    }
    bool panelShown() override { return onSway() && panel().has_value(); }
    bool waitForPanelKeys() override
    {
        if (!onSway()) {
            std::this_thread::sleep_for(1s);
            return true;
        }
        return waitUntil(
            [&] {
                const auto window = panel();
                return window && window->value("focused", false);
            },
            5s);
    }
    bool composerOpened() override { return m_vesk.log().find("opening the Composer") != std::string::npos; }

    // foot 1.13 dies of KWin's virtual output (its size is unknown): there xfce4-terminal stands in.
    Target terminal() const override { return onSway() ? Target{"Foot", {"foot"}, "foot", ""} : kwinTerminal; }
    // foot's search selects what was typed, and Return keeps the match selected and puts it in the primary;
    // xfce4-terminal has Select All.
    bool selectTerminalRow() override
    {
        std::vector<std::string> strokes{"ctrl+shift+r"};
        for (const char c : typo) {
            strokes.push_back(c == ' ' ? "Space" : std::string(1, c));
        }
        strokes.push_back("Return");
        return press(onSway() ? strokes : std::vector<std::string>{"ctrl+shift+a"}).empty() &&
               runTool("wl-paste", {"--primary", "--no-newline"}, {}, 3s).out.starts_with("teh");
    }

    std::string describe() override { return describeWindows(); }

private:
    [[nodiscard]] std::optional<nlohmann::json> panel() const
    {
        for (const auto& window : windowsOf(veskAppId)) {
            if (std::find(m_homeWindows.begin(), m_homeWindows.end(), window.value("id", 0)) == m_homeWindows.end()) {
                return window;
            }
        }
        return std::nullopt;
    }

    const Target kwinTerminal{"XfceTerminal", {"xfce4-terminal", "--disable-server", "-x"}, "xfce4-terminal", ""};
    VeskSession& m_vesk;
    std::vector<int> m_homeWindows;
    std::unique_ptr<Keyboard> m_keyboard;
};
#endif

} // namespace

std::unique_ptr<DesktopDriver> DesktopDriver::forThisSession(VeskSession& vesk)
{
#ifdef VESK_E2E_WAYLAND
    if (std::getenv("WAYLAND_DISPLAY") != nullptr) {
        return std::make_unique<WaylandDriver>(vesk);
    }
#endif
    return std::getenv("DISPLAY") != nullptr ? std::make_unique<X11Driver>(vesk) : nullptr;
}

} // namespace vesk::e2e

#pragma once

// The first-launch guide, page by page: a provider and a verified key, whether Vesk can copy and paste
// in other apps on this desktop, a practice correction through the real flow, and the end of setup.

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <functional>

namespace vesk::app {

class AppSettings;
class HistoryStore;
class ShortcutSettings;

class OnboardingModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    Q_PROPERTY(int page READ page NOTIFY pageChanged)
    Q_PROPERTY(int pageCount READ pageCount CONSTANT)
    Q_PROPERTY(bool canPostInput READ canPostInput NOTIFY canPostInputChanged)
    // Why Vesk can't work in place here, empty when it can.
    Q_PROPERTY(QString limitation READ limitation CONSTANT)
    Q_PROPERTY(bool isWayland READ isWayland CONSTANT)
    Q_PROPERTY(QString shortcutText READ shortcutText CONSTANT)
    // Why the shortcut isn't active here and what to do instead (sway's bind line), empty when it is.
    Q_PROPERTY(QString shortcutNote READ shortcutNote CONSTANT)
    Q_PROPERTY(QString practiceSentence READ practiceSentence CONSTANT)
    // What the practice field holds now; the view writes it on every change.
    Q_PROPERTY(QString practiceText READ practiceText WRITE setPracticeText NOTIFY practiceTextChanged)
    // True once the practice sentence was corrected, accepted, and pasted back into the field.
    Q_PROPERTY(bool practiced READ practiced NOTIFY practicedChanged)

public:
    enum Page { providerPage, desktopPage, practicePage, donePage, pageTotal };
    Q_ENUM(Page)

    struct Desktop
    {
        std::function<bool()> canPostInput;
        QString limitation;
        bool isWayland = false;
    };

    // Everything must outlive the model; `shortcuts` may be null.
    OnboardingModel(AppSettings& settings, HistoryStore& history, const ShortcutSettings* shortcuts, Desktop desktop,
                    QObject* parent = nullptr);

    [[nodiscard]] int page() const { return m_page; }
    [[nodiscard]] static int pageCount() { return pageTotal; }
    [[nodiscard]] bool canPostInput() const { return m_canPostInput; }
    [[nodiscard]] const QString& limitation() const { return m_desktop.limitation; }
    [[nodiscard]] bool isWayland() const { return m_desktop.isWayland; }
    [[nodiscard]] QString shortcutText() const;
    [[nodiscard]] QString shortcutNote() const;
    [[nodiscard]] static QString practiceSentence();
    [[nodiscard]] const QString& practiceText() const { return m_practiceText; }
    void setPracticeText(const QString& text);
    [[nodiscard]] bool practiced() const { return m_practiced; }

    Q_INVOKABLE void next();
    Q_INVOKABLE void back();
    // Asks the desktop again; the desktop page does it every second while shown.
    Q_INVOKABLE void refreshDesktop();
    // Marks setup as done, so the next launch goes straight to the tray.
    Q_INVOKABLE void finish();

signals:
    void pageChanged();
    void canPostInputChanged();
    void practiceTextChanged();
    void practicedChanged();
    void finished();

private:
    void setPage(int page);
    void checkPractice();

    AppSettings& m_settings;
    HistoryStore& m_history;
    const ShortcutSettings* m_shortcuts;
    Desktop m_desktop;
    int m_page = providerPage;
    bool m_canPostInput = false;
    QString m_practiceText = practiceSentence();
    bool m_practiced = false;
};

} // namespace vesk::app

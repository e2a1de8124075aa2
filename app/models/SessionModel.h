#pragma once

// One correction session as QML sees it, for the review panel and the composer alike. Follows the session
// through its change hook and can be pointed at the next session without being rebuilt.

#include "app/models/ReviewTexts.h"
#include "core/CorrectionSession.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QString>
#include <QVariantList>

namespace vesk::app {

class AppSettings;

class SessionModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    // "reading", "writing", "result", "noChanges" or "error"; "reading" without a session.
    Q_PROPERTY(QString phase READ phase NOTIFY changed)
    // True without a session or once the session went back to the text (the composer's resting state).
    Q_PROPERTY(bool isEditing READ isEditing NOTIFY changed)
    // True while a re-run works behind a result that stays on screen.
    Q_PROPERTY(bool isOverlaying READ isOverlaying NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QString statusLine READ statusLine NOTIFY changed)
    Q_PROPERTY(QString streamingText READ streamingText NOTIFY changed)
    Q_PROPERTY(QString correctedText READ correctedText NOTIFY changed)
    // Runs of {text, kind} in reading order, kind "same", "deleted" or "inserted"; each change gives its
    // deleted original first, then its replacement.
    Q_PROPERTY(QVariantList diffPieces READ diffPieces NOTIFY changed)
    Q_PROPERTY(int changeCount READ changeCount NOTIFY changed)
    Q_PROPERTY(QString changeCountText READ changeCountText NOTIFY changed)
    Q_PROPERTY(QString failureTitle READ failureTitle NOTIFY changed)
    Q_PROPERTY(QString failureMessage READ failureMessage NOTIFY changed)
    Q_PROPERTY(QString failureDetail READ failureDetail NOTIFY changed)
    Q_PROPERTY(bool offersOpenSettings READ offersOpenSettings NOTIFY changed)
    Q_PROPERTY(QString primaryTitle READ primaryTitle NOTIFY changed)

public:
    // `settings`, when given, names the strength and tone before the first run has fixed them.
    explicit SessionModel(const AppSettings* settings = nullptr, QObject* parent = nullptr);

    // Follows `session` from now on (nullptr: none). The session must outlive the model's use of it; a
    // session no longer followed may still run and is simply not listened to any more.
    void setSession(CorrectionSession* session);
    [[nodiscard]] CorrectionSession* session() const { return m_session; }

    [[nodiscard]] ReviewPhase reviewPhase() const { return m_phase; }
    [[nodiscard]] QString phase() const { return ReviewTexts::phaseName(m_phase); }
    [[nodiscard]] bool isEditing() const { return m_isEditing; }
    [[nodiscard]] bool isOverlaying() const { return m_session != nullptr && m_session->overlaying(); }
    [[nodiscard]] QString title() const { return ReviewTexts::title(m_phase); }
    [[nodiscard]] QString subtitle() const;
    [[nodiscard]] QString statusLine() const { return ReviewTexts::statusLine(m_phase, sourceApp()); }
    [[nodiscard]] const QString& streamingText() const { return m_streamingText; }
    [[nodiscard]] const QString& correctedText() const { return m_correctedText; }
    [[nodiscard]] const QVariantList& diffPieces() const { return m_diffPieces; }
    [[nodiscard]] int changeCount() const { return m_changeCount; }
    [[nodiscard]] QString changeCountText() const { return ReviewTexts::changeCount(m_changeCount); }
    [[nodiscard]] const QString& failureTitle() const { return m_failureTitle; }
    [[nodiscard]] const QString& failureMessage() const { return m_failureMessage; }
    [[nodiscard]] const QString& failureDetail() const { return m_failureDetail; }
    [[nodiscard]] bool offersOpenSettings() const { return m_offersOpenSettings; }
    [[nodiscard]] QString primaryTitle() const;

    // Both run the correction again from the session's original text.
    Q_INVOKABLE void regenerate();
    Q_INVOKABLE void retry();
    Q_INVOKABLE void cancel();

    // The runs QML draws for a plan; see `diffPieces`.
    [[nodiscard]] static QVariantList piecesOf(const CorrectionDiffPlan& plan);

signals:
    void changed();

private:
    void refresh();
    [[nodiscard]] std::optional<QString> sourceApp() const;

    const AppSettings* m_settings;
    CorrectionSession* m_session = nullptr;
    Subscription m_observed; // of m_session
    ReviewPhase m_phase = ReviewPhase::reading;
    bool m_isEditing = true;
    QString m_streamingText;
    QString m_correctedText;
    QVariantList m_diffPieces;
    int m_changeCount = 0;
    QString m_failureTitle;
    QString m_failureMessage;
    QString m_failureDetail;
    bool m_offersOpenSettings = false;
};

} // namespace vesk::app

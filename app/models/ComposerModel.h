#pragma once

// The Write section: text typed or pasted into the home window, corrected through a session of its own.

#include "app/common/HomeSection.h"
#include "app/models/SessionModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <QUuid>
#include <functional>
#include <memory>

namespace vesk::app {

class ComposerModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(QString characterCountText READ characterCountText NOTIFY textChanged)
    // False for blank text, so "Fix grammar" has nothing to send.
    Q_PROPERTY(bool canFix READ canFix NOTIFY textChanged)
    Q_PROPERTY(vesk::app::SessionModel* session READ session CONSTANT)

public:
    // Makes a session, in its editing state, for the given text.
    using SessionFactory = std::function<std::unique_ptr<CorrectionSession>(std::string original)>;

    explicit ComposerModel(SessionFactory makeSession, const AppSettings* settings = nullptr,
                           QObject* parent = nullptr);
    ~ComposerModel() override;

    [[nodiscard]] const QString& text() const { return m_text; }
    void setText(const QString& text);
    [[nodiscard]] QString characterCountText() const;
    [[nodiscard]] bool canFix() const { return !m_text.trimmed().isEmpty(); }
    [[nodiscard]] SessionModel* session() { return &m_model; }

    // Loads a draft the composer has not loaded before: its text replaces the editor's, and a correction
    // starts when the draft asks for one. A draft already loaded changes nothing.
    void load(const ComposerDraft& draft);

    // Starts correcting the editor's text with a new session; the previous one, if still running, ends.
    Q_INVOKABLE void fixGrammar();
    // Puts the result on the clipboard and records it in the history (once per run). False without a
    // finished result.
    Q_INVOKABLE bool copyResult();

signals:
    void textChanged();

private:
    SessionFactory m_makeSession;
    SessionModel m_model;
    std::unique_ptr<CorrectionSession> m_session;
    QString m_text;
    QUuid m_lastDraft;
};

} // namespace vesk::app

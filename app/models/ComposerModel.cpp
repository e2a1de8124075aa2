#include "app/models/ComposerModel.h"

#include "app/models/ReviewTexts.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vesk::app {

ComposerModel::ComposerModel(SessionFactory makeSession, const AppSettings* settings, QObject* parent)
    : QObject(parent), m_makeSession(std::move(makeSession)), m_model(settings)
{
}

ComposerModel::~ComposerModel()
{
    m_model.setSession(nullptr);
}

void ComposerModel::setText(const QString& text)
{
    if (m_text == text) {
        return;
    }
    m_text = text;
    emit textChanged();
}

QString ComposerModel::characterCountText() const
{
    return ReviewTexts::characterCount(ReviewTexts::userCharacters(m_text));
}

void ComposerModel::load(const ComposerDraft& draft)
{
    if (draft.id == m_lastDraft) {
        return;
    }
    m_lastDraft = draft.id;
    setText(draft.text);
    if (draft.startsCorrection) {
        fixGrammar();
    }
}

void ComposerModel::fixGrammar()
{
    if (!canFix()) {
        return;
    }
    // The model lets go of the old session before it goes, so no notification reaches a dead session.
    std::unique_ptr<CorrectionSession> next = m_makeSession(m_text.toStdString());
    m_model.setSession(next.get());
    m_session = std::move(next);
    m_session->start();
}

bool ComposerModel::copyResult()
{
    if (!m_session) {
        return false;
    }
    const std::optional<std::string> accepted = m_session->accept();
    if (!accepted) {
        return false;
    }
    QGuiApplication::clipboard()->setText(QString::fromStdString(*accepted));
    return true;
}

} // namespace vesk::app

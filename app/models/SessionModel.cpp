#include "app/models/SessionModel.h"

#include "app/services/AppSettings.h"

#include <QVariantMap>

namespace vesk::app {

namespace {

QString fromUtf8(const std::string& text)
{
    return QString::fromStdString(text);
}

void appendRun(QVariantList& runs, const std::string& text, const QString& kind)
{
    if (!text.empty()) {
        runs.append(QVariantMap{{QStringLiteral("text"), fromUtf8(text)}, {QStringLiteral("kind"), kind}});
    }
}

} // namespace

SessionModel::SessionModel(const AppSettings* settings, QObject* parent) : QObject(parent), m_settings(settings)
{
    if (m_settings != nullptr) {
        connect(m_settings, &AppSettings::changed, this, &SessionModel::refresh);
    }
}

void SessionModel::setSession(CorrectionSession* session)
{
    m_session = session;
    m_observed = session != nullptr ? session->observeChanges([this] { refresh(); }) : Subscription();
    refresh();
}

QString SessionModel::subtitle() const
{
    std::optional<CorrectionSettings> settings;
    if (m_session != nullptr && m_session->run()) {
        settings = m_session->run()->options;
    } else if (m_settings != nullptr) {
        settings = m_settings->correction();
    }
    return ReviewTexts::subtitle(m_phase, m_changeCount, settings, sourceApp());
}

QString SessionModel::primaryTitle() const
{
    return ReviewTexts::primaryTitle(m_changeCount > 0, sourceApp());
}

void SessionModel::regenerate()
{
    if (m_session != nullptr) {
        m_session->start();
    }
}

void SessionModel::retry()
{
    regenerate();
}

void SessionModel::cancel()
{
    if (m_session != nullptr) {
        m_session->cancel();
    }
}

QVariantList SessionModel::piecesOf(const CorrectionDiffPlan& plan)
{
    QVariantList runs;
    for (const CorrectionDiffPiece& piece : plan.pieces) {
        if (!piece.isChange()) {
            appendRun(runs, piece.commonText(), QStringLiteral("same"));
            continue;
        }
        const auto id = static_cast<std::size_t>(piece.changeId());
        if (id < plan.changes.size()) {
            appendRun(runs, plan.changes[id].original, QStringLiteral("deleted"));
            appendRun(runs, plan.changes[id].replacement, QStringLiteral("inserted"));
        }
    }
    return runs;
}

std::optional<QString> SessionModel::sourceApp() const
{
    if (m_session == nullptr || !m_session->sourceApp()) {
        return std::nullopt;
    }
    return fromUtf8(*m_session->sourceApp());
}

void SessionModel::refresh()
{
    m_phase = ReviewPhase::reading;
    m_isEditing = true;
    m_streamingText.clear();
    m_correctedText.clear();
    m_diffPieces.clear();
    m_changeCount = 0;
    m_failureTitle.clear();
    m_failureMessage.clear();
    m_failureDetail.clear();
    m_offersOpenSettings = false;
    if (m_session != nullptr) {
        const CorrectionSession::State& state = m_session->state();
        m_phase = ReviewTexts::phaseOf(state);
        m_isEditing = std::holds_alternative<CorrectionSession::Editing>(state);
        if (const auto* result = std::get_if<CorrectionSession::Result>(&state)) {
            m_correctedText = fromUtf8(result->corrected);
            m_diffPieces = piecesOf(result->diff);
            m_changeCount = result->diff.changeCount();
        } else if (const auto* streaming = std::get_if<CorrectionSession::Streaming>(&state)) {
            m_streamingText = fromUtf8(streaming->text);
        } else if (const auto* failed = std::get_if<CorrectionSession::Failed>(&state)) {
            m_failureTitle = fromUtf8(failed->failure.title);
            m_failureMessage = fromUtf8(failed->failure.message);
            m_failureDetail = fromUtf8(failed->failure.detail.value_or(std::string()));
            m_offersOpenSettings = ReviewTexts::offersOpenSettings(failed->failure);
        }
    }
    emit changed();
}

} // namespace vesk::app

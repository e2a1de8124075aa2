#include "app/models/HistoryActions.h"

#include "app/models/HomeModel.h"
#include "app/common/Utf8.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vesk::app {

HistoryActions::HistoryActions(HistoryStore& store, HomeModel& home, OpenComposer openComposer, Copy copy,
                               QObject* parent)
    : QObject(parent), m_store(store), m_home(home), m_openComposer(std::move(openComposer)),
      m_copy(copy ? std::move(copy) : Copy([](const QString& text) { QGuiApplication::clipboard()->setText(text); }))
{
    connect(&m_store, &HistoryStore::cleared, this, [this] { m_home.setActivitySelection(0); });
}

void HistoryActions::withRecord(qint64 recordId, const std::function<void(const CorrectionRecord&)>& action)
{
    if (const CorrectionRecord* record = m_store.find(recordId)) {
        action(*record);
    }
}

void HistoryActions::copyCorrection(qint64 recordId)
{
    withRecord(recordId, [this](const CorrectionRecord& r) { m_copy(fromUtf8(r.corrected)); });
}

void HistoryActions::copyOriginal(qint64 recordId)
{
    withRecord(recordId, [this](const CorrectionRecord& r) { m_copy(fromUtf8(r.original)); });
}

void HistoryActions::reuseCorrection(qint64 recordId)
{
    withRecord(recordId, [this](const CorrectionRecord& r) {
        m_openComposer(ComposerDraft{.text = fromUtf8(r.corrected), .startsCorrection = false});
    });
}

void HistoryActions::rerunOriginal(qint64 recordId)
{
    withRecord(recordId, [this](const CorrectionRecord& r) {
        m_openComposer(ComposerDraft{.text = fromUtf8(r.original), .startsCorrection = true});
    });
}

void HistoryActions::open(qint64 recordId)
{
    m_home.setActivitySelection(recordId);
    m_home.select(HomeSection::activity);
}

void HistoryActions::clearAll()
{
    m_store.clearAll();
}

} // namespace vesk::app

#pragma once

// What the overview's and activity's rows offer: copy either text, reuse the correction or rerun the
// original in the composer, open a record in Activity, and clear the history.

#include "app/services/HistoryStore.h"
#include "app/common/HomeSection.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <functional>

namespace vesk::app {

class HomeModel;

class HistoryActions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")

public:
    using OpenComposer = std::function<void(const ComposerDraft&)>;
    using Copy = std::function<void(const QString&)>;

    // `copy` puts text on the clipboard (the system clipboard when not given).
    HistoryActions(HistoryStore& store, HomeModel& home, OpenComposer openComposer, Copy copy = {},
                   QObject* parent = nullptr);

    // Each does nothing for a record that is gone.
    Q_INVOKABLE void copyCorrection(qint64 recordId);
    Q_INVOKABLE void copyOriginal(qint64 recordId);
    // The correction back in the composer, to edit further.
    Q_INVOKABLE void reuseCorrection(qint64 recordId);
    // The original in the composer, corrected again at once with today's settings.
    Q_INVOKABLE void rerunOriginal(qint64 recordId);
    // Selects the record in Activity and shows that section.
    Q_INVOKABLE void open(qint64 recordId);
    // Only after the user confirmed; deletes every record.
    Q_INVOKABLE void clearAll();

private:
    void withRecord(qint64 recordId, const std::function<void(const CorrectionRecord&)>& action);

    HistoryStore& m_store;
    HomeModel& m_home;
    OpenComposer m_openComposer;
    Copy m_copy;
};

} // namespace vesk::app

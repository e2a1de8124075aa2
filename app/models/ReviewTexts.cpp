#include "app/models/ReviewTexts.h"

#include "app/common/Utf8.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>
#include <QTextBoundaryFinder>

namespace vesk::app::ReviewTexts {

namespace {

// The panel's texts, translatable under the context "ReviewTexts".
QString text(const char* source)
{
    return QCoreApplication::translate("ReviewTexts", source);
}

template <typename... Ts> struct Overloaded : Ts...
{
    using Ts::operator()...;
};

} // namespace

int userCharacters(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() > 0) {
        ++count;
    }
    return count;
}

ReviewPhase phaseOf(const CorrectionSession::State& state)
{
    return std::visit(Overloaded{
                          [](const CorrectionSession::Streaming&) { return ReviewPhase::writing; },
                          [](const CorrectionSession::Result& result) {
                              return result.diff.changes.empty() ? ReviewPhase::noChanges : ReviewPhase::result;
                          },
                          [](const CorrectionSession::Failed&) { return ReviewPhase::error; },
                          [](const CorrectionSession::Editing&) { return ReviewPhase::reading; },
                          [](const CorrectionSession::Reading&) { return ReviewPhase::reading; },
                      },
                      state);
}

QString phaseName(ReviewPhase phase)
{
    switch (phase) {
    case ReviewPhase::reading:
        return QStringLiteral("reading");
    case ReviewPhase::writing:
        return QStringLiteral("writing");
    case ReviewPhase::result:
        return QStringLiteral("result");
    case ReviewPhase::noChanges:
        return QStringLiteral("noChanges");
    case ReviewPhase::error:
        return QStringLiteral("error");
    }
    return QStringLiteral("reading");
}

QString title(ReviewPhase phase)
{
    switch (phase) {
    case ReviewPhase::reading:
    case ReviewPhase::writing:
        return text("Correcting");
    case ReviewPhase::result:
        return text("Review");
    case ReviewPhase::noChanges:
        return text("Looks good");
    case ReviewPhase::error:
        return text("Couldn't correct");
    }
    return text("Correcting");
}

QString changeCount(int count)
{
    return count == 1 ? text("1 change") : text("%1 changes").arg(count);
}

QString characterCount(int count)
{
    return count == 1 ? text("1 character") : text("%1 characters").arg(QLocale().toString(count));
}

QString subtitle(ReviewPhase phase, int changes, const std::optional<CorrectionSettings>& settings,
                 const std::optional<QString>& sourceApp)
{
    QStringList parts;
    if (phase == ReviewPhase::result) {
        parts << changeCount(changes);
    }
    if (settings) {
        parts << fromUtf8(title(settings->strength)) << fromUtf8(title(settings->tone));
    }
    if (sourceApp && !sourceApp->isEmpty()) {
        parts << text("from %1").arg(*sourceApp);
    }
    return parts.join(QStringLiteral(" · "));
}

QString primaryTitle(bool hasChanges, const std::optional<QString>& sourceApp)
{
    if (!hasChanges) {
        return text("Keep original");
    }
    // "Firefox (Private Browsing)" is Firefox: a parenthesised ending goes, with the spaces before it. A plain
    // scan rather than a regular expression, which would load the PCRE library into the panel for this alone.
    QString name = sourceApp.value_or(QString());
    if (const qsizetype open = name.indexOf(u'('); open >= 0 && name.endsWith(u')')) {
        qsizetype end = open;
        while (end > 0 && name.at(end - 1).isSpace()) {
            --end;
        }
        name.truncate(end);
    }
    if (!name.isEmpty() && userCharacters(name) <= 18) {
        return text("Replace in %1").arg(name);
    }
    return text("Replace");
}

QString statusLine(ReviewPhase phase, const std::optional<QString>& sourceApp)
{
    if (phase == ReviewPhase::reading) {
        if (sourceApp && !sourceApp->isEmpty()) {
            return text("Reading selection %1").arg(*sourceApp);
        }
        return text("Reading selection");
    }
    if (phase == ReviewPhase::writing) {
        return text("Writing the correction");
    }
    return {};
}

bool offersOpenSettings(const ProviderFailure& failure)
{
    return failure.fixableInSettings;
}

} // namespace vesk::app::ReviewTexts

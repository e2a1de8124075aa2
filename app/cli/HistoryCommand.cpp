// `vesk history`: the history, newest first, as lines or JSON.
#include "app/cli/CommandSupport.h"

#include "app/common/Utf8.h"
#include "app/services/HistoryStore.h"
#include "core/HistoryFormat.h"
#include "core/UnicodeText.h"

#include <QDateTime>
#include <ostream>

namespace vesk::app::cli {

namespace {

std::int64_t millisecondsSinceEpoch(std::chrono::system_clock::time_point date)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
}

Json recordJson(const CorrectionRecord& record)
{
    const auto optional = [](const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); };
    Json json = Json::object();
    json["date"] = QDateTime::fromMSecsSinceEpoch(millisecondsSinceEpoch(record.date), Qt::UTC)
                       .toString(Qt::ISODateWithMs)
                       .toStdString();
    json["providerRaw"] = record.providerRaw;
    json["model"] = record.model;
    json["original"] = record.original;
    json["corrected"] = record.corrected;
    json["promptTokens"] = record.promptTokens;
    json["completionTokens"] = record.completionTokens;
    json["estimatedCost"] = record.estimatedCost;
    json["changeCount"] = record.changeCount;
    json["sourceApp"] = optional(record.sourceApp);
    json["strengthRaw"] = optional(record.strengthRaw);
    json["toneRaw"] = optional(record.toneRaw);
    return json;
}

// The correction's title as the app shows it, on one line (runs of white space, line breaks too, become one
// space) and cut after whole characters with an ellipsis.
std::string preview(const CorrectionRecord& record)
{
    constexpr std::size_t maxCharacters = 60;
    const std::string line = fromUtf8(historyformat::title(record)).simplified().toStdString();
    const std::string_view kept = unicode::firstGraphemes(line, maxCharacters);
    return kept.size() < line.size() ? std::string(kept) + "\u2026" : line;
}

// One record a line, fields split by tabs so that grep, cut and awk take it apart.
std::string recordLine(const CorrectionRecord& record)
{
    const QString date = QDateTime::fromMSecsSinceEpoch(millisecondsSinceEpoch(record.date))
                             .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    return date.toStdString() + '\t' + record.sourceLabel() + '\t' + record.fixesLabel() + '\t' + record.model + '\t' +
           preview(record);
}

} // namespace

int historyCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    requireUtf8(args);
    bool json = false;
    std::string query;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--json") {
            json = true;
        } else if (arg == "--search") {
            if (i + 1 >= args.size()) {
                throw UsageError{"--search needs a value"};
            }
            query = args[++i];
        } else if (arg.starts_with("--search=")) {
            query = arg.substr(arg.find('=') + 1);
        } else {
            throw UsageError{"unknown option \"" + arg + "\""};
        }
    }
    const std::unique_ptr<HistoryStore> history = context.openHistory(HistoryStore::Use::read);
    if (!history->isPersistent()) {
        context.err << "Couldn't open the history\n" << history->problem() << "\n";
        return 1;
    }
    const std::vector<CorrectionRecord>& records = history->records();
    const std::vector<std::size_t> found = history->search(fromUtf8(query));
    if (json) {
        Json list = Json::array();
        for (const std::size_t index : found) {
            list.push_back(recordJson(records[index]));
        }
        // A damaged file may hold bytes that are not UTF-8; they are shown replaced rather than lost.
        printJson(context.out, list, 2);
        return 0;
    }
    if (records.empty()) {
        context.err << "No corrections yet.\n";
    }
    for (const std::size_t index : found) {
        context.out << forTerminal(recordLine(records[index]), context.outIsTerminal) << "\n";
    }
    return 0;
}


} // namespace vesk::app::cli

// The `vesk` binary run as a person runs it from a shell, against the scripted provider server on
// loopback. Settings and history live in fresh config and data directories per test; keys come from the
// environment, and the keyring is made unreachable so nothing on the machine is touched.

#include "core/Json.h"
#include "core/PromptBuilder.h"
#include "support/ParamName.h"
#include "support/Process.h"
#include "support/ScriptedProviderServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <sqlite3.h>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vesk {
namespace {

using test::ProcessOptions;
using test::ProcessResult;
using test::ScriptedResponse;
namespace streams = test::streams;

constexpr const char* openAIKey = "sk-test-0123456789abcdef";
constexpr const char* anthropicKey = "sk-ant-test key";

class CommandLineTest : public ::testing::Test
{
protected:
    // `shell` runs first in a shell that then execs vesk, to set limits for it. With `m_keyring` vesk uses
    // the session's real keyring (the test runs inside its own D-Bus session) and no keys from the environment.
    ProcessResult vesk(const std::vector<std::string>& args, const std::string& input = {},
                       std::map<std::string, std::string> environment = {}, const std::string& shell = {}) const
    {
        ProcessOptions options;
        options.input = input;
        options.setEnvironment = {{"XDG_CONFIG_HOME", m_home.filePath("config").toStdString()},
                                  {"XDG_DATA_HOME", m_home.filePath("data").toStdString()}};
        options.unsetEnvironment = {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"};
        if (m_keyring) {
            options.unsetEnvironment.insert(options.unsetEnvironment.end(), {"OPENAI_API_KEY", "ANTHROPIC_API_KEY"});
        } else {
            options.setEnvironment.insert({{"OPENAI_API_KEY", openAIKey},
                                           {"ANTHROPIC_API_KEY", anthropicKey},
                                           {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus"},
                                           {"XDG_RUNTIME_DIR", m_home.filePath("run").toStdString()}});
        }
        for (auto& [name, value] : environment) {
            options.setEnvironment[name] = value;
        }
        if (shell.empty()) {
            return test::runProcess(VESK_BINARY, args, options);
        }
        std::vector<std::string> shellArgs{"-c", shell + "; exec \"$0\" \"$@\"", VESK_BINARY};
        shellArgs.insert(shellArgs.end(), args.begin(), args.end());
        return test::runProcess("/bin/sh", shellArgs, options);
    }

    ProcessResult correctThroughServer(std::vector<std::string> args, std::vector<std::string> deltas,
                                       const std::string& input, const std::string& shell = {})
    {
        m_server.enqueue(ScriptedResponse::events(streams::openAI(std::move(deltas))));
        args.insert(args.begin(), {"correct", "--endpoint", m_server.url("")});
        return vesk(args, input, {}, shell);
    }

public:
    const QTemporaryDir& home() const { return m_home; }
    std::string historyFile() const { return m_home.filePath("data/Vesk/vesk/history.sqlite3").toStdString(); }

    void sql(const std::string& statement) const
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(historyFile().c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }

protected:
    test::ScriptedProviderServer m_server;
    QTemporaryDir m_home;
    bool m_keyring = false;
};

template <typename Row> class ParamTest : public CommandLineTest, public ::testing::WithParamInterface<Row>
{
};
using test::operator<<;

TEST_F(CommandLineTest, CorrectsThroughAnthropicWithOverrides)
{
    m_server.enqueue(ScriptedResponse::events(streams::anthropic({"Hola, ", "mundo."})));
    const ProcessResult r =
        vesk({"correct", "--json", "--provider", "anthropic", "--model=claude-sonnet-4-6", "--endpoint",
              m_server.url(""), "--strength", "clarityFlow", "--tone", "friendly", "--language", "spanish",
              "--meaning-lock", "off", "--preserve-formatting", "off", "--instructions", "keep names"},
             "hola mundo");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(Json::parse(r.out)["corrected"], "Hola, mundo.");
    // The request's shape is the dialect's business (core tests); here: every option reached it.
    const auto request = m_server.requests().at(0);
    EXPECT_EQ(request.header("x-api-key"), anthropicKey);
    const Json body = Json::parse(request.body);
    EXPECT_EQ(body["model"], "claude-sonnet-4-6");
    EXPECT_EQ(body["system"], PromptBuilder::systemPrompt({CorrectionStrength::clarityFlow, Tone::friendly,
                                                           LanguageMode::spanish, false, false, "keep names"}));
}

// How the key is masked is the provider client's table (core tests); here: it is masked on both outputs, and
// provider bytes that are not UTF-8 are replaced in the JSON, never an abort.
TEST_F(CommandLineTest, ProviderFailuresExitOneWithTheKeyMasked)
{
    const std::string body =
        streams::openAIErrorBody(std::string("Incorrect API key provided: ") + openAIKey + ". Check it.");
    m_server.enqueue(ScriptedResponse::text(401, "application/json", body));
    const ProcessResult plain = vesk({"correct", "--endpoint", m_server.url("")}, "helo");
    EXPECT_EQ(plain.exitCode, 1);
    EXPECT_EQ(plain.out, "");
    EXPECT_EQ(plain.err, "OpenAI rejected the key\nCheck the key and paste it again.\n"
                         "HTTP 401 Incorrect API key provided: [redacted]. Check it.\n");

    m_server.enqueue(ScriptedResponse::text(401, "application/json", body));
    m_server.enqueue(ScriptedResponse::text(500, "text/plain", "overloaded \xFF\xFE here"));
    for (const char* detail :
         {"HTTP 401 Incorrect API key provided: [redacted]. Check it.", "overloaded \uFFFD\uFFFD here"}) {
        const ProcessResult json = vesk({"correct", "--json", "--endpoint", m_server.url("")}, "helo");
        EXPECT_EQ(json.exitCode, 1);
        EXPECT_NE(Json::parse(json.out)["failure"]["detail"].get<std::string>().find(detail), std::string::npos);
    }
}

struct RefusalRow
{
    const char* name;
    const char* command; // split at spaces; "$server" is the scripted server's address
    const char* input;
    int exitCode;
    std::string error; // the start of standard error
    std::string shell = {};
};

using CommandLineRefusalTest = ParamTest<RefusalRow>;

TEST_P(CommandLineRefusalTest, ExitsWithoutARequest)
{
    std::vector<std::string> args;
    std::istringstream words(GetParam().command);
    for (std::string word; words >> word;) {
        args.push_back(word == "$server" ? m_server.url("") : word);
    }
    const ProcessResult r = vesk(args, GetParam().input, {}, GetParam().shell);
    EXPECT_EQ(r.exitCode, GetParam().exitCode);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(r.err.starts_with(GetParam().error)) << r.err;
    EXPECT_TRUE(m_server.requests().empty());
}

INSTANTIATE_TEST_SUITE_P(
    , CommandLineRefusalTest,
    ::testing::Values(RefusalRow{"UnknownStrength", "correct --strength Heavy", "helo", 2,
                                 "vesk: unknown strength \"Heavy\""},
                      RefusalRow{"UnknownCommand", "frobnicate", "", 2, "vesk: unknown command"},
                      RefusalRow{"InstructionsNotUtf8", "settings --instructions caf\xC3", "", 2, "vesk: "},
                      RefusalRow{"ReviewIsASavedSettingOnly", "correct --review on", "", 2, "vesk: unknown option"},
                      RefusalRow{"SearchWithoutText", "history --search", "", 2, "vesk: "},
                      RefusalRow{"HistoryHasNoProvider", "history --provider openai", "", 2, "vesk: unknown option"},
                      RefusalRow{"NothingToCorrect", "correct --endpoint $server", " \n", 1, ""},
                      RefusalRow{"TextNotUtf8", "correct --endpoint $server", "caf\xC3", 1,
                                 "Couldn't read the text\nThe input is not"},
                      RefusalRow{"NoKey", "correct --endpoint $server", "helo", 1,
                                 "No OpenAI key yet\nAdd your API key in Settings.\n", "export OPENAI_API_KEY="},
                      // Which addresses are refused is the snapshot's table (core tests).
                      RefusalRow{"UnusableEndpoint", "settings --endpoint localhost:8080", "", 2,
                                 "vesk: the endpoint \"localhost:8080\" is not a usable address"}),
    test::ParamName());

// Saved settings shape the next correction; one value of the wrong type costs that value alone: the local
// endpoint is still used, the user is told, and a later change writes the value back as it was.
TEST_F(CommandLineTest, SettingsPersistAndAFlawCostsThatValueAlone)
{
    ASSERT_EQ(
        vesk({"settings", "--provider", "anthropic", "--endpoint", m_server.url(""), "--tone", "concise"}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(m_home.filePath("data"))) << "settings never open the history";
    m_server.enqueue(ScriptedResponse::events(streams::anthropic({"Done."})));
    EXPECT_EQ(vesk({"correct"}, "done").out, "Done.");
    EXPECT_EQ(m_server.requests().at(0).target, "/v1/messages") << "the saved provider and endpoint";
    EXPECT_NE(m_server.requests().at(0).body.find("concise"), std::string::npos) << "the saved tone";

    const QByteArray document = QByteArray(R"({"selectedProvider":"openai","models":{},"hasOnboarded":"yes",)") +
                                R"("endpoints":{"openai":")" + QByteArray::fromStdString(m_server.url("")) + "\"}}";
    QSettings(m_home.filePath("config/Vesk/vesk.conf"), QSettings::IniFormat).setValue("appSettings.v1", document);
    const std::string warning = "vesk: the saved \"hasOnboarded\" is not understood; false is used instead, and the "
                                "file keeps what it holds\n";
    m_server.enqueue(ScriptedResponse::events(streams::openAI({"Hello."})));
    const ProcessResult r = vesk({"correct", "--no-history"}, "helo");
    EXPECT_EQ(r.out, "Hello.");
    EXPECT_EQ(r.err, warning);
    EXPECT_EQ(m_server.requests().size(), 2U) << "sent to the configured endpoint";

    ASSERT_EQ(vesk({"settings", "--review", "off"}).exitCode, 0);
    const ProcessResult again = vesk({"settings"});
    EXPECT_EQ(again.err, warning) << "still kept as it was";
    EXPECT_EQ(Json::parse(again.out)["reviewBeforeReplacing"], false);
    EXPECT_EQ(Json::parse(again.out)["endpoints"]["openai"], m_server.url(""));
}

// Runs inside a D-Bus session with a throwaway GNOME keyring (see tests/support/with-keyring.sh).
TEST_F(CommandLineTest, KeyringKeysAreSetUsedAndRemoved)
{
    m_keyring = true;
    const std::string key = "sk-from-the-keyring-42";
    const ProcessResult set = vesk({"key", "set", "openai"}, "  " + key + "\n");
    ASSERT_EQ(set.exitCode, 0) << set.err;
    EXPECT_EQ(set.out.find(key), std::string::npos) << "the key is never echoed";
    EXPECT_EQ(vesk({"key", "status"}).out, "openai: key saved\nanthropic: no key\n");

    const ProcessResult r = correctThroughServer({}, {"Hello."}, "helo");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(m_server.requests().at(0).header("Authorization"), "Bearer " + key) << "saved trimmed";

    ASSERT_EQ(vesk({"key", "remove", "openai"}).exitCode, 0);
    EXPECT_EQ(vesk({"key", "status"}).out, "openai: no key\nanthropic: no key\n");
    EXPECT_EQ(vesk({"key", "set", "anthropic"}, "\n").exitCode, 1);
    EXPECT_EQ(vesk({"key", "set", "mistral"}, key).exitCode, 2);
}

TEST_F(CommandLineTest, CorrectsThroughOpenAIAndKeepsSuccessesInTheHistory)
{
    EXPECT_EQ(vesk({"history", "--json"}).out, "[]\n");
    const ProcessResult first = correctThroughServer({"--json"}, {"The", " cat", " sat."}, "teh cat sat");
    ASSERT_EQ(first.exitCode, 0) << first.err;
    const Json out = Json::parse(first.out);
    EXPECT_EQ(out["corrected"], "The cat sat.");
    EXPECT_EQ(out["changes"][0]["replacement"], "The");
    EXPECT_EQ(out["usage"], Json::parse(R"({"promptTokens":78,"completionTokens":9})"));
    EXPECT_EQ(m_server.requests().at(0).header("Authorization"), std::string("Bearer ") + openAIKey);

    ASSERT_EQ(correctThroughServer({"--no-history"}, {"Not kept."}, "not kep").exitCode, 0);
    m_server.enqueue(ScriptedResponse::text(401, "application/json", streams::openAIErrorBody("bad key")));
    ASSERT_EQ(vesk({"correct", "--endpoint", m_server.url("")}, "failed").exitCode, 1);
    ASSERT_EQ(correctThroughServer({"--tone", "friendly", "--model", "gpt-4.1"}, {"Café\tcrème,\nplease."},
                                   "cafe creme\nplease")
                  .exitCode,
              0);

    const Json records = Json::parse(vesk({"history", "--json"}).out);
    ASSERT_EQ(records.size(), 2U) << records.dump(2);
    EXPECT_EQ(records[0]["corrected"], "Café\tcrème,\nplease.");
    EXPECT_EQ(records[0]["toneRaw"], "friendly");
    EXPECT_EQ(records[1]["sourceApp"], "Command line");
    EXPECT_TRUE(std::regex_match(records[1]["date"].get<std::string>(),
                                 std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)")));
    const std::string listed = vesk({"history"}).out;
    EXPECT_EQ(std::ranges::count(listed, '\n'), 2);
    EXPECT_TRUE(std::regex_search(
        listed,
        std::regex(R"(^\d{4}-\d\d-\d\d \d\d:\d\d\tCommand line\t\d+ fix(es)?\tgpt-4\.1\tCafé crème, please\.\n)")))
        << listed;
    // How a search matches is the record's business (core tests); here: both options reach it.
    EXPECT_EQ(std::ranges::count(vesk({"history", "--search", "  CAFE "}).out, '\n'), 1);
    EXPECT_EQ(Json::parse(vesk({"history", "--json", "--search=sat"}).out).size(), 1U);
}

// Many first runs at once all find no history: each creates, migrates or waits, and every row is kept.
TEST_F(CommandLineTest, ConcurrentFirstRunsKeepEveryRow)
{
    m_server.respondWith(
        [](const test::RecordedRequest&) { return ScriptedResponse::events(streams::openAI({"Hi."})); });
    constexpr std::size_t runs = 20;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(QDir(m_home.filePath("data")).removeRecursively());
        std::vector<ProcessResult> results(runs);
        {
            std::vector<std::jthread> threads;
            for (ProcessResult& result : results) {
                threads.emplace_back([&] { result = vesk({"correct", "--endpoint", m_server.url("")}, "hi"); });
            }
        }
        for (const ProcessResult& r : results) {
            EXPECT_EQ(r.err, "") << "round " << round;
        }
        EXPECT_EQ(Json::parse(vesk({"history", "--json"}).out).size(), runs);
    }
}

struct HistoryProblemRow
{
    const char* name;
    std::function<void(const CommandLineTest&)> arrange;
    std::string reason; // the second line of the warning
    bool listed;        // `vesk history` still lists what it can read
    std::string input = "helo";
    std::string shell = {};
};

using CommandLineHistoryProblemTest = ParamTest<HistoryProblemRow>;

TEST_P(CommandLineHistoryProblemTest, NamesTheProblemAndStillCorrects)
{
    const HistoryProblemRow& row = GetParam();
    ASSERT_EQ(correctThroughServer({}, {"Kept."}, "kept").exitCode, 0);
    row.arrange(*this);
    const ProcessResult r = correctThroughServer({}, streams::split(row.input, 4000), row.input, row.shell);
    EXPECT_EQ(r.exitCode, 0);
    // The size limit also cuts the file the output is collected in.
    EXPECT_TRUE(!r.out.empty() && row.input.starts_with(r.out)) << r.out.substr(0, 200);
    EXPECT_EQ(r.err, "vesk: the history couldn't be saved; this correction is not in it.\n" + row.reason + "\n");
    const ProcessResult history = vesk({"history"});
    EXPECT_EQ(history.exitCode, row.listed ? 0 : 1) << history.err;
    if (!row.listed) {
        EXPECT_EQ(history.err, "Couldn't open the history\n" + row.reason + "\n");
    }
    // Read-only for root as well: immutable where the file system allows it; undone for the clean-up.
    std::ignore = std::system(("chattr -i " + historyFile() + " 2>/dev/null").c_str());
}

INSTANTIATE_TEST_SUITE_P(
    , CommandLineHistoryProblemTest,
    ::testing::Values(
        HistoryProblemRow{"DataFolderIsAFile",
                          [](const CommandLineTest& fixture) {
                              ASSERT_TRUE(QDir(fixture.home().filePath("data")).removeRecursively());
                              QFile blocker(fixture.home().filePath("data"));
                              ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
                          },
                          "The history file in Vesk's data folder can't be read or created.", false},
        // Writes past the file size limit fail as writes on a full disk do.
        HistoryProblemRow{"DiskFull", [](const CommandLineTest&) {},
                          "The disk holding the history is full; free some space and Vesk saves again.", true,
                          QString("word ").repeated(8000).toStdString() + "end.", "trap '' XFSZ; ulimit -f 64"},
        HistoryProblemRow{"ReadOnly",
                          [](const CommandLineTest& fixture) {
                              ASSERT_EQ(chmod(fixture.historyFile().c_str(), 0444), 0);
                              if (geteuid() == 0) {
                                  std::ignore =
                                      std::system(("chattr +i " + fixture.historyFile() + " 2>/dev/null").c_str());
                              }
                          },
                          "The history file is read-only, so Vesk can't add to it.", true},
        HistoryProblemRow{"WrittenByANewerVersion",
                          [](const CommandLineTest& fixture) { fixture.sql("PRAGMA user_version = 2"); },
                          "The history was written by a newer version of Vesk; update Vesk to use it. The file is "
                          "left as it is.",
                          false}),
    test::ParamName());

TEST_F(CommandLineTest, FilesAndFoldersAreTheUsersAlone)
{
    ASSERT_EQ(correctThroughServer({}, {"Hello."}, "helo", "umask 022").exitCode, 0);
    ASSERT_EQ(vesk({"settings", "--tone", "concise"}, {}, {}, "umask 022").exitCode, 0);
    const auto mode = [this](const char* path) {
        struct stat status
        {
        };
        EXPECT_EQ(stat(m_home.filePath(path).toUtf8().constData(), &status), 0) << path;
        return status.st_mode & 0777;
    };
    for (const char* folder : {"data", "data/Vesk", "data/Vesk/vesk", "config/Vesk"}) {
        EXPECT_EQ(mode(folder), 0700U) << folder;
    }
    EXPECT_EQ(mode("config/Vesk/vesk.conf"), 0600U) << "the history file's own mode is HistoryStoreTest's";
}

TEST_F(CommandLineTest, ARunningCorrectionDumpsNoCore)
{
    QProcess running;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath("data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath("config"));
    running.setProcessEnvironment(environment);
    // Standard input stays open, so vesk waits for the text.
    running.start(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), QStringLiteral("ulimit -c 4096; exec \"$0\" correct"), QStringLiteral(VESK_BINARY)});
    ASSERT_TRUE(running.waitForStarted());
    const QString proc = QStringLiteral("/proc/%1/").arg(running.processId());
    const auto coreLimit = [&] {
        QFile limits(proc + QStringLiteral("limits"));
        const QByteArray text = limits.open(QIODevice::ReadOnly) ? limits.readAll() : QByteArray();
        const auto at = text.indexOf("Max core file size");
        return text.mid(at, text.indexOf('\n', at) - at).simplified();
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return coreLimit() == "Max core file size 0 0 bytes"; }, 2000))
        << coreLimit().toStdString();
    if (geteuid() != 0) {
        EXPECT_EQ(QFileInfo(proc + QStringLiteral("environ")).ownerId(), 0U) << "not dumpable: /proc belongs to root";
    }
    running.kill();
    running.waitForFinished();
}

// Escape sequences in a reply or the history are shown, not obeyed, on a terminal; a pipe gets the exact text.
TEST_F(CommandLineTest, ControlCharactersAreShownOnATerminal)
{
    const std::string reply = "Hi\x1B]0;owned\x07 there\xC2\x9B"
                              "2J.";
    const ProcessResult piped = correctThroughServer({}, {reply}, "hi there");
    ASSERT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_EQ(piped.out, reply);

    // script(1) runs the command on a terminal of its own and copies what it shows.
    const auto onTerminal = [&](const std::string& command) {
        return vesk({}, {}, {}, "exec script -qec \"" + command + "\" /dev/null").out;
    };
    const std::string shown = "Hi\u241B]0;owned\u2407 there\uFFFD2J.";
    m_server.enqueue(ScriptedResponse::events(streams::openAI({reply})));
    EXPECT_EQ(onTerminal("echo hi there | '$0' correct --endpoint " + m_server.url("")), shown);
    const std::string history = onTerminal("'$0' history");
    EXPECT_TRUE(history.ends_with(shown + "\r\n")) << history;
    EXPECT_EQ(history.find('\x1B'), std::string::npos);
}

} // namespace
} // namespace vesk

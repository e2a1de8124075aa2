#pragma once

// A real HTTP/1.1 server on 127.0.0.1 that answers with scripted responses, for tests and benchmarks that
// drive the transport, the provider client or the command line over a socket.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace vesk::test {

using Headers = std::vector<std::pair<std::string, std::string>>;

struct RecordedRequest
{
    std::string method;
    std::string target; // as sent: "/v1/messages", or an absolute URL when the server was used as a proxy
    Headers headers;    // in arrival order, names as sent
    std::string body;

    // The first header with this name (ASCII case-insensitive), or an empty view.
    [[nodiscard]] std::string_view header(std::string_view name) const;
};

struct ScriptedResponse
{
    enum class Framing { chunked, contentLength, closeDelimited };
    enum class Ending {
        complete,
        drop, // the connection is closed after the last piece, short of the promised body
        stall // nothing more is written until the client hangs up or the server stops
    };

    int status = 200;
    Headers headers{};
    std::vector<std::string> body{};        // one HTTP chunk each when chunked
    std::chrono::milliseconds gap{0};       // before each piece of the body
    std::chrono::milliseconds headDelay{0}; // before the head
    Framing framing = Framing::chunked;
    Ending ending = Ending::complete;
    bool interimContinue = false;     // a "100 Continue" head before the real one
    std::optional<std::string> raw{}; // written instead of any HTTP (then `ending` applies)

    // 200 text/event-stream, one piece per event.
    static ScriptedResponse events(std::vector<std::string> events,
                                   std::chrono::milliseconds gap = std::chrono::milliseconds(0));
    static ScriptedResponse text(int status, std::string contentType, std::string body);
    static ScriptedResponse garbage() { return {.ending = Ending::drop, .raw = "SSH-2.0-OpenSSH_9.2p1\r\n"}; }
    // The request is read and never answered.
    static ScriptedResponse stallBeforeHead() { return {.ending = Ending::stall, .raw = ""}; }
};

class ScriptedProviderServer
{
public:
    using Responder = std::function<ScriptedResponse(const RecordedRequest&)>;

    // Listens on an ephemeral port of 127.0.0.1 at once.
    ScriptedProviderServer();
    // Stalled responses end, every connection is closed and every thread joined.
    ~ScriptedProviderServer();
    ScriptedProviderServer(const ScriptedProviderServer&) = delete;
    ScriptedProviderServer& operator=(const ScriptedProviderServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    // "http://127.0.0.1:<port>" followed by `path`.
    [[nodiscard]] std::string url(std::string_view path = "/") const;

    // Answers the next unanswered request, in arrival order.
    void enqueue(ScriptedResponse response);
    // Answers every request that finds the queue empty; without one such requests get a 500.
    void respondWith(Responder responder);

    [[nodiscard]] std::vector<RecordedRequest> requests() const;
    [[nodiscard]] std::size_t connectionCount() const;
    // Waits until at least `count` requests have arrived; false after `timeout`.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

private:
    void serve(int socket);
    bool respond(int socket, const ScriptedResponse& response);
    // Sleeps; false when the server stops meanwhile.
    bool pause(std::chrono::milliseconds delay);

    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stopping{false};
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<ScriptedResponse> m_queue;
    std::size_t m_nextQueued = 0;
    Responder m_responder;
    std::vector<RecordedRequest> m_requests;
    std::vector<std::pair<int, std::thread>> m_connections;
    std::thread m_acceptor;
};

// Reply streams as the providers send them, for a reply split into pieces (one text delta each), reporting
// 78 prompt and 9 completion tokens. Each string is one whole event.
namespace streams {

// A role chunk, one chunk per piece, the finish chunk, the usage chunk and [DONE].
std::vector<std::string> openAI(const std::vector<std::string>& pieces);
// message_start, content_block_start, ping, one content_block_delta per piece, content_block_stop,
// message_delta with the usage, message_stop.
std::vector<std::string> anthropic(const std::vector<std::string>& pieces);
// Splits text into pieces of about `size` bytes, never inside a UTF-8 sequence.
std::vector<std::string> split(std::string_view text, std::size_t size = 12);
std::string openAIErrorBody(std::string_view message);

} // namespace streams

} // namespace vesk::test

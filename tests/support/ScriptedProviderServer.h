#pragma once

// A real HTTP/1.1 server on 127.0.0.1 that answers with scripted responses, for tests and benchmarks that
// drive the transport, the provider client or the command line over a socket.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace vesk::test {

using Headers = std::vector<std::pair<std::string, std::string>>;

// One request as it arrived.
struct RecordedRequest
{
    std::string method;
    std::string target; // as sent: "/v1/messages", or an absolute URL when the server was used as a proxy
    Headers headers;    // in arrival order, names as sent
    std::string body;   // exact bytes

    // The first header with this name (ASCII case-insensitive), or an empty view.
    [[nodiscard]] std::string_view header(std::string_view name) const;
};

// One piece of the body, written after a pause.
struct BodyChunk
{
    std::string bytes;
    std::chrono::milliseconds delay{0}; // before the piece is written
};

// How one request is answered.
struct ScriptedResponse
{
    enum class Framing {
        chunked,       // Transfer-Encoding: chunked, one HTTP chunk per BodyChunk
        contentLength, // Content-Length of the whole body
        closeDelimited // neither; the body ends when the server closes the connection
    };
    enum class Ending {
        complete, // the body is finished properly
        drop,     // the connection is closed after the last chunk, short of the promised body
        stall     // nothing more is written until the client hangs up or the server stops
    };

    int status = 200;
    Headers headers;
    std::vector<BodyChunk> body;
    Framing framing = Framing::chunked;
    Ending ending = Ending::complete;
    std::chrono::milliseconds headDelay{0}; // before the head is written
    bool interimContinue = false;           // a "100 Continue" head before the real one
    std::optional<std::string> raw;         // written instead of any HTTP (then `ending` applies)

    // 200, text/event-stream, chunked, one chunk per event with `gap` before each.
    static ScriptedResponse events(const std::vector<std::string>& events,
                                   std::chrono::milliseconds gap = std::chrono::milliseconds(0));
    // A whole body at once with this status and content type, Content-Length framed.
    static ScriptedResponse text(int status, std::string contentType, std::string body);
    // Bytes that are not HTTP, then the connection is closed.
    static ScriptedResponse garbage(std::string bytes = "SSH-2.0-OpenSSH_9.2p1 Debian-2\r\nProtocol mismatch.\n");
    // The request is read and never answered.
    static ScriptedResponse stallBeforeHead();
};

class ScriptedProviderServer
{
public:
    using Responder = std::function<ScriptedResponse(const RecordedRequest&)>;

    // Listens on an ephemeral port of 127.0.0.1 at once.
    ScriptedProviderServer();
    // Stops: stalled responses end, every connection is closed and every thread joined.
    ~ScriptedProviderServer();
    ScriptedProviderServer(const ScriptedProviderServer&) = delete;
    ScriptedProviderServer& operator=(const ScriptedProviderServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    // "http://127.0.0.1:<port>" followed by `path`.
    [[nodiscard]] std::string url(std::string_view path = "/") const;

    // Answers the next unanswered request (in arrival order, across connections).
    void enqueue(ScriptedResponse response);
    // Answers every request that finds the queue empty; without one such requests get a 500.
    void respondWith(Responder responder);

    [[nodiscard]] std::vector<RecordedRequest> requests() const;
    [[nodiscard]] std::size_t connectionCount() const;
    // Waits until at least `count` requests have arrived; false after `timeout`.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

private:
    struct Connection;
    void acceptLoop();
    void serve(int socket);
    bool respond(int socket, const ScriptedResponse& response);
    ScriptedResponse responseFor(const RecordedRequest& request);
    bool pause(std::chrono::milliseconds delay) const;
    // Waits until `socket` is readable or hung up; false once the server stops.
    bool waitReadable(int socket) const;
    void stallUntilHangUp(int socket) const;

    int m_listener = -1;
    int m_wake = -1; // readable once the server stops; every wait polls it
    int m_port = 0;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_requestArrived;
    std::vector<ScriptedResponse> m_queue;
    std::size_t m_nextQueued = 0;
    Responder m_responder;
    std::vector<RecordedRequest> m_requests;
    std::vector<std::unique_ptr<Connection>> m_connections;
    std::size_t m_accepted = 0;

    std::thread m_acceptor;
};

// Realistic reply streams, built from a reply split into pieces (one text delta each), reporting 78 prompt and
// 9 completion tokens. Every returned string is one whole event, terminators included, ready to be a BodyChunk.
namespace streams {

// chat.completion.chunk events: a role chunk, one chunk per piece, the finish chunk, the usage chunk
// (include_usage) and [DONE].
std::vector<std::string> openAI(const std::vector<std::string>& pieces);
// message_start, content_block_start, ping, one content_block_delta per piece, content_block_stop (padded as
// the live service pads it), message_delta with the usage, message_stop.
std::vector<std::string> anthropic(const std::vector<std::string>& pieces);
// Splits text into pieces of about `size` bytes, never inside a UTF-8 sequence.
std::vector<std::string> split(std::string_view text, std::size_t size = 12);

// Error bodies as the providers send them.
std::string openAIErrorBody(std::string_view message, std::string_view type = "invalid_request_error",
                            std::string_view code = "invalid_api_key");
// A gateway's page.
std::string htmlErrorBody(int status);

} // namespace streams

} // namespace vesk::test

#include "ScriptedProviderServer.h"

#include "core/Json.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vesk::test {

namespace {

using std::chrono::milliseconds;

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        return lower(x) == lower(y);
    });
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 401:
        return "Unauthorized";
    case 429:
        return "Too Many Requests";
    case 500:
        return "Internal Server Error";
    case 502:
        return "Bad Gateway";
    default:
        return "Status";
    }
}

bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::string hex(std::size_t value)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), digits[value % 16]);
        value /= 16;
    } while (value != 0);
    return text;
}

} // namespace

std::string_view RecordedRequest::header(std::string_view name) const
{
    for (const auto& [key, value] : headers) {
        if (equalsIgnoringCase(key, name)) {
            return value;
        }
    }
    return {};
}

ScriptedResponse ScriptedResponse::events(const std::vector<std::string>& events, milliseconds gap)
{
    ScriptedResponse response;
    response.headers = {{"Content-Type", "text/event-stream; charset=utf-8"}, {"Cache-Control", "no-cache"}};
    for (const auto& event : events) {
        response.body.push_back({event, gap});
    }
    return response;
}

ScriptedResponse ScriptedResponse::text(int status, std::string contentType, std::string body)
{
    ScriptedResponse response;
    response.status = status;
    response.headers = {{"Content-Type", std::move(contentType)}};
    response.body.push_back({std::move(body), milliseconds(0)});
    response.framing = Framing::contentLength;
    return response;
}

ScriptedResponse ScriptedResponse::garbage(std::string bytes)
{
    ScriptedResponse response;
    response.raw = std::move(bytes);
    response.ending = Ending::drop;
    return response;
}

ScriptedResponse ScriptedResponse::stallBeforeHead()
{
    ScriptedResponse response;
    response.raw = std::string();
    response.ending = Ending::stall;
    return response;
}

struct ScriptedProviderServer::Connection
{
    int socket = -1;
    std::thread thread;
    std::atomic<bool> finished{false};
};

ScriptedProviderServer::ScriptedProviderServer()
{
    m_wake = ::eventfd(0, EFD_CLOEXEC);
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_wake < 0 || m_listener < 0) {
        throw std::runtime_error("scripted server: no socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0; // the kernel picks a free port, so parallel test runs never collide
    socklen_t length = sizeof address;
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 64) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(m_listener);
        ::close(m_wake);
        throw std::runtime_error("scripted server: cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
}

ScriptedProviderServer::~ScriptedProviderServer()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one);
    m_acceptor.join();
    // The acceptor is gone, so the list no longer changes. Shutting a socket down also frees a thread that
    // is blocked writing to a client that stopped reading.
    for (auto& connection : m_connections) {
        ::shutdown(connection->socket, SHUT_RDWR);
        connection->thread.join();
        ::close(connection->socket);
    }
    ::close(m_listener);
    ::close(m_wake);
}

std::string ScriptedProviderServer::url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

void ScriptedProviderServer::enqueue(ScriptedResponse response)
{
    const std::lock_guard lock(m_mutex);
    m_queue.push_back(std::move(response));
}

void ScriptedProviderServer::respondWith(Responder responder)
{
    const std::lock_guard lock(m_mutex);
    m_responder = std::move(responder);
}

std::vector<RecordedRequest> ScriptedProviderServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::size_t ScriptedProviderServer::connectionCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_accepted;
}

bool ScriptedProviderServer::waitForRequests(std::size_t count, milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_requestArrived.wait_for(lock, timeout, [&] { return m_requests.size() >= count; });
}

void ScriptedProviderServer::acceptLoop()
{
    while (waitReadable(m_listener)) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            continue;
        }
        // Heads and small chunks must leave at once, or a test could not tell a head from the body after it.
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

        const std::lock_guard lock(m_mutex);
        // Long benchmark runs open many connections; reap the ones that have ended.
        std::erase_if(m_connections, [](const std::unique_ptr<Connection>& connection) {
            if (!connection->finished) {
                return false;
            }
            connection->thread.join();
            ::close(connection->socket);
            return true;
        });
        auto connection = std::make_unique<Connection>();
        connection->socket = socket;
        ++m_accepted;
        Connection* raw = connection.get();
        connection->thread = std::thread([this, raw, socket] {
            serve(socket);
            ::shutdown(socket, SHUT_RDWR);
            raw->finished = true;
        });
        m_connections.push_back(std::move(connection));
    }
}

void ScriptedProviderServer::serve(int socket)
{
    std::string buffer;
    // Reads until `buffer` holds at least `size` bytes; false when the client hung up or the server stops.
    const auto fill = [&](std::size_t size) {
        char scratch[16384];
        while (buffer.size() < size) {
            if (!waitReadable(socket)) {
                return false;
            }
            const ssize_t received = ::recv(socket, scratch, sizeof scratch, 0);
            if (received < 0 && errno == EINTR) {
                continue;
            }
            if (received <= 0) {
                return false;
            }
            buffer.append(scratch, static_cast<std::size_t>(received));
        }
        return true;
    };
    const auto takeLine = [&](std::string& line) {
        std::size_t end = 0;
        while ((end = buffer.find("\r\n")) == std::string::npos) {
            if (!fill(buffer.size() + 1)) {
                return false;
            }
        }
        line = buffer.substr(0, end);
        buffer.erase(0, end + 2);
        return true;
    };

    for (;;) {
        RecordedRequest request;
        std::string line;
        if (!takeLine(line)) {
            return;
        }
        const auto firstSpace = line.find(' ');
        const auto lastSpace = line.rfind(' ');
        if (firstSpace == std::string::npos || lastSpace == firstSpace) {
            sendAll(socket, "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
            return;
        }
        request.method = line.substr(0, firstSpace);
        request.target = line.substr(firstSpace + 1, lastSpace - firstSpace - 1);
        while (takeLine(line) && !line.empty()) {
            const auto colon = line.find(':');
            const std::string_view text(line);
            request.headers.emplace_back(text.substr(0, colon),
                                         colon == std::string::npos ? "" : trimmed(text.substr(colon + 1)));
        }
        if (!line.empty()) {
            return; // hung up inside the head
        }
        if (const auto length = request.header("Content-Length"); !length.empty()) {
            const std::size_t size = std::strtoul(std::string(length).c_str(), nullptr, 10);
            if (!fill(size)) {
                return;
            }
            request.body = buffer.substr(0, size);
            buffer.erase(0, size);
        }
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
        }
        m_requestArrived.notify_all();
        if (!respond(socket, responseFor(request))) {
            return;
        }
    }
}

ScriptedResponse ScriptedProviderServer::responseFor(const RecordedRequest& request)
{
    Responder responder;
    {
        const std::lock_guard lock(m_mutex);
        if (m_nextQueued < m_queue.size()) {
            return m_queue[m_nextQueued++];
        }
        responder = m_responder;
    }
    if (responder) {
        return responder(request);
    }
    return ScriptedResponse::text(500, "text/plain", "no scripted response for " + request.target + "\n");
}

bool ScriptedProviderServer::pause(milliseconds delay) const
{
    if (delay <= milliseconds(0)) {
        return true;
    }
    pollfd wake{m_wake, POLLIN, 0};
    return ::poll(&wake, 1, static_cast<int>(delay.count())) == 0;
}

bool ScriptedProviderServer::waitReadable(int socket) const
{
    for (;;) {
        pollfd fds[] = {{socket, POLLIN, 0}, {m_wake, POLLIN, 0}};
        const int ready = ::poll(fds, 2, -1);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready < 0 || fds[1].revents != 0) {
            return false;
        }
        if (fds[0].revents != 0) {
            return true;
        }
    }
}

void ScriptedProviderServer::stallUntilHangUp(int socket) const
{
    char scratch[4096];
    while (waitReadable(socket) && ::recv(socket, scratch, sizeof scratch, 0) > 0) {
    }
}

// Returns whether the connection stays open for another request.
bool ScriptedProviderServer::respond(int socket, const ScriptedResponse& response)
{
    using Framing = ScriptedResponse::Framing;
    using Ending = ScriptedResponse::Ending;
    if (!pause(response.headDelay)) {
        return false;
    }
    const auto end = [&] {
        if (response.ending == Ending::stall) {
            stallUntilHangUp(socket);
        }
        return false;
    };
    if (response.raw) {
        return sendAll(socket, *response.raw) && end();
    }
    if (response.interimContinue && !sendAll(socket, "HTTP/1.1 100 Continue\r\n\r\n")) {
        return false;
    }

    std::size_t total = 0;
    for (const auto& chunk : response.body) {
        total += chunk.bytes.size();
    }
    const bool keepOpen = response.ending == Ending::complete && response.framing != Framing::closeDelimited;
    std::string head =
        "HTTP/1.1 " + std::to_string(response.status) + " " + std::string(reasonPhrase(response.status)) + "\r\n";
    for (const auto& [name, value] : response.headers) {
        head += name + ": " + value + "\r\n";
    }
    switch (response.framing) {
    case Framing::chunked:
        head += "Transfer-Encoding: chunked\r\n";
        break;
    case Framing::contentLength:
        // A body that is cut off or stalls promises more than it delivers.
        head +=
            "Content-Length: " + std::to_string(response.ending == Ending::complete ? total : total + 1024) + "\r\n";
        break;
    case Framing::closeDelimited:
        break;
    }
    if (!keepOpen) {
        head += "Connection: close\r\n";
    }
    head += "\r\n";
    if (!sendAll(socket, head)) {
        return false;
    }
    for (const auto& chunk : response.body) {
        if (!pause(chunk.delay)) {
            return false;
        }
        if (chunk.bytes.empty()) {
            continue; // an empty HTTP chunk would end the body
        }
        const bool sent = response.framing == Framing::chunked
                              ? sendAll(socket, hex(chunk.bytes.size()) + "\r\n" + chunk.bytes + "\r\n")
                              : sendAll(socket, chunk.bytes);
        if (!sent) {
            return false;
        }
    }
    if (response.ending != Ending::complete) {
        return end();
    }
    if (response.framing == Framing::chunked && !sendAll(socket, "0\r\n\r\n")) {
        return false;
    }
    return keepOpen;
}

namespace streams {

namespace {

constexpr int promptTokens = 78;
constexpr int completionTokens = 9;

std::string event(const std::string& name, const std::string& data)
{
    return (name.empty() ? "" : "event: " + name + "\n") + "data: " + data + "\n\n";
}

Json openAIChunk(Json choices, Json usage)
{
    return Json{{"id", "chatcmpl-BScriptedStream0001"},
                {"object", "chat.completion.chunk"},
                {"created", 1741570283},
                {"model", "gpt-4o-mini-2024-07-18"},
                {"service_tier", "default"},
                {"system_fingerprint", "fp_06737a9306"},
                {"choices", std::move(choices)},
                {"usage", std::move(usage)},
                {"obfuscation", "q3Xz"}};
}

Json openAIChoice(Json delta, Json finishReason)
{
    return Json::array({Json{
        {"index", 0}, {"delta", std::move(delta)}, {"logprobs", nullptr}, {"finish_reason", std::move(finishReason)}}});
}

Json anthropicUsage(int outputTokens)
{
    return Json{{"input_tokens", promptTokens},
                {"cache_creation_input_tokens", 0},
                {"cache_read_input_tokens", 0},
                {"output_tokens", outputTokens}};
}

} // namespace

std::vector<std::string> openAI(const std::vector<std::string>& pieces)
{
    std::vector<std::string> events;
    events.push_back(event(
        "", openAIChunk(openAIChoice({{"role", "assistant"}, {"content", ""}, {"refusal", nullptr}}, nullptr), nullptr)
                .dump()));
    for (const auto& piece : pieces) {
        events.push_back(event("", openAIChunk(openAIChoice({{"content", piece}}, nullptr), nullptr).dump()));
    }
    events.push_back(event("", openAIChunk(openAIChoice(Json::object(), "stop"), nullptr).dump()));
    const Json usage = {{"prompt_tokens", promptTokens},
                        {"completion_tokens", completionTokens},
                        {"total_tokens", promptTokens + completionTokens},
                        {"prompt_tokens_details", {{"cached_tokens", 0}, {"audio_tokens", 0}}},
                        {"completion_tokens_details",
                         {{"reasoning_tokens", 0},
                          {"audio_tokens", 0},
                          {"accepted_prediction_tokens", 0},
                          {"rejected_prediction_tokens", 0}}}};
    events.push_back(event("", openAIChunk(Json::array(), usage).dump()));
    events.push_back(event("", "[DONE]"));
    return events;
}

std::vector<std::string> anthropic(const std::vector<std::string>& pieces)
{
    std::vector<std::string> events;
    const Json start = {{"type", "message_start"},
                        {"message",
                         {{"id", "msg_01ScriptedStream0001"},
                          {"type", "message"},
                          {"role", "assistant"},
                          {"model", "claude-3-5-haiku-20241022"},
                          {"content", Json::array()},
                          {"stop_reason", nullptr},
                          {"stop_sequence", nullptr},
                          {"usage", anthropicUsage(1)}}}};
    events.push_back(event("message_start", start.dump()));
    events.push_back(event("content_block_start",
                           R"({"type":"content_block_start","index":0,"content_block":{"type":"text","text":""}})"));
    events.push_back(event("ping", R"({"type": "ping"})"));
    for (const auto& piece : pieces) {
        const Json delta = {
            {"type", "content_block_delta"}, {"index", 0}, {"delta", {{"type", "text_delta"}, {"text", piece}}}};
        events.push_back(event("content_block_delta", delta.dump()));
    }
    events.push_back(event("content_block_stop", R"({"type":"content_block_stop","index":0              })"));
    const Json messageDelta = {{"type", "message_delta"},
                               {"delta", {{"stop_reason", "end_turn"}, {"stop_sequence", nullptr}}},
                               {"usage", anthropicUsage(completionTokens)}};
    events.push_back(event("message_delta", messageDelta.dump()));
    events.push_back(event("message_stop", R"({"type":"message_stop"           })"));
    return events;
}

std::vector<std::string> split(std::string_view text, std::size_t size)
{
    std::vector<std::string> pieces;
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    while (!text.empty()) {
        std::size_t end = std::min(std::max<std::size_t>(size, 1), text.size());
        while (end < text.size() && isContinuation(text[end])) {
            ++end;
        }
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return pieces;
}

std::string openAIErrorBody(std::string_view message, std::string_view type, std::string_view code)
{
    return Json{{"error", {{"message", message}, {"type", type}, {"param", nullptr}, {"code", code}}}}.dump();
}

std::string htmlErrorBody(int status)
{
    const std::string title = std::to_string(status) + " " + std::string(reasonPhrase(status));
    return "<html>\r\n<head><title>" + title + "</title></head>\r\n<body>\r\n<center><h1>" + title +
           "</h1></center>\r\n<hr><center>nginx</center>\r\n</body>\r\n</html>\r\n";
}

} // namespace streams

} // namespace vesk::test

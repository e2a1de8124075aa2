#include "ScriptedProviderServer.h"

#include "core/Json.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vesk::test {

namespace {

using std::chrono::milliseconds;

bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

// Appends what the client sent next; false once it hung up or the server stopped.
bool receive(int socket, std::string& buffer)
{
    char scratch[16384];
    const ssize_t received = ::recv(socket, scratch, sizeof scratch, 0);
    buffer.append(scratch, static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
    return received > 0;
}

} // namespace

std::string_view RecordedRequest::header(std::string_view name) const
{
    const auto found = std::ranges::find_if(headers, [&](const auto& header) {
        return ::strcasecmp(header.first.c_str(), std::string(name).c_str()) == 0;
    });
    return found == headers.end() ? std::string_view() : found->second;
}

ScriptedResponse ScriptedResponse::events(std::vector<std::string> events, milliseconds gap)
{
    return {.headers = {{"Content-Type", "text/event-stream"}}, .body = std::move(events), .gap = gap};
}

ScriptedResponse ScriptedResponse::text(int status, std::string contentType, std::string body)
{
    return {.status = status,
            .headers = {{"Content-Type", std::move(contentType)}},
            .body = {std::move(body)},
            .framing = Framing::contentLength};
}

ScriptedProviderServer::ScriptedProviderServer()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK); // port 0: the kernel picks a free one
    socklen_t length = sizeof address;
    if (m_listener < 0 || ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 64) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("scripted server: cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_responder = [](const RecordedRequest&) {
        return ScriptedResponse::text(500, "text/plain", "no scripted response");
    };
    m_acceptor = std::thread([this] {
        while (!m_stopping) {
            const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket >= 0) {
                // Small pieces leave at once, or a test could not tell a head from the body after it.
                const int on = 1;
                ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                const std::lock_guard lock(m_mutex);
                m_connections.emplace_back(socket, std::thread([this, socket] { serve(socket); }));
            }
        }
    });
}

// Shutting a socket down wakes the threads blocked on it, reading or writing.
ScriptedProviderServer::~ScriptedProviderServer()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    for (auto& [socket, thread] : m_connections) {
        ::shutdown(socket, SHUT_RDWR);
        thread.join();
        ::close(socket);
    }
    ::close(m_listener);
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
    return m_connections.size();
}

bool ScriptedProviderServer::waitForRequests(std::size_t count, milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] { return m_requests.size() >= count; });
}

bool ScriptedProviderServer::pause(milliseconds delay)
{
    std::unique_lock lock(m_mutex);
    return !m_changed.wait_for(lock, delay, [&] { return m_stopping.load(); });
}

void ScriptedProviderServer::serve(int socket)
{
    for (std::string buffer;;) {
        std::size_t headEnd = 0;
        while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
            if (!receive(socket, buffer)) {
                return;
            }
        }
        RecordedRequest request;
        std::istringstream head(buffer.substr(0, headEnd + 2));
        std::string line;
        head >> request.method >> request.target;
        std::getline(head, line);          // the rest of the request line
        while (std::getline(head, line)) { // "Name: value\r"
            const std::size_t value = line.find_first_not_of(' ', line.find(':') + 1);
            request.headers.emplace_back(line.substr(0, line.find(':')), line.substr(value, line.size() - 1 - value));
        }
        const std::size_t bodyStart = headEnd + 4;
        const std::size_t size = std::stoul("0" + std::string(request.header("Content-Length")));
        while (buffer.size() < bodyStart + size) {
            if (!receive(socket, buffer)) {
                return;
            }
        }
        request.body = buffer.substr(bodyStart, size);
        buffer.erase(0, bodyStart + size);

        std::optional<ScriptedResponse> queued;
        Responder responder;
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
            if (m_nextQueued < m_queue.size()) {
                queued = m_queue[m_nextQueued++];
            } else {
                responder = m_responder;
            }
        }
        m_changed.notify_all();
        if (!respond(socket, queued ? *queued : responder(request))) {
            ::shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

// Returns whether the connection stays open for another request.
bool ScriptedProviderServer::respond(int socket, const ScriptedResponse& response)
{
    using enum ScriptedResponse::Framing;
    const bool complete = response.ending == ScriptedResponse::Ending::complete;
    const bool keepOpen = complete && response.framing != closeDelimited && !response.raw;
    std::string head = response.interimContinue ? "HTTP/1.1 100 Continue\r\n\r\n" : "";
    head += "HTTP/1.1 " + std::to_string(response.status) + " Scripted\r\n";
    for (const auto& [name, value] : response.headers) {
        head += name + ": " + value + "\r\n";
    }
    if (response.framing == chunked) {
        head += "Transfer-Encoding: chunked\r\n";
    } else if (response.framing == contentLength) {
        // A body that is cut off or stalls promises more than it delivers.
        const std::size_t total = std::transform_reduce(response.body.begin(), response.body.end(), std::size_t{0},
                                                        std::plus<>(), [](const auto& piece) { return piece.size(); });
        head += "Content-Length: " + std::to_string(total + (complete ? 0 : 1024)) + "\r\n";
    }
    head += keepOpen ? "\r\n" : "Connection: close\r\n\r\n";
    // `raw` replaces the head and the body.
    const bool framed = response.framing == chunked;
    bool sent = pause(response.headDelay) && sendAll(socket, response.raw.value_or(head));
    for (auto piece = response.body.begin(); sent && !response.raw && piece != response.body.end(); ++piece) {
        char size[24];
        std::snprintf(size, sizeof size, "%zx\r\n", piece->size());
        sent = pause(response.gap) && (piece->empty() || sendAll(socket, framed ? size + *piece + "\r\n" : *piece));
    }
    if (sent && complete && !response.raw) {
        return (!framed || sendAll(socket, "0\r\n\r\n")) && keepOpen;
    }
    // A stalled response waits for the client to hang up.
    for (std::string ignored; sent && response.ending == ScriptedResponse::Ending::stall; ignored.clear()) {
        sent = receive(socket, ignored);
    }
    return false;
}

namespace streams {

namespace {

std::string data(const Json& payload)
{
    return "data: " + payload.dump() + "\n\n";
}

// An Anthropic event: its name is also its payload's "type".
std::string event(const std::string& name, const Json& payload = Json::object())
{
    Json typed{{"type", name}};
    typed.update(payload);
    return "event: " + name + "\n" + data(typed);
}

Json openAIChunk(Json delta, Json finishReason)
{
    return {{"object", "chat.completion.chunk"},
            {"choices", {{{"index", 0}, {"delta", std::move(delta)}, {"finish_reason", std::move(finishReason)}}}}};
}

} // namespace

std::vector<std::string> openAI(const std::vector<std::string>& pieces)
{
    std::vector<std::string> events{data(openAIChunk({{"role", "assistant"}, {"content", ""}}, nullptr))};
    for (const auto& piece : pieces) {
        events.push_back(data(openAIChunk({{"content", piece}}, nullptr)));
    }
    events.push_back(data(openAIChunk(Json::object(), "stop")));
    events.push_back(data({{"choices", Json::array()}, {"usage", {{"prompt_tokens", 78}, {"completion_tokens", 9}}}}));
    events.emplace_back("data: [DONE]\n\n");
    return events;
}

std::vector<std::string> anthropic(const std::vector<std::string>& pieces)
{
    std::vector<std::string> events{
        event("message_start", {{"message", {{"usage", {{"input_tokens", 78}, {"output_tokens", 1}}}}}}),
        event("content_block_start", {{"index", 0}}), event("ping")};
    for (const auto& piece : pieces) {
        events.push_back(event("content_block_delta", {{"delta", {{"type", "text_delta"}, {"text", piece}}}}));
    }
    events.push_back(event("content_block_stop", {{"index", 0}}));
    events.push_back(
        event("message_delta", {{"delta", {{"stop_reason", "end_turn"}}}, {"usage", {{"output_tokens", 9}}}}));
    events.push_back(event("message_stop"));
    return events;
}

std::vector<std::string> split(std::string_view text, std::size_t size)
{
    std::vector<std::string> pieces;
    while (!text.empty()) {
        std::size_t end = std::min(std::max<std::size_t>(size, 1), text.size());
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            ++end;
        }
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return pieces;
}

std::string openAIErrorBody(std::string_view message)
{
    return Json{{"error", {{"message", message}, {"type", "invalid_request_error"}, {"code", "invalid_api_key"}}}}
        .dump();
}

} // namespace streams

} // namespace vesk::test

#include "ScriptedProviderServer.h"

#include "core/Json.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

// Reads until `buffer` holds at least `size` bytes; false once the client hung up or the server stopped.
bool fill(int socket, std::string& buffer, std::size_t size)
{
    char scratch[16384];
    while (buffer.size() < size) {
        const ssize_t received = ::recv(socket, scratch, sizeof scratch, 0);
        if (received <= 0) {
            return false;
        }
        buffer.append(scratch, static_cast<std::size_t>(received));
    }
    return true;
}

} // namespace

std::string_view RecordedRequest::header(std::string_view name) const
{
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && ::strncasecmp(key.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return {};
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
    m_acceptor = std::thread([this] {
        for (;;) {
            const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (m_stopping) {
                if (socket >= 0) {
                    ::close(socket);
                }
                break;
            }
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
    std::string buffer;
    for (;;) {
        std::size_t headEnd = 0;
        while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
            if (!fill(socket, buffer, buffer.size() + 1)) {
                return;
            }
        }
        RecordedRequest request;
        std::string_view head = std::string_view(buffer).substr(0, headEnd + 2);
        const auto takeLine = [&] {
            const std::string_view line = head.substr(0, head.find("\r\n"));
            head.remove_prefix(line.size() + 2);
            return line;
        };
        const std::string_view requestLine = takeLine();
        request.method = requestLine.substr(0, requestLine.find(' '));
        request.target =
            requestLine.substr(request.method.size() + 1, requestLine.rfind(' ') - request.method.size() - 1);
        while (!head.empty()) {
            const std::string_view line = takeLine();
            const std::size_t colon = std::min(line.find(':'), line.size());
            const std::size_t value = std::min(line.find_first_not_of(' ', colon + 1), line.size());
            request.headers.emplace_back(line.substr(0, colon), line.substr(value));
        }
        buffer.erase(0, headEnd + 4);
        const std::size_t size = std::stoul("0" + std::string(request.header("Content-Length")));
        if (!fill(socket, buffer, size)) {
            return;
        }
        request.body = buffer.substr(0, size);
        buffer.erase(0, size);

        ScriptedResponse response;
        Responder responder;
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
            if (m_nextQueued < m_queue.size()) {
                response = m_queue[m_nextQueued++];
            } else if (m_responder) {
                responder = m_responder;
            } else {
                response = ScriptedResponse::text(500, "text/plain", "no scripted response");
            }
        }
        m_changed.notify_all();
        if (!respond(socket, responder ? responder(request) : response)) {
            ::shutdown(socket, SHUT_RDWR);
            return;
        }
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
        char scratch[4096];
        while (response.ending == Ending::stall && ::recv(socket, scratch, sizeof scratch, 0) > 0) {
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
    for (const auto& piece : response.body) {
        total += piece.size();
    }
    const bool complete = response.ending == Ending::complete;
    std::string head = "HTTP/1.1 " + std::to_string(response.status) + " Scripted\r\n";
    for (const auto& [name, value] : response.headers) {
        head += name + ": " + value + "\r\n";
    }
    if (response.framing == Framing::chunked) {
        head += "Transfer-Encoding: chunked\r\n";
    } else if (response.framing == Framing::contentLength) {
        // A body that is cut off or stalls promises more than it delivers.
        head += "Content-Length: " + std::to_string(total + (complete ? 0 : 1024)) + "\r\n";
    }
    const bool keepOpen = complete && response.framing != Framing::closeDelimited;
    if (!sendAll(socket, head + (keepOpen ? "\r\n" : "Connection: close\r\n\r\n"))) {
        return false;
    }
    for (const auto& piece : response.body) {
        char size[24];
        std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
        const bool chunked = response.framing == Framing::chunked;
        if (!pause(response.gap) || (!piece.empty() && !sendAll(socket, chunked ? size + piece + "\r\n" : piece))) {
            return false;
        }
    }
    if (!complete) {
        return end();
    }
    return (response.framing != Framing::chunked || sendAll(socket, "0\r\n\r\n")) && keepOpen;
}

namespace streams {

namespace {

std::string data(const Json& payload)
{
    return "data: " + payload.dump() + "\n\n";
}

std::string event(const std::string& name, const Json& payload)
{
    return "event: " + name + "\n" + data(payload);
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
        event("message_start",
              {{"type", "message_start"}, {"message", {{"usage", {{"input_tokens", 78}, {"output_tokens", 1}}}}}}),
        event("content_block_start", {{"type", "content_block_start"}, {"index", 0}}),
        event("ping", {{"type", "ping"}})};
    for (const auto& piece : pieces) {
        events.push_back(event("content_block_delta", {{"type", "content_block_delta"},
                                                       {"delta", {{"type", "text_delta"}, {"text", piece}}}}));
    }
    events.push_back(event("content_block_stop", {{"type", "content_block_stop"}, {"index", 0}}));
    events.push_back(event(
        "message_delta",
        {{"type", "message_delta"}, {"delta", {{"stop_reason", "end_turn"}}}, {"usage", {{"output_tokens", 9}}}}));
    events.push_back(event("message_stop", {{"type", "message_stop"}}));
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

#include "core/CurlTransport.h"

#include "core/LineSplitter.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstring>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

namespace vesk {

namespace {

using Clock = std::chrono::steady_clock;

// curl_global_init is not thread-safe and must run once before any other libcurl call.
CURLcode initCurlOnce()
{
    static std::once_flag once;
    static CURLcode result = CURLE_OK;
    std::call_once(once, [] { result = curl_global_init(CURL_GLOBAL_DEFAULT); });
    return result;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        return lower(x) == lower(y);
    });
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// RFC 9110 token characters: what a method or a header name may consist of.
bool isToken(std::string_view text)
{
    constexpr std::string_view extra = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               extra.find(c) != std::string_view::npos;
    });
}

bool isSafeHeaderValue(std::string_view value)
{
    return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

void replaceAll(std::string& text, std::string_view secret)
{
    constexpr std::string_view mask = "[redacted]";
    for (auto at = text.find(secret); at != std::string::npos; at = text.find(secret, at + mask.size())) {
        text.replace(at, secret.size(), mask);
    }
}

// libcurl's messages name hosts and ports, never headers; this makes sure a key can still never leak into a
// description, whatever a future libcurl or proxy puts there. Short values are left alone: they cannot be
// secrets and masking them would garble the message.
std::string redacted(std::string text, const HttpRequest& request)
{
    constexpr std::size_t shortest = 6;
    for (const auto& [name, value] : request.headers) {
        if (value.size() >= shortest) {
            replaceAll(text, value);
        }
        // "Bearer <key>": the key on its own too.
        for (std::size_t start = 0; start < value.size();) {
            const auto end = std::min(value.find(' ', start), value.size());
            if (end - start >= shortest) {
                replaceAll(text, std::string_view(value).substr(start, end - start));
            }
            start = end + 1;
        }
    }
    if (const auto query = request.url.find('?'); query != std::string::npos && request.url.size() - query > shortest) {
        replaceAll(text, std::string_view(request.url).substr(query + 1));
    }
    return text;
}

std::string describe(CURLcode code, const char* errorBuffer, const HttpRequest& request)
{
    std::string text = curl_easy_strerror(code);
    std::string detail = errorBuffer;
    while (!detail.empty() && (detail.back() == '\n' || detail.back() == '\r')) {
        detail.pop_back();
    }
    if (!detail.empty() && detail != text) {
        text += ": " + detail;
    }
    return redacted(std::move(text), request);
}

struct EasyDeleter
{
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListDeleter
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

// A multi handle with its one transfer attached; detaches before either is freed, as libcurl requires.
class MultiHandle
{
public:
    explicit MultiHandle(CURL* easy) : m_multi(curl_multi_init()), m_easy(easy) {}
    ~MultiHandle()
    {
        if (m_multi != nullptr) {
            if (m_attached) {
                curl_multi_remove_handle(m_multi, m_easy);
            }
            curl_multi_cleanup(m_multi);
        }
    }
    MultiHandle(const MultiHandle&) = delete;
    MultiHandle& operator=(const MultiHandle&) = delete;

    CURLMcode attach()
    {
        const CURLMcode code = curl_multi_add_handle(m_multi, m_easy);
        m_attached = code == CURLM_OK;
        return code;
    }
    [[nodiscard]] CURLM* get() const { return m_multi; }

private:
    CURLM* m_multi;
    CURL* m_easy;
    bool m_attached = false;
};

// What the libcurl callbacks of one transfer share with the loop that drives it.
class Transfer
{
public:
    Transfer(ResponseHandler& handler, std::stop_token stop)
        : m_handler(handler), m_stop(std::move(stop)),
          m_splitter([this](std::string_view line) { return !m_stop.stop_requested() && m_handler.onLine(line); })
    {
    }

    void setEasy(CURL* easy) { m_easy = easy; }
    [[nodiscard]] bool isHeadReported() const { return m_headReported; }
    [[nodiscard]] bool isHandlerDone() const { return m_handlerDone; }
    // The status and Location of a redirect that ended the transfer.
    [[nodiscard]] const std::optional<std::pair<int, std::string>>& redirect() const { return m_redirect; }
    [[nodiscard]] Clock::time_point lastActivity() const { return m_lastActivity; }
    void touch() { m_lastActivity = Clock::now(); }

    // The body ended normally: a last line without a terminator still counts.
    void finish()
    {
        if (!m_headReported) {
            reportHead();
        }
        if (!m_stop.stop_requested()) {
            m_splitter.finish();
        }
    }

    static size_t onHeader(char* bytes, size_t size, size_t count, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        const size_t total = size * count;
        transfer.touch();
        if (transfer.m_headReported) {
            return total; // trailers after a chunked body
        }
        const std::string_view line(bytes, total);
        if (line != "\r\n" && line != "\n") {
            if (startsWithIgnoringCase(line, "location:")) {
                transfer.m_location = line.substr(9);
            }
            return total;
        }
        // The blank line ends a head. Interim heads (100 Continue and the like) are followed by the real one.
        long status = 0;
        if (curl_easy_getinfo(transfer.m_easy, CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status >= 100 &&
            status < 200) {
            return total;
        }
        return transfer.reportHead() ? total : 0;
    }

    static size_t onBody(char* bytes, size_t size, size_t count, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        const size_t total = size * count;
        transfer.touch();
        if (!transfer.m_headReported && !transfer.reportHead()) {
            return 0;
        }
        if (!transfer.m_splitter.feed(std::string_view(bytes, total))) {
            transfer.m_handlerDone = true;
            return 0; // libcurl stops the transfer at once
        }
        return total;
    }

    // Counts bytes going out as activity too, so a large request body on a slow link is not a time-out.
    static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        if (uploaded != transfer.m_uploaded) {
            transfer.m_uploaded = uploaded;
            transfer.touch();
        }
        return 0;
    }

private:
    bool reportHead()
    {
        if (m_stop.stop_requested()) {
            return false;
        }
        long status = 0;
        if (curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) {
            status = 0;
        }
        // Never followed: the request carries a key, and a provider's API does not move.
        if (status >= 300 && status <= 399) {
            constexpr std::string_view blanks = " \t\r\n";
            std::string_view location = m_location;
            location.remove_prefix(std::min(location.find_first_not_of(blanks), location.size()));
            location = location.substr(0, location.find_last_not_of(blanks) + 1);
            m_redirect.emplace(static_cast<int>(status), std::string(location.substr(0, 500)));
            return false;
        }
        m_headReported = true;
        m_handler.onHead(static_cast<int>(status));
        return true;
    }

    CURL* m_easy = nullptr;
    ResponseHandler& m_handler;
    std::stop_token m_stop;
    LineSplitter m_splitter;
    Clock::time_point m_lastActivity = Clock::now();
    curl_off_t m_uploaded = 0;
    bool m_headReported = false;
    bool m_handlerDone = false; // the handler asked to stop reading
    std::string m_location;     // of the head being read
    std::optional<std::pair<int, std::string>> m_redirect;
};

// Collects the first failure of a run of setopt calls, so that every one is checked without a wall of ifs.
class Options
{
public:
    explicit Options(CURL* easy) : m_easy(easy) {}
    template <typename T> void set(CURLoption option, T value)
    {
        if (m_result == CURLE_OK) {
            m_result = curl_easy_setopt(m_easy, option, value);
        }
    }
    [[nodiscard]] CURLcode result() const { return m_result; }

private:
    CURL* m_easy;
    CURLcode m_result = CURLE_OK;
};

} // namespace

class CurlTransport::ConnectionPool
{
public:
    ConnectionPool()
    {
        if (const CURLcode init = initCurlOnce(); init != CURLE_OK) {
            m_error = curl_easy_strerror(init);
            return;
        }
        m_share = curl_share_init();
        if (m_share == nullptr) {
            m_error = "out of memory";
            return;
        }
        CURLSHcode code = CURLSHE_OK;
        const auto set = [&](CURLSHoption option, auto value) {
            if (code == CURLSHE_OK) {
                code = curl_share_setopt(m_share, option, value);
            }
        };
        set(CURLSHOPT_LOCKFUNC, &ConnectionPool::lock);
        set(CURLSHOPT_UNLOCKFUNC, &ConnectionPool::unlock);
        set(CURLSHOPT_USERDATA, static_cast<void*>(this));
        set(CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT);
        set(CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
        set(CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
        if (code != CURLSHE_OK) {
            m_error = curl_share_strerror(code);
            curl_share_cleanup(m_share);
            m_share = nullptr;
        }
    }
    ~ConnectionPool()
    {
        if (m_share != nullptr) {
            curl_share_cleanup(m_share);
        }
    }
    ConnectionPool(const ConnectionPool&) = delete;
    ConnectionPool& operator=(const ConnectionPool&) = delete;

    [[nodiscard]] CURLSH* handle() const { return m_share; }
    [[nodiscard]] const std::string& error() const { return m_error; }

private:
    // libcurl locks one kind of shared data at a time; a mutex per kind lets a DNS lookup on one thread
    // proceed while another thread takes a connection.
    static void lock(CURL*, curl_lock_data data, curl_lock_access, void* self)
    {
        static_cast<ConnectionPool*>(self)->mutexFor(data).lock();
    }
    static void unlock(CURL*, curl_lock_data data, void* self)
    {
        static_cast<ConnectionPool*>(self)->mutexFor(data).unlock();
    }
    std::mutex& mutexFor(curl_lock_data data)
    {
        const auto index = static_cast<std::size_t>(data);
        return m_locks[index < m_locks.size() ? index : 0];
    }

    CURLSH* m_share = nullptr;
    std::string m_error;
    std::array<std::mutex, CURL_LOCK_DATA_LAST> m_locks;
};

CurlTransport::CurlTransport() : m_pool(sharedPool()) {}

CurlTransport::CurlTransport(std::shared_ptr<ConnectionPool> pool) : m_pool(std::move(pool)) {}

CurlTransport::~CurlTransport() = default;

std::shared_ptr<CurlTransport::ConnectionPool> CurlTransport::sharedPool()
{
    static const std::shared_ptr<ConnectionPool> pool = makePool();
    return pool;
}

std::shared_ptr<CurlTransport::ConnectionPool> CurlTransport::makePool()
{
    return std::make_shared<ConnectionPool>();
}

std::optional<ProviderError> CurlTransport::send(const HttpRequest& request, ResponseHandler& handler,
                                                 std::stop_token stop)
{
    if (m_pool == nullptr || m_pool->handle() == nullptr) {
        return ProviderError::transport("Could not set up the HTTP connection pool: " +
                                        (m_pool ? m_pool->error() : std::string("none given")));
    }
    if (stop.stop_requested()) {
        return std::nullopt;
    }
    if (!startsWithIgnoringCase(request.url, "http://") && !startsWithIgnoringCase(request.url, "https://")) {
        return ProviderError::transport("Unsupported address: only http and https can be used");
    }
    if (!isToken(request.method)) {
        return ProviderError::transport("Invalid request method");
    }

    // Exactly the request's headers. Empty "Expect:" and "Content-Type:" entries stop libcurl from adding
    // its own (100-continue for large bodies, a form encoding for POST).
    HeaderList headers;
    bool hasContentType = false;
    bool hasExpect = false;
    const auto append = [&](const std::string& line) {
        curl_slist* extended = curl_slist_append(headers.get(), line.c_str());
        if (extended == nullptr) {
            return false;
        }
        static_cast<void>(headers.release());
        headers.reset(extended);
        return true;
    };
    for (const auto& [name, value] : request.headers) {
        // The header's name only: its value may be a key.
        if (!isToken(name) || !isSafeHeaderValue(value)) {
            return ProviderError::transport("Invalid request header: " + (isToken(name) ? name : std::string("?")));
        }
        hasContentType = hasContentType || equalsIgnoringCase(name, "Content-Type");
        hasExpect = hasExpect || equalsIgnoringCase(name, "Expect");
        // libcurl drops "Name:" with nothing after it; "Name;" sends the header with an empty value.
        if (!append(value.empty() ? name + ";" : name + ": " + value)) {
            return ProviderError::transport("Out of memory");
        }
    }
    if ((!hasExpect && !append("Expect:")) || (!hasContentType && !append("Content-Type:"))) {
        return ProviderError::transport("Out of memory");
    }

    char errorBuffer[CURL_ERROR_SIZE] = {};
    // Declared before the handle, so it outlives every callback libcurl could still make while cleaning up.
    Transfer transfer(handler, stop);
    EasyHandle easy(curl_easy_init());
    if (easy == nullptr) {
        return ProviderError::transport("Could not start an HTTP transfer");
    }
    transfer.setEasy(easy.get());

    const auto idle = std::max(request.idleTimeout, std::chrono::milliseconds(1));
    Options options(easy.get());
    options.set(CURLOPT_ERRORBUFFER, errorBuffer);
    options.set(CURLOPT_SHARE, m_pool->handle());
    options.set(CURLOPT_URL, request.url.c_str());
    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
    // One request per correction gains nothing from HTTP/2 multiplexing, and libcurl cannot multiplex over a
    // connection that another thread's multi handle holds anyway. HTTP/1.1 keeps one code path for the live
    // service, proxies and the tests' server.
    options.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    options.set(CURLOPT_NOSIGNAL, 1L);
    options.set(CURLOPT_SSL_VERIFYPEER, 1L);
    options.set(CURLOPT_SSL_VERIFYHOST, 2L);
    options.set(CURLOPT_TCP_KEEPALIVE, 1L);
    // Fewer, larger callbacks: reading a long reply over loopback is about a third faster than with 16 KB.
    options.set(CURLOPT_BUFFERSIZE, 128L * 1024);
    // Tunnel responses from an HTTPS proxy are not the provider's head.
    options.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // A transfer cancelled during name resolution must not wait for the resolver thread.
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::min<long long>(idle.count(), LONG_MAX)));
    options.set(CURLOPT_HTTPHEADER, headers.get());
    options.set(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    options.set(CURLOPT_HEADERDATA, static_cast<void*>(&transfer));
    options.set(CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    options.set(CURLOPT_WRITEDATA, static_cast<void*>(&transfer));
    options.set(CURLOPT_XFERINFOFUNCTION, &Transfer::onProgress);
    options.set(CURLOPT_XFERINFODATA, static_cast<void*>(&transfer));
    options.set(CURLOPT_NOPROGRESS, 0L);
    if (request.method == "GET" && request.body.empty()) {
        options.set(CURLOPT_HTTPGET, 1L);
    } else if (request.method == "HEAD") {
        options.set(CURLOPT_NOBODY, 1L);
    } else {
        options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        options.set(CURLOPT_POSTFIELDS, request.body.c_str());
        if (request.method != "POST") {
            options.set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
        }
    }
    if (options.result() != CURLE_OK) {
        return ProviderError::transport(std::string("Could not prepare the request: ") +
                                        curl_easy_strerror(options.result()));
    }

    MultiHandle multi(easy.get());
    if (multi.get() == nullptr) {
        return ProviderError::transport("Could not start an HTTP transfer");
    }
    if (const CURLMcode code = multi.attach(); code != CURLM_OK) {
        return ProviderError::transport(std::string("Could not start an HTTP transfer: ") + curl_multi_strerror(code));
    }
    // Declared after the handles so it is gone before they are freed: a stop arriving from another thread
    // only ever wakes a live multi handle.
    const std::stop_callback wakeOnStop(stop, [&multi] { curl_multi_wakeup(multi.get()); });

    transfer.touch();
    const auto deadline = Clock::now() + std::max(request.deadline, std::chrono::milliseconds(1));
    for (;;) {
        int running = 0;
        CURLMcode code = curl_multi_perform(multi.get(), &running);
        if (stop.stop_requested() || transfer.isHandlerDone()) {
            return std::nullopt;
        }
        if (const auto& redirect = transfer.redirect()) {
            return ProviderError::redirect(redirect->first, redacted(redirect->second, request));
        }
        if (code != CURLM_OK) {
            return ProviderError::transport(curl_multi_strerror(code));
        }
        if (running == 0) {
            break;
        }
        // Our own idle clock rather than libcurl's total time limit: a reply that keeps streaming is never cut.
        const auto now = Clock::now();
        const auto quiet = now - transfer.lastActivity();
        if (quiet >= idle) {
            return ProviderError::timeout();
        }
        if (now >= deadline) {
            return ProviderError::deadlineExceeded();
        }
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::min(idle - quiet, deadline - now)).count();
        code = curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(std::min<long long>(wait, INT_MAX)), nullptr);
        if (code != CURLM_OK) {
            return ProviderError::transport(curl_multi_strerror(code));
        }
    }
    if (stop.stop_requested()) {
        return std::nullopt;
    }

    CURLcode result = CURLE_OK;
    bool finished = false;
    int pending = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi.get(), &pending)) {
        if (message->msg == CURLMSG_DONE && message->easy_handle == easy.get()) {
            result = message->data.result;
            finished = true;
        }
    }
    if (!finished) {
        return ProviderError::transport("The HTTP transfer ended without a result");
    }
    switch (result) {
    case CURLE_OK:
        transfer.finish();
        return std::nullopt;
    case CURLE_OPERATION_TIMEDOUT:
        return ProviderError::timeout();
    case CURLE_OUT_OF_MEMORY:
        // What libcurl reports for a head line beyond its 100 KB limit.
        if (!transfer.isHeadReported()) {
            return ProviderError::invalidResponse("a response header longer than 100 KB");
        }
        break;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return ProviderError::certificate(describe(result, errorBuffer, request));
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY: {
        // Only a peer that was asked and answered with something other than HTTP; an unusable proxy scheme,
        // for one, fails before anything is sent.
        long sent = 0;
        if (!transfer.isHeadReported() && curl_easy_getinfo(easy.get(), CURLINFO_REQUEST_SIZE, &sent) == CURLE_OK &&
            sent > 0) {
            return ProviderError::invalidResponse();
        }
        break;
    }
    default:
        break;
    }
    return ProviderError::transport(describe(result, errorBuffer, request));
}

} // namespace vesk

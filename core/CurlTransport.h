#pragma once

// The production transport: HTTP over libcurl, streamed, on the calling thread.

#include "core/ProviderTransport.h"

#include <memory>

namespace vesk {

// Sends each request on its own libcurl multi handle, so transfers on different threads never wait for one
// another, while all transports of the process draw on one connection pool (connections, DNS answers and
// TLS sessions), so a second correction to the same host skips the TCP and TLS handshakes.
//
// Requests go out as HTTP/1.1 with exactly the request's method, headers and body. libcurl adds only what
// HTTP/1.1 needs: Host, Content-Length, and "Accept: */*" unless the request sets Accept. It never adds
// "Expect: 100-continue" nor a default Content-Type. TLS peers are always verified against the system's
// CA store; the usual proxy environment variables (http_proxy, https_proxy, no_proxy) are honoured.
class CurlTransport final : public ProviderTransport
{
public:
    // The process-wide connection pool, shared by every transport made with the default constructor.
    class ConnectionPool;

    CurlTransport();
    // Uses a pool of its own; for tests that must not see connections opened elsewhere.
    explicit CurlTransport(std::shared_ptr<ConnectionPool> pool);
    ~CurlTransport() override;

    static std::shared_ptr<ConnectionPool> sharedPool();
    static std::shared_ptr<ConnectionPool> makePool();

    std::optional<ProviderError> send(const HttpRequest& request, ResponseHandler& handler,
                                      std::stop_token stop) override;

private:
    std::shared_ptr<ConnectionPool> m_pool;
};

} // namespace vesk

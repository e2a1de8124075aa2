#pragma once

// Sends one HTTP request and streams the response back as lines, on the calling thread.

#include "core/HttpRequest.h"
#include "core/ProviderError.h"

#include <optional>
#include <stop_token>
#include <string_view>

namespace vesk {

// Receives a response as it arrives.
class ResponseHandler
{
public:
    virtual ~ResponseHandler() = default;
    // The response head has arrived; called once, before any line.
    virtual void onHead(int status) = 0;
    // One body line without its terminator (lines end at LF, CR or CRLF), in arrival order.
    // Returning false stops reading; the rest of the body is not read.
    virtual bool onLine(std::string_view line) = 0;
};

class ProviderTransport
{
public:
    virtual ~ProviderTransport() = default;

    // Blocks until the body has been read, the handler stopped reading, `stop` was requested, or the
    // transfer failed. Returns nothing in the first three cases; otherwise `transport` with a readable
    // description, `timeout` after the request's idle time-out, `deadlineExceeded` after its deadline,
    // or `invalidResponse` when the peer does
    // not answer with HTTP. A stop request ends the transfer promptly and never calls the handler again.
    virtual std::optional<ProviderError> send(const HttpRequest& request, ResponseHandler& handler,
                                              std::stop_token stop) = 0;
};

} // namespace vesk

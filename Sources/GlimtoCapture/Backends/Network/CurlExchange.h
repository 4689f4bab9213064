#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <curl/curl.h>

#include "Backends/Network/RequestBody.h"
#include "Backends/Network/WebOrigin.h"
#include "Platform/HTTPTransport.h"
#include "Support/Owned.h"

namespace glimto {

using CurlEasyHandle = Owned<CURL, curl_easy_cleanup>;
using CurlListHandle = Owned<curl_slist, curl_slist_free_all>;

// One request with everything that belongs to it, through all its redirects. Used by the transport's thread
// alone, but for `isCancelled`.
class CurlExchange {
public:
    using Time = std::chrono::steady_clock::time_point;

    // `isCancelled` is set from outside, or here once the request has ended.
    CurlExchange(HTTPRequest request, HTTPTransport::Completion completion,
        std::shared_ptr<std::atomic<bool>> isCancelled);

    // The handle of an exchange that is over, for the next one: making them is a good part of a small
    // request's cost.
    void lend(CurlEasyHandle easy) { easy_ = std::move(easy); }
    CurlEasyHandle giveBack();

    CURL* easy() const { return easy_.get(); }
    bool isCancelled() const { return *isCancelled_; }

    // Why the request has taken too long; null while it has not.
    std::exception_ptr timeoutError(Time now) const;

    // Makes the handle ready for the first or next hop. Throws PlatformError.
    void prepareHop();

    // After a hop has ended: true when prepareHop() shall lead to the place that the answer names. Throws
    // PlatformError when that is no place to go, and when the hop failed.
    bool endHop(CURLcode result);

    // Calls the completion. At most one of them, once.
    void succeed();
    void fail(const std::exception_ptr& error);

    static std::exception_ptr cancelledError();

private:
    std::optional<WebOrigin> firstOrigin() const { return WebOrigin::of(request_.url); }
    void setUpAddress();
    void setUpBody();
    void setUpHeaders();
    void follow(int status, const std::string& address);
    [[noreturn]] void throwFailure(CURLcode result) const;
    void noteProgress() { lastProgress_ = std::chrono::steady_clock::now(); }

    static std::size_t didReceiveHeader(char* data, std::size_t size, std::size_t count, void* exchange);
    static std::size_t didReceiveBody(char* data, std::size_t size, std::size_t count, void* exchange);
    static std::size_t wantsBody(char* buffer, std::size_t size, std::size_t count, void* exchange);
    static int seekBody(void* exchange, curl_off_t offset, int from);
    static int didProgress(void* exchange, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);

    HTTPRequest request_;
    HTTPTransport::Completion completion_;
    std::shared_ptr<std::atomic<bool>> isCancelled_;
    RequestBody body_; // reads from `request_`
    std::string address_; // of this hop
    std::string method_; // of this hop
    int redirects_ = 0;

    HTTPResponse response_;
    std::size_t headerBytes_ = 0;
    curl_off_t movedBytes_ = 0;
    Time begin_ = std::chrono::steady_clock::now();
    Time lastProgress_ = begin_;
    std::exception_ptr failure_; // of a callback
    std::array<char, CURL_ERROR_SIZE> errorText_ = {};
    CurlListHandle headers_;
    CurlEasyHandle easy_; // last: it points to the others
};

} // namespace glimto

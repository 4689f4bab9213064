#include "Backends/Network/CurlExchange.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Text.h"
#include "Support/WebAddress.h"

namespace glimto {

namespace {

constexpr int mostRedirects = 16;
constexpr std::size_t mostHeaderBytes = 256 << 10;
constexpr long uploadBufferBytes = 256 << 10;
constexpr std::int64_t largeBodyBytes = 256 << 10; // a smaller one is not worth such a buffer

// Headers that belong to the connection, and those that would lie about the body: HTTP itself sets them.
bool isSetByHTTP(const std::string& name)
{
    constexpr std::array names = {"connection", "content-length", "expect", "host", "keep-alive",
        "proxy-connection", "te", "trailer", "transfer-encoding", "upgrade"};
    return std::find(names.begin(), names.end(), lowercased(name)) != names.end();
}

// Headers that tell who we are, which another origin is not told.
bool isCredential(const std::string& name)
{
    constexpr std::array names = {"authorization", "cookie", "proxy-authorization"};
    return std::find(names.begin(), names.end(), lowercased(name)) != names.end();
}

// A field name is a token, and a field value has no line breaks (RFC 9110 sections 5.1 and 5.5).
bool isWellFormedHeader(const std::string& name, const std::string& value)
{
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    const bool isToken = !name.empty() && std::all_of(name.begin(), name.end(), [&](char character) {
        return isAlphanumeric(character) || marks.find(character) != std::string_view::npos;
    });
    return isToken && value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

// "Name:" alone would tell the library to leave the header out.
std::string headerLine(const std::string& name, const std::string& value)
{
    return value.empty() ? name + ";" : name + ": " + value;
}

// Appends a copy of `line`.
void append(CurlListHandle& list, const std::string& line)
{
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (!longer)
        throw std::bad_alloc();
    static_cast<void>(list.release()); // the longer list owns it
    list.reset(longer);
}

// Errors whose text tells more than their name and holds nothing of the address but the host.
bool hasTellingText(CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
        return true;
    default:
        return false;
    }
}

} // namespace

CurlExchange::CurlExchange(
    HTTPRequest request, HTTPTransport::Completion completion, std::shared_ptr<std::atomic<bool>> isCancelled)
    : request_(std::move(request))
    , completion_(std::move(completion))
    , isCancelled_(std::move(isCancelled))
    , body_(request_.body)
    , address_(request_.url)
    , method_(request_.method)
{
}

CurlEasyHandle CurlExchange::giveBack()
{
    if (easy_)
        curl_easy_reset(easy_.get()); // it points to what ends with this exchange
    return std::move(easy_);
}

void CurlExchange::prepareHop()
{
    if (!isWebAddress(address_) && !WebOrigin::of(address_))
        throw PlatformError(
            errorDomain::http, CURLE_URL_MALFORMAT, "The address of a request is no http or https URL.");
    if (easy_)
        curl_easy_reset(easy_.get());
    else
        easy_.reset(curl_easy_init());
    if (!easy_)
        throw std::bad_alloc();
    response_ = {};
    headerBytes_ = 0;
    movedBytes_ = 0;
    errorText_ = {};
    noteProgress();
    setUpAddress();
    setUpBody();
    setUpHeaders();
}

void CurlExchange::setUpAddress()
{
    CURL* easy = easy_.get();
    curl_easy_setopt(easy, CURLOPT_URL, address_.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // A name that is looked up slowly must not keep a cancelled request waiting.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, static_cast<long>(request_.timeout.count()));
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    // What is on this machine needs no proxy of the network, which would see the access key.
    if (isThisMachine(hostOfWebAddress(address_)))
        curl_easy_setopt(easy, CURLOPT_PROXY, "");
    // As the other programs of the system have it, for a certificate authority of one's own.
    if (const char* file = std::getenv("SSL_CERT_FILE"))
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    if (const char* directory = std::getenv("SSL_CERT_DIR"))
        curl_easy_setopt(easy, CURLOPT_CAPATH, directory);

    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &didReceiveHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &didReceiveBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &didProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
}

void CurlExchange::setUpBody()
{
    CURL* easy = easy_.get();
    body_.seek(0);
    if (method_ == "GET") {
        curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        return;
    }
    if (method_ == "POST") {
        // Small bodies go with the headers in one piece; the API's requests are such.
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body_.size()));
        if (const auto* bytes = std::get_if<std::string>(&request_.body)) {
            curl_easy_setopt(easy, CURLOPT_POSTFIELDS, bytes->data());
            return;
        }
    } else {
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(body_.size()));
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method_.c_str());
    }
    if (body_.size() > largeBodyBytes)
        curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &wantsBody);
    curl_easy_setopt(easy, CURLOPT_READDATA, this);
    curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, &seekBody);
    curl_easy_setopt(easy, CURLOPT_SEEKDATA, this);
}

void CurlExchange::setUpHeaders()
{
    const bool isAtFirstOrigin = redirects_ == 0 || WebOrigin::of(address_) == firstOrigin();
    HTTPHeaders headers = request_.headers;
    if (isAtFirstOrigin)
        headers.insert(headers.end(), request_.originHeaders.begin(), request_.originHeaders.end());
    bool hasContentType = false;
    headers_.reset();
    for (const auto& [name, value] : headers) {
        if (!isWellFormedHeader(name, value))
            throw PlatformError(
                errorDomain::http, CURLE_BAD_FUNCTION_ARGUMENT, "A header of a request is malformed.");
        const bool belongsToBody = lowercased(name) == "content-type";
        const bool isLeftOut = isSetByHTTP(name) || (!isAtFirstOrigin && isCredential(name))
            || (belongsToBody && method_ == "GET" && request_.method != "GET");
        if (isLeftOut)
            continue;
        hasContentType = hasContentType || belongsToBody;
        append(headers_, headerLine(name, value));
    }
    // What the library would add of its own accord.
    for (const char* line : {"Expect:", "Accept:"})
        append(headers_, line);
    if (!hasContentType)
        append(headers_, "Content-Type:");
    curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
}

bool CurlExchange::endHop(CURLcode result)
{
    if (result != CURLE_OK)
        throwFailure(result);
    long status = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    const char* address = nullptr;
    curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &address);
    constexpr std::array redirections = {301, 302, 303, 307, 308};
    const bool isRedirection
        = std::find(redirections.begin(), redirections.end(), response_.status) != redirections.end();
    if (!isRedirection || !address)
        return false;
    follow(response_.status, address);
    return true;
}

void CurlExchange::follow(int status, const std::string& address)
{
    const auto here = WebOrigin::of(address_);
    const auto there = WebOrigin::of(address);
    const auto first = firstOrigin();
    if (++redirects_ > mostRedirects)
        throw PlatformError(errorDomain::http, CURLE_TOO_MANY_REDIRECTS,
            "Too many redirects from " + (first ? first->text() : "a server") + ".");
    if (!here || !there)
        throw PlatformError(errorDomain::http, CURLE_UNSUPPORTED_PROTOCOL,
            "A redirect of " + (here ? here->text() : "a server") + " leads to no http or https URL.");
    // What was to be sent encrypted is not sent in the clear.
    if (here->scheme == "https" && there->scheme == "http")
        throw PlatformError(errorDomain::http, CURLE_UNSUPPORTED_PROTOCOL,
            "A redirect of " + here->text() + " leads away from encryption.");
    // What clients do (RFC 9110 section 15.4): 307 and 308 repeat the request as it was.
    const bool becomesGet
        = (status == 303 && method_ != "GET") || ((status == 301 || status == 302) && method_ == "POST");
    if (becomesGet)
        method_ = "GET";
    address_ = address;
}

void CurlExchange::throwFailure(CURLcode result) const
{
    if (failure_)
        std::rethrow_exception(failure_);
    const auto origin = WebOrigin::of(address_);
    const std::string_view text = errorText_.data();
    const std::string reason
        = hasTellingText(result) && !text.empty() ? std::string(text) : curl_easy_strerror(result);
    throw PlatformError(errorDomain::http, result,
        "The request to " + (origin ? origin->text() : std::string("a server")) + " failed: " + reason + ".");
}

void CurlExchange::succeed()
{
    *isCancelled_ = true;
    completion_(std::move(response_), nullptr);
}

void CurlExchange::fail(const std::exception_ptr& error)
{
    *isCancelled_ = true;
    completion_({}, error);
}

std::exception_ptr CurlExchange::timeoutError(Time now) const
{
    std::string reason;
    if (now - lastProgress_ > request_.timeout)
        reason = "nothing moved for " + std::to_string(request_.timeout.count()) + " seconds";
    else if (now - begin_ > request_.deadline)
        reason = "it was not done within " + std::to_string(request_.deadline.count()) + " seconds";
    else
        return nullptr;
    const auto origin = WebOrigin::of(address_);
    return std::make_exception_ptr(PlatformError(errorDomain::http, CURLE_OPERATION_TIMEDOUT,
        "The request to " + (origin ? origin->text() : std::string("a server")) + " timed out: " + reason
            + "."));
}

std::exception_ptr CurlExchange::cancelledError()
{
    return std::make_exception_ptr(
        PlatformError(errorDomain::http, CURLE_ABORTED_BY_CALLBACK, "The request was canceled."));
}

std::size_t CurlExchange::didReceiveHeader(char*, std::size_t size, std::size_t count, void* exchange)
{
    auto& self = *static_cast<CurlExchange*>(exchange);
    self.noteProgress();
    self.headerBytes_ += size * count;
    if (self.headerBytes_ <= mostHeaderBytes)
        return size * count;
    self.failure_ = std::make_exception_ptr(
        PlatformError(errorDomain::http, CURLE_FILESIZE_EXCEEDED, "The headers of an answer are too long."));
    return 0;
}

std::size_t CurlExchange::didReceiveBody(char* data, std::size_t size, std::size_t count, void* exchange)
{
    auto& self = *static_cast<CurlExchange*>(exchange);
    self.noteProgress();
    const std::size_t length = size * count;
    if (length <= self.request_.mostResponseBytes - self.response_.body.size()) {
        self.response_.body.append(data, length);
        return length;
    }
    self.failure_ = std::make_exception_ptr(PlatformError(errorDomain::http, CURLE_FILESIZE_EXCEEDED,
        "The answer is longer than " + std::to_string(self.request_.mostResponseBytes) + " bytes."));
    return 0;
}

std::size_t CurlExchange::wantsBody(char* buffer, std::size_t size, std::size_t count, void* exchange)
{
    auto& self = *static_cast<CurlExchange*>(exchange);
    self.noteProgress();
    try {
        return self.body_.read(buffer, size * count);
    } catch (...) {
        self.failure_ = std::current_exception();
        return CURL_READFUNC_ABORT;
    }
}

int CurlExchange::seekBody(void* exchange, curl_off_t offset, int from)
{
    auto& self = *static_cast<CurlExchange*>(exchange);
    return from == SEEK_SET && self.body_.seek(offset) ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
}

int CurlExchange::didProgress(void* exchange, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent)
{
    auto& self = *static_cast<CurlExchange*>(exchange);
    const curl_off_t moved = received + sent;
    if (moved != std::exchange(self.movedBytes_, moved))
        self.noteProgress();
    return 0;
}

} // namespace glimto

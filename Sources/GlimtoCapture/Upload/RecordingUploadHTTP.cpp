#include "Upload/RecordingUploadHTTP.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

#include "Support/Errors.h"
#include "Support/Text.h"
#include "Support/WebAddress.h"
#include "Upload/TransferGroup.h"

namespace glimto {

namespace {

constexpr std::size_t mostUploadAnswerBytes = 1 << 20; // nobody reads it
// A slower line makes no headway against a recording of text on a still screen.
constexpr std::uintmax_t slowestBytesPerSecond = 4 << 10;

// Of a web address, whose scheme is in lower case.
bool isEncrypted(std::string_view address)
{
    return address.starts_with("https://");
}

// Text for one line: the answer may be a page of HTML.
std::string lineOf(std::string_view text)
{
    auto line = excerpt(text);
    while (line.ends_with(' '))
        line.pop_back();
    return line;
}

std::string detailOf(std::string_view body)
{
    try {
        return lineOf(readJSON<APIErrorResponse>(body, "the error").error.message);
    } catch (const PlatformError&) {
        // Not the API's own error: perhaps one of a proxy before it.
    }
    if (body.empty() || validUTF8(body) != body)
        return "request failed";
    return lineOf(body);
}

} // namespace

RecordingUploadHTTP::RecordingUploadHTTP(
    RecordingUploadOptions options, const Service<HTTPTransport>& transport, UploadCancellation& cancellation)
    : options_(std::move(options))
    , transport_(transport)
    , cancellation_(cancellation)
{
}

std::string RecordingUploadHTTP::endpoint(std::initializer_list<std::string_view> components) const
{
    return appendingPathSegments(options_.apiBaseURL, components);
}

std::string RecordingUploadHTTP::getJSON(const std::string& url)
{
    HTTPRequest request;
    request.method = "GET";
    request.url = url;
    request.originHeaders = accessKeyHeader();
    return perform(std::move(request));
}

std::string RecordingUploadHTTP::postJSON(
    const std::string& url, std::string body, std::size_t mostAnswerBytes)
{
    HTTPRequest request;
    request.method = "POST";
    request.url = url;
    request.headers = {{"Content-Type", "application/json"}};
    request.originHeaders = accessKeyHeader();
    request.body = std::move(body);
    request.mostResponseBytes = mostAnswerBytes;
    return perform(std::move(request));
}

HTTPRequest RecordingUploadHTTP::uploadRequest(const UploadArtifact& artifact, const SignedUpload& upload,
    std::string_view apiBaseURL, FilesBelow& files)
{
    const std::string key = excerpt(artifact.key);
    if (upload.method != "PUT")
        throw CLIError(
            "Expected signed upload method PUT for " + key + ", got " + excerpt(upload.method) + ".");
    if (!isWebAddress(upload.url))
        throw CLIError("API returned an invalid signed upload URL for " + key + ".");
    // As with redirects: what was to be sent encrypted is not sent in the clear.
    if (isEncrypted(apiBaseURL) && !isEncrypted(upload.url))
        throw CLIError("API returned an upload URL that leads away from encryption for " + key + ".");
    HTTPRequest request;
    request.method = upload.method;
    request.url = upload.url;
    request.headers = {upload.headers.begin(), upload.headers.end()};
    if (request.headers.empty())
        request.headers = {{"Content-Type", upload.contentType}};
    std::uintmax_t size = 0;
    if (const auto* bytes = std::get_if<std::string>(&artifact.body)) {
        size = bytes->size();
        request.body = *bytes;
    } else {
        auto file = std::make_shared<const RegularFile>(
            RegularFile::open(std::get<FileBelow>(artifact.body), files));
        size = file->size();
        request.body = std::move(file);
    }
    request.mostResponseBytes = mostUploadAnswerBytes;
    request.deadline += std::chrono::seconds(size / slowestBytesPerSecond);
    return request;
}

void RecordingUploadHTTP::validateHTTPResponse(int status, std::string_view body, const std::string& context)
{
    constexpr int leastStatus = 100;
    if (status < leastStatus)
        throw CLIError("No HTTP response for " + context + ".");
    if (status < 200 || status > 299)
        throw CLIError("HTTP " + std::to_string(status) + " for " + context + ": " + detailOf(body));
}

HTTPHeaders RecordingUploadHTTP::accessKeyHeader() const
{
    const auto key = trimmedNonEmpty(options_.accessKey);
    if (!key)
        return {};
    return {{"x-glimto-access-key", *key}};
}

std::string RecordingUploadHTTP::perform(HTTPRequest request)
{
    const std::string path = excerpt(pathOfWebAddress(request.url));
    TransferGroup group(transport_, cancellation_, 1);
    group.add(0, std::move(request), 0);
    auto result = group.next();
    if (result.error)
        std::rethrow_exception(result.error);
    validateHTTPResponse(result.response.status, result.response.body, path);
    return std::move(result.response.body);
}

} // namespace glimto

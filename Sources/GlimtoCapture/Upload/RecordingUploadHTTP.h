#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Options/RecordingUploadOptions.h"
#include "Platform/HTTPTransport.h"
#include "Platform/Service.h"
#include "Upload/UploadArtifact.h"
#include "Upload/UploadCancellation.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// The requests of the recording-upload API as HTTP, and what counts as a good answer.
//
// Operations wait for the answer. They throw CLIError when the server refuses, PlatformError when it cannot
// be reached, and what `cancellation` throws as soon as it is given. The access key goes to the
// API's origin only and stands in no error.
class RecordingUploadHTTP {
public:
    // The transport and the cancellation outlive this object.
    RecordingUploadHTTP(RecordingUploadOptions options, const Service<HTTPTransport>& transport,
        UploadCancellation& cancellation);

    // The base URL with each component appended as one path component.
    std::string endpoint(std::initializer_list<std::string_view> components) const;

    // The body of the answer, at most `mostAnswerBytes` long.
    std::string getJSON(const std::string& url);
    std::string postJSON(
        const std::string& url, std::string body, std::size_t mostAnswerBytes = usualAnswerBytes);

    // The PUT of one object, whose file is opened. Throws CLIError when the method is not "PUT", the URL is
    // none, or it leads from an encrypted API to a place in the clear, and PlatformError when the file cannot
    // be read.
    static HTTPRequest uploadRequest(const UploadArtifact& artifact, const SignedUpload& upload,
        std::string_view apiBaseURL, FilesBelow& files);

    const std::string& apiBaseURL() const { return options_.apiBaseURL; }

    // Throws CLIError when the status is not 200 to 299, with the error message of `body`, else `body`
    // itself, else "request failed".
    static void validateHTTPResponse(int status, std::string_view body, const std::string& context);

    static constexpr std::size_t usualAnswerBytes = 8 << 20;

private:
    HTTPHeaders accessKeyHeader() const;
    std::string perform(HTTPRequest request);

    RecordingUploadOptions options_;
    const Service<HTTPTransport> transport_;
    UploadCancellation& cancellation_;
};

} // namespace glimto

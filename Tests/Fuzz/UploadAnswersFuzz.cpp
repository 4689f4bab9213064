// An answer of the recording-upload API through everything that reads it: whatever it is, it is refused with
// one of our errors, or it leads to a plan whose files lie in the take and whose keys lie below the prefix.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "FuzzInput.h"
#include "Support/Errors.h"
#include "Upload/ObjectKeys.h"
#include "Upload/RecordingUploadHTTP.h"
#include "Upload/UploadWireFormat.h"

namespace {

using namespace glimto;

// Runs what may end with one of our errors and with no other.
template <typename Function> void attempt(Function function)
{
    try {
        function();
    } catch (const Error& error) {
        require(error.facts().message == error.what());
    }
}

void checkKeys(const CreateRecordingResponse& response)
{
    const auto& instructions = response.uploadInstructions;
    const std::filesystem::path root = "/take";
    for (const auto& key : plannedRelativeUploadKeys(instructions)) {
        const auto path = fileURL(root, key).path();
        require(path.lexically_normal() == path);
        require(path.string().starts_with("/take/"));
        require(objectKeyOf(instructions.objectPrefix, key).starts_with(instructions.objectPrefix + "/"));
    }
}

void checkUploads(std::string_view body)
{
    FilesBelow files;
    for (const auto& upload : readJSON<UploadURLsResponse>(body, "the answer").uploads) {
        const UploadArtifact artifact{std::string("x"), upload.key, "x", 1};
        const auto request = RecordingUploadHTTP::uploadRequest(artifact, upload, "http://api", files);
        require(request.method == "PUT" && request.originHeaders.empty());
        require(request.url.starts_with("http://") || request.url.starts_with("https://"));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string_view body(reinterpret_cast<const char*>(bytes), size);
    attempt([&] { checkKeys(readJSON<CreateRecordingResponse>(body, "the answer")); });
    attempt([&] { readJSON<ExistingRecordingResponse>(body, "the answer"); });
    attempt([&] { readJSON<RecordingCompleteResponse>(body, "the answer"); });
    attempt([&] { checkUploads(body); });
    try {
        RecordingUploadHTTP::validateHTTPResponse(500, body, "/x");
        std::abort();
    } catch (const CLIError& error) {
        require(std::string_view(error.what()).starts_with("HTTP 500 for /x: "));
        require(std::string_view(error.what()).find('\n') == std::string_view::npos);
    }
    return 0;
}

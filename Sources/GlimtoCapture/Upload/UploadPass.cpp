#include "Upload/UploadPass.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>
#include <variant>

#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/Paths.h"
#include "Support/Text.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds urlsExpireIn(300);
// A URL is not used in its last minute: clocks differ, and its transfer still has to begin.
constexpr std::chrono::seconds urlsAreGoodFor(240);

// What the answer takes for each key, the key and a long signed URL, and for all of them.
constexpr std::size_t answerBytesOfKey = 8 << 10;
constexpr std::size_t mostAnswerBytes = 64 << 20;

} // namespace

UploadPass::UploadPass(const std::vector<UploadArtifact>& artifacts, const std::string& recordingId,
    RecordingUploadHTTP& http, const RecordingUploadJobStore& job, const UploadServices& services,
    UploadCancellation& cancellation, RecordingUploadRunState& state)
    : artifacts_(artifacts)
    , recordingId_(recordingId)
    , http_(http)
    , job_(job)
    , services_(services)
    , state_(state)
    , transfers_(services.transport, cancellation, mostAtOnce,
          [marker = job.cancelMarker()] { return !stands(marker); })
{
}

std::size_t UploadPass::run()
{
    beginQueue();
    try {
        requestURLs();
        addWhatHasRoom();
        while (transfers_.count() > 0) {
            noteEnd(transfers_.next());
            addWhatHasRoom();
        }
    } catch (...) {
        drain();
        throw;
    }
    return sent_;
}

void UploadPass::beginQueue()
{
    for (const auto& artifact : artifacts_)
        waitingBytes_ += artifact.bytes;
    tellQueue();
}

void UploadPass::tellQueue() const
{
    services_.figures->noteUploadWaiting(static_cast<std::int64_t>(artifacts_.size() - sent_), waitingBytes_);
}

void UploadPass::requestURLs()
{
    job_.checkCancellation();
    std::vector<std::string> keys;
    for (std::size_t index = next_; index < artifacts_.size(); ++index)
        keys.push_back(artifacts_[index].key);
    urlsRequestedAt_ = services_.clock.now();
    const auto answer = http_.postJSON(http_.endpoint({"api", "recordings", recordingId_, "upload-urls"}),
        encodeScreenCaptureJSON({{"expiresIn", urlsExpireIn.count()}, {"keys", keys}}),
        std::min(RecordingUploadHTTP::usualAnswerBytes + keys.size() * answerBytesOfKey, mostAnswerBytes));
    signedUploads_.clear();
    auto response = readJSON<UploadURLsResponse>(answer, "the answer with the upload URLs");
    for (auto& upload : response.uploads) {
        std::string key = upload.key;
        if (!signedUploads_.emplace(key, std::move(upload)).second)
            throw CLIError("Duplicate values for key: '" + excerpt(key) + "'");
    }
    for (const auto& key : keys) {
        if (!signedUploads_.contains(key))
            throw CLIError("API did not return a signed upload URL for " + excerpt(key) + ".");
    }
}

void UploadPass::addWhatHasRoom()
{
    while (next_ < artifacts_.size() && transfers_.hasRoom())
        addNext();
}

void UploadPass::addNext()
{
    if (services_.clock.now() - urlsRequestedAt_ > urlsAreGoodFor)
        requestURLs();
    job_.checkCancellation();
    const auto& artifact = artifacts_[next_];
    transfers_.add(next_,
        RecordingUploadHTTP::uploadRequest(
            artifact, signedUploads_.at(artifact.key), http_.apiBaseURL(), files_),
        static_cast<std::size_t>(artifact.bytes));
    ++next_;
}

void UploadPass::noteEnd(const TransferGroup::Result& result)
{
    if (result.error)
        std::rethrow_exception(result.error);
    const auto& key = artifacts_[result.index].key;
    RecordingUploadHTTP::validateHTTPResponse(result.response.status, {}, "upload " + excerpt(key));
    services_.outputs.standardOutput.writeLine("Uploaded object: " + excerpt(key));
    state_.addUploadedKey(key);
    ++sent_;
    services_.figures->noteUploadSent();
    waitingBytes_ -= artifacts_[result.index].bytes;
    tellQueue();
}

// An object whose PUT succeeds while the others are being cancelled is there, and is not sent again.
void UploadPass::drain() noexcept
{
    transfers_.cancelAll();
    while (transfers_.count() > 0) {
        try {
            noteEnd(transfers_.next());
        } catch (const TaskCancellationError&) {
            return; // the transport hangs
        } catch (const std::exception&) {
            // The first failure is the one that is told.
        }
    }
}

} // namespace glimto

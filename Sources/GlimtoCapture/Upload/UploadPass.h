#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Upload/RecordingUploadHTTP.h"
#include "Upload/RecordingUploadJobStore.h"
#include "Upload/RecordingUploadRunState.h"
#include "Upload/TransferGroup.h"
#include "Upload/UploadArtifact.h"
#include "Upload/UploadCancellation.h"
#include "Upload/UploadServices.h"

namespace glimto {

// Sends a list of objects, six at a time and in the list's order, each to the signed URL that the API gives
// for it. URLs are asked for all at once, and again for what is left when they are about to expire.
class UploadPass {
public:
    // Everything outlives the pass.
    UploadPass(const std::vector<UploadArtifact>& artifacts, const std::string& recordingId,
        RecordingUploadHTTP& http, const RecordingUploadJobStore& job, const UploadServices& services,
        UploadCancellation& cancellation, RecordingUploadRunState& state);

    // Returns the number of objects sent. The first failure is thrown once what was on its way has ended;
    // each object that was sent is said on standard output and noted in the state, also then.
    std::size_t run();

    static constexpr std::size_t mostAtOnce = 6;

private:
    void beginQueue();
    void tellQueue() const;
    void requestURLs();
    void addWhatHasRoom();
    void addNext();
    void noteEnd(const TransferGroup::Result& result);
    void drain() noexcept;

    const std::vector<UploadArtifact>& artifacts_;
    const std::string& recordingId_;
    RecordingUploadHTTP& http_;
    const RecordingUploadJobStore& job_;
    UploadServices services_;
    RecordingUploadRunState& state_;
    std::map<std::string, SignedUpload> signedUploads_; // by object key
    std::chrono::nanoseconds urlsRequestedAt_{};
    std::size_t next_ = 0; // the artifact that is started next
    std::size_t sent_ = 0;
    std::int64_t waitingBytes_ = 0; // of objects that were not sent yet
    FilesBelow files_;
    TransferGroup transfers_;
};

} // namespace glimto

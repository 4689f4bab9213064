#pragma once

#include <cstddef>
#include <exception>
#include <map>
#include <memory>

#include "Platform/HTTPTransport.h"
#include "Upload/UploadCancellation.h"

namespace glimto {

// Requests that are on their way side by side, waited for by one thread.
//
// The destructor cancels what is still on its way and waits until it has ended, a second at the longest.
class TransferGroup {
public:
    struct Result {
        std::size_t index = 0; // as given to start()
        HTTPResponse response;
        std::exception_ptr error; // null when there is a response
    };

    // `transport` outlives the group.
    TransferGroup(HTTPTransport& transport, UploadCancellation cancellation);
    ~TransferGroup();
    TransferGroup(const TransferGroup&) = delete;
    TransferGroup& operator=(const TransferGroup&) = delete;

    // `index` must not be that of a request on its way.
    void start(std::size_t index, HTTPRequest request);

    std::size_t countOnTheirWay() const { return transfers_.size(); }

    // Waits until one request has ended. There must be one on its way. Throws as soon as the upload is
    // cancelled.
    Result next();

    // Cancels everything. next() then returns how each request has ended, and throws TaskCancellationError
    // when one does not end within a second.
    void cancelAll();

private:
    struct Inbox;

    HTTPTransport& transport_;
    UploadCancellation cancellation_;
    std::shared_ptr<Inbox> inbox_; // shared with the completions of the requests
    std::map<std::size_t, std::unique_ptr<HTTPTransfer>> transfers_;
    bool isDraining_ = false; // after cancelAll()
};

} // namespace glimto

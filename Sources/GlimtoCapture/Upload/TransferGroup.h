#pragma once

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>

#include "Platform/HTTPTransport.h"
#include "Upload/UploadCancellation.h"

namespace glimto {

// Requests that one thread hands in and hears the ends of. Some are on their way side by side; small ones may
// wait behind them, so that the transport can go on with the next one without asking that thread.
//
// The destructor cancels what is still on its way and waits until it has ended, a second at the longest.
class TransferGroup {
public:
    struct Result {
        std::size_t index = 0; // as given to add()
        HTTPResponse response;
        std::exception_ptr error; // null when there is a response
    };

    // `transport` outlives the group. `mayFollow` is asked on its threads before a request that waited
    // begins, must neither block nor throw, and may be asked after the group is gone; when it says no, none
    // begins any more.
    TransferGroup(
        HTTPTransport& transport, UploadCancellation cancellation, std::size_t mostAtOnce,
        std::function<bool()> mayFollow = [] { return true; });
    ~TransferGroup();
    TransferGroup(const TransferGroup&) = delete;
    TransferGroup& operator=(const TransferGroup&) = delete;

    // Whether a request may be added: it starts at once, or what waits would soon be through on any line.
    bool hasRoom() const;

    // Starts the request, or lets it wait until one of those on their way has succeeded. `bytes` is how much
    // it sends, and `index` not that of a request whose end was not told yet.
    void add(std::size_t index, HTTPRequest request, std::size_t bytes);

    // Requests whose end was not told yet.
    std::size_t count() const { return count_; }

    // Waits until one request has ended. There must be one. Throws TaskCancellationError as soon as the
    // upload is cancelled, and when the next one waits and may not follow. A success of many in a row may be
    // told some milliseconds late.
    Result next();

    // Cancels everything, and forgets what waits. next() then returns how each of the others has ended, and
    // throws TaskCancellationError when one does not end within a second.
    void cancelAll();

private:
    struct Line;

    UploadCancellation cancellation_;
    std::shared_ptr<Line> line_; // shared with the completions of the requests
    std::deque<Result> ended_; // taken out of the line
    std::size_t count_ = 0;
    bool isDraining_ = false; // after cancelAll()
};

} // namespace glimto

#include "Upload/TransferGroup.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "Upload/TaskCancellationError.h"

namespace glimto {

struct TransferGroup::Inbox {
    // By hand: the cancellation and the completions of requests wake the same waiter.
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Result> ended;
    bool isCancelled = false; // from outside
    bool isDraining = false; // by cancelAll(): what has ended is still asked for
};

TransferGroup::TransferGroup(HTTPTransport& transport, UploadCancellation& cancellation)
    : transport_(transport)
    , inbox_(std::make_shared<Inbox>())
    , listener_(cancellation, [inbox = inbox_] {
        {
            const std::lock_guard lock(inbox->mutex);
            inbox->isCancelled = true;
        }
        inbox->changed.notify_all();
    })
{
}

TransferGroup::~TransferGroup()
{
    for (const auto& [index, transfer] : transfers_)
        transfer->cancel();
    constexpr std::chrono::seconds patience(1);
    std::unique_lock lock(inbox_->mutex);
    inbox_->changed.wait_for(lock, patience, [this] { return inbox_->ended.size() >= transfers_.size(); });
}

void TransferGroup::start(std::size_t index, const HTTPRequest& request)
{
    auto transfer
        = transport_.start(request, [inbox = inbox_, index](HTTPResponse response, std::exception_ptr error) {
              {
                  const std::lock_guard lock(inbox->mutex);
                  inbox->ended.push_back({index, std::move(response), std::move(error)});
              }
              inbox->changed.notify_all();
          });
    transfers_[index] = std::move(transfer);
}

TransferGroup::Result TransferGroup::next()
{
    Result result;
    {
        std::unique_lock lock(inbox_->mutex);
        inbox_->changed.wait(
            lock, [this] { return !inbox_->ended.empty() || (inbox_->isCancelled && !inbox_->isDraining); });
        if (inbox_->isCancelled && !inbox_->isDraining)
            throw TaskCancellationError();
        result = std::move(inbox_->ended.front());
        inbox_->ended.pop_front();
    }
    transfers_.erase(result.index);
    return result;
}

void TransferGroup::cancelAll()
{
    {
        const std::lock_guard lock(inbox_->mutex);
        inbox_->isDraining = true;
    }
    for (const auto& [index, transfer] : transfers_)
        transfer->cancel();
}

} // namespace glimto

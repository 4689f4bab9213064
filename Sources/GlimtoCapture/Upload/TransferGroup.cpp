#include "Upload/TransferGroup.h"

#include <chrono>
#include <deque>
#include <utility>

#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

// How long cancelled requests may take to end.
constexpr std::chrono::seconds patience(1);

} // namespace

// Reached only in the functions that the cancellation calls.
struct TransferGroup::Inbox {
    std::deque<Result> ended;
};

TransferGroup::TransferGroup(HTTPTransport& transport, UploadCancellation cancellation)
    : transport_(transport)
    , cancellation_(std::move(cancellation))
    , inbox_(std::make_shared<Inbox>())
{
}

TransferGroup::~TransferGroup()
{
    for (const auto& [index, transfer] : transfers_)
        transfer->cancel();
    cancellation_.waitInAnyCase([this] { return inbox_->ended.size() >= transfers_.size(); }, patience);
}

void TransferGroup::start(std::size_t index, HTTPRequest request)
{
    transfers_[index] = transport_.start(std::move(request),
        [inbox = inbox_, cancellation = cancellation_, index](
            HTTPResponse response, std::exception_ptr error) {
            cancellation.change([&] {
                inbox->ended.push_back({index, std::move(response), std::move(error)});
            });
        });
}

TransferGroup::Result TransferGroup::next()
{
    const auto hasEnded = [this] { return !inbox_->ended.empty(); };
    if (!isDraining_)
        cancellation_.waitUntil(hasEnded);
    else if (!cancellation_.waitInAnyCase(hasEnded, patience))
        throw TaskCancellationError();
    Result result;
    cancellation_.change([&] {
        result = std::move(inbox_->ended.front());
        inbox_->ended.pop_front();
    });
    transfers_.erase(result.index);
    return result;
}

void TransferGroup::cancelAll()
{
    isDraining_ = true;
    for (const auto& [index, transfer] : transfers_)
        transfer->cancel();
}

} // namespace glimto

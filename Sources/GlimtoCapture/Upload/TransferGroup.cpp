#include "Upload/TransferGroup.h"

#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

using Clock = std::chrono::steady_clock;

// How long cancelled requests may take to end.
constexpr std::chrono::seconds patience(1);

// What may wait: a second or two of a slow line, as a request that waits can hardly be taken back.
constexpr std::size_t mostWaiting = 32;
constexpr std::size_t mostWaitingBytes = 256 << 10;

// When few wait, whoever adds them is woken by every end; else not more often than this.
constexpr std::size_t fewWaiting = mostWaiting / 4;
constexpr std::chrono::milliseconds wakePeriod(10);

bool isSuccess(const HTTPResponse& response, const std::exception_ptr& error)
{
    return !error && response.status >= 200 && response.status <= 299;
}

} // namespace

struct TransferGroup::Line : std::enable_shared_from_this<Line> {
    struct Waiting {
        std::size_t index = 0;
        std::size_t bytes = 0;
        HTTPRequest request;
    };

    // Those of these that have ended are cleared.
    using Transfers = std::map<std::size_t, std::shared_ptr<HTTPTransfer>>;

    // Reached only in functions that the cancellation calls.
    struct State {
        std::deque<Waiting> waiting;
        std::size_t waitingBytes = 0;
        std::size_t countOnTheirWay = 0;
        Transfers transfers; // of those on their way, once they have been started
        std::deque<Result> ended;
        Clock::time_point lastWake;
        bool isCancelled = false;
        bool isHeldUp = false; // what waits may not follow
    };

    Line(HTTPTransport& sender, UploadCancellation cancels, std::size_t most, std::function<bool()> follow)
        : transport(sender)
        , cancellation(std::move(cancels))
        , mostAtOnce(most)
        , mayFollow(std::move(follow))
    {
    }

    bool hasRoom()
    {
        bool result = false;
        cancellation.with([&] {
            result = state.countOnTheirWay < mostAtOnce
                || (state.waiting.size() < mostWaiting && state.waitingBytes < mostWaitingBytes);
        });
        return result;
    }

    void add(Waiting request)
    {
        std::optional<Waiting> first;
        cancellation.with([&] {
            state.waitingBytes += request.bytes;
            state.waiting.push_back(std::move(request));
            if (state.countOnTheirWay < mostAtOnce)
                first = takeFirst();
        });
        if (first)
            start(std::move(*first));
    }

    std::optional<Waiting> takeFirst()
    {
        if (state.waiting.empty())
            return std::nullopt;
        std::optional<Waiting> first = std::move(state.waiting.front());
        state.waiting.pop_front();
        state.waitingBytes -= first->bytes;
        ++state.countOnTheirWay;
        state.transfers[first->index] = nullptr;
        return first;
    }

    void start(Waiting request)
    {
        const std::size_t index = request.index;
        const std::shared_ptr<HTTPTransfer> transfer = transport.start(std::move(request.request),
            [line = shared_from_this(), index](HTTPResponse response, std::exception_ptr error) {
                line->noteEnd({index, std::move(response), std::move(error)});
            });
        bool isCancelled = false;
        cancellation.with([&] {
            const auto place = state.transfers.find(index);
            if (place == state.transfers.end())
                return; // it has ended meanwhile
            place->second = transfer;
            isCancelled = state.isCancelled;
        });
        if (isCancelled)
            transfer->cancel();
    }

    // On a thread of the transport.
    void noteEnd(Result result)
    {
        std::optional<Waiting> following;
        Transfers::node_type ended; // let go of outside of the lock
        bool mustWake = true;
        const bool hasSucceeded = isSuccess(result.response, result.error);
        const bool isHeldUp = hasSucceeded && !mayFollow();
        cancellation.with([&] {
            ended = state.transfers.extract(result.index);
            --state.countOnTheirWay;
            state.isHeldUp = state.isHeldUp || isHeldUp;
            const bool goesOn = hasSucceeded && !state.isCancelled && !state.isHeldUp;
            state.ended.push_back(std::move(result));
            if (goesOn)
                following = takeFirst();
            const auto now = Clock::now();
            mustWake = !goesOn || state.waiting.size() < fewWaiting || now - state.lastWake >= wakePeriod;
            if (mustWake)
                state.lastWake = now;
        });
        if (following)
            start(std::move(*following));
        if (mustWake)
            cancellation.change([] {});
    }

    // Returns how many were waiting.
    std::size_t cancelAll()
    {
        std::deque<Waiting> forgotten;
        std::vector<std::shared_ptr<HTTPTransfer>> started;
        cancellation.with([&] {
            state.isCancelled = true;
            forgotten.swap(state.waiting);
            for (const auto& [index, transfer] : state.transfers) {
                if (transfer)
                    started.push_back(transfer);
            }
        });
        for (const auto& transfer : started)
            transfer->cancel();
        return forgotten.size();
    }

    HTTPTransport& transport;
    const UploadCancellation cancellation;
    const std::size_t mostAtOnce;
    const std::function<bool()> mayFollow;
    State state;
};

TransferGroup::TransferGroup(HTTPTransport& transport, UploadCancellation cancellation,
    std::size_t mostAtOnce, std::function<bool()> mayFollow)
    : cancellation_(std::move(cancellation))
    , line_(std::make_shared<Line>(transport, cancellation_, mostAtOnce, std::move(mayFollow)))
{
}

TransferGroup::~TransferGroup()
{
    line_->cancelAll();
    cancellation_.waitInAnyCase([this] { return line_->state.countOnTheirWay == 0; }, patience);
}

bool TransferGroup::hasRoom() const
{
    return line_->hasRoom();
}

void TransferGroup::add(std::size_t index, HTTPRequest request, std::size_t bytes)
{
    ++count_;
    line_->add({index, bytes, std::move(request)});
}

TransferGroup::Result TransferGroup::next()
{
    if (ended_.empty()) {
        const auto hasEnded = [this] { return !line_->state.ended.empty(); };
        const auto isOver = [&] { return hasEnded() || line_->state.isHeldUp; };
        if (!isDraining_)
            cancellation_.waitUntil(isOver);
        else if (!cancellation_.waitInAnyCase(hasEnded, patience))
            throw TaskCancellationError();
        cancellation_.with([&] { ended_.swap(line_->state.ended); });
        if (ended_.empty())
            throw TaskCancellationError();
    }
    Result result = std::move(ended_.front());
    ended_.pop_front();
    --count_;
    return result;
}

void TransferGroup::cancelAll()
{
    isDraining_ = true;
    count_ -= line_->cancelAll();
}

} // namespace glimto

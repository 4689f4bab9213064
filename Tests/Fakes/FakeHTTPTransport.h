#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Platform/HTTPTransport.h"
#include "Support/Errors.h"

namespace glimto {

// Answers requests with a function of the test, at once and on the thread that starts them. PUTs can be held
// back, until the test lets them go or somebody cancels them.
class FakeHTTPTransport final : public HTTPTransport {
public:
    // The answer to a request with that body; what it throws is the request's error.
    std::function<HTTPResponse(const HTTPRequest& request, const std::string& body)> answer;

    std::unique_ptr<HTTPTransfer> start(HTTPRequest request, Completion completion) override
    {
        auto held = std::make_shared<Held>(Held{std::move(request), std::move(completion)});
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(held->request);
            if (holdsPuts_ && held->request.method == "PUT") {
                held_.push_back(held);
                mostHeld_ = std::max(mostHeld_, held_.size());
                changed_.notify_all();
                return std::make_unique<Transfer>(*this, held);
            }
        }
        finish(*held);
        return std::make_unique<Transfer>(*this, held);
    }

    std::vector<HTTPRequest> requests() const
    {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    void holdPuts()
    {
        const std::lock_guard lock(mutex_);
        holdsPuts_ = true;
    }

    // False when there are not so many within a long time.
    bool waitUntilHeld(std::size_t count) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return held_.size() == count; });
    }

    // Answers the PUT that has been held longest.
    void releaseOne()
    {
        std::shared_ptr<Held> first;
        {
            const std::lock_guard lock(mutex_);
            first = held_.front();
            held_.erase(held_.begin());
        }
        finish(*first);
    }

    std::size_t mostHeld() const
    {
        const std::lock_guard lock(mutex_);
        return mostHeld_;
    }

private:
    struct Held {
        HTTPRequest request;
        Completion completion;
    };

    class Transfer final : public HTTPTransfer {
    public:
        Transfer(FakeHTTPTransport& transport, std::weak_ptr<Held> held)
            : transport_(transport)
            , held_(std::move(held))
        {
        }
        ~Transfer() override { Transfer::cancel(); }
        void cancel() override
        {
            if (const auto held = held_.lock(); held && transport_.takeBack(held))
                held->completion({}, std::make_exception_ptr(PlatformError("HTTP", 42, "canceled")));
        }

    private:
        FakeHTTPTransport& transport_;
        std::weak_ptr<Held> held_;
    };

    bool takeBack(const std::shared_ptr<Held>& held)
    {
        const std::lock_guard lock(mutex_);
        const bool wasHeld = std::erase(held_, held) > 0;
        changed_.notify_all();
        return wasHeld;
    }

    void finish(const Held& held)
    {
        HTTPResponse response;
        std::exception_ptr error;
        try {
            response = answer(held.request, bodyOf(held.request));
        } catch (...) {
            error = std::current_exception();
        }
        held.completion(std::move(response), error);
    }

    static std::string bodyOf(const HTTPRequest& request)
    {
        if (const auto* bytes = std::get_if<std::string>(&request.body))
            return *bytes;
        const auto* file = std::get_if<HTTPBodyFile>(&request.body);
        if (!file)
            return {};
        std::string bytes((*file)->size(), '\0');
        bytes.resize((*file)->readAt(0, std::as_writable_bytes(std::span(bytes))));
        return bytes;
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<HTTPRequest> requests_;
    bool holdsPuts_ = false;
    std::vector<std::shared_ptr<Held>> held_;
    std::size_t mostHeld_ = 0;
};

} // namespace glimto

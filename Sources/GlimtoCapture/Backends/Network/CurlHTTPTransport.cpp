#include "Backends/Network/CurlHTTPTransport.h"

#include <atomic>
#include <chrono>
#include <list>
#include <thread>
#include <utility>
#include <vector>

#include <curl/curl.h>

#include "Backends/Network/CurlExchange.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Guarded.h"

namespace glimto {

namespace {

constexpr std::size_t stackBytes = 512 << 10;
constexpr long mostKeptConnections = 16;
constexpr std::size_t mostSpareHandles = 6;
constexpr int busyPollMilliseconds = 500; // requests that take too long are looked for as often
constexpr int idlePollMilliseconds = 60000;

} // namespace

// The loop of the transport's thread, and what other threads give it to do.
class CurlHTTPTransport::Core {
public:
    Core()
        : multi_(curl_multi_init())
    {
        if (!multi_)
            throw PlatformError(errorDomain::http, CURLE_OUT_OF_MEMORY, "libcurl could not be initialized.");
        curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, mostKeptConnections);
    }

    // Any thread.
    void post(std::unique_ptr<CurlExchange> exchange)
    {
        posted_.with([&](auto& posted) { posted.push_back(std::move(exchange)); });
        if (std::this_thread::get_id() != thread_)
            wakeUp();
    }
    void stop()
    {
        isStopped_ = true;
        wakeUp();
    }
    void wakeUp() { curl_multi_wakeup(multi_.get()); }

    // The transport's thread.
    void run()
    {
        thread_ = std::this_thread::get_id();
        while (!isStopped_) {
            takePosted();
            int running = 0;
            curl_multi_perform(multi_.get(), &running);
            noteEnds();
            endCancelledAndLate();
            // A completion may have posted the next request.
            if (posted_.with([](const auto& posted) { return !posted.empty(); }))
                continue;
            // What others post from now on leaves a wake-up behind.
            const int patience = exchanges_.empty() ? idlePollMilliseconds : busyPollMilliseconds;
            curl_multi_poll(multi_.get(), nullptr, 0, patience, nullptr);
        }
        takePosted();
        while (!exchanges_.empty())
            end(exchanges_.begin(), CurlExchange::cancelledError());
    }

private:
    using Exchanges = std::list<std::unique_ptr<CurlExchange>>;

    void takePosted()
    {
        auto posted = posted_.with([](auto& waiting) { return std::exchange(waiting, {}); });
        for (auto& exchange : posted) {
            exchanges_.push_back(std::move(exchange));
            beginHop(std::prev(exchanges_.end()));
        }
    }

    void beginHop(Exchanges::iterator at)
    {
        try {
            if (!(*at)->easy() && !spare_.empty()) {
                (*at)->lend(std::move(spare_.back()));
                spare_.pop_back();
            }
            (*at)->prepareHop();
            const CURLMcode code = curl_multi_add_handle(multi_.get(), (*at)->easy());
            if (code != CURLM_OK)
                throw PlatformError(errorDomain::http, code, curl_multi_strerror(code));
        } catch (...) {
            end(at, std::current_exception());
        }
    }

    void noteEnds()
    {
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            const CURLcode result = message->data.result;
            CURL* easy = message->easy_handle;
            curl_multi_remove_handle(multi_.get(), easy);
            noteEnd(easy, result);
        }
    }

    void noteEnd(CURL* easy, CURLcode result)
    {
        auto at = exchanges_.begin();
        while (at != exchanges_.end() && (*at)->easy() != easy)
            ++at;
        if (at == exchanges_.end())
            return;
        bool goesOn = false;
        try {
            goesOn = (*at)->endHop(result);
        } catch (...) {
            end(at, std::current_exception());
            return;
        }
        if (goesOn)
            beginHop(at);
        else
            end(at, nullptr);
    }

    void endCancelledAndLate()
    {
        const auto now = std::chrono::steady_clock::now();
        for (auto at = exchanges_.begin(); at != exchanges_.end();) {
            const auto here = at++;
            if ((*here)->isCancelled())
                end(here, CurlExchange::cancelledError());
            else if (const auto error = (*here)->timeoutError(now))
                end(here, error);
        }
    }

    // The connection of a request that is still on its way is closed with it.
    void end(Exchanges::iterator at, const std::exception_ptr& error)
    {
        const std::unique_ptr<CurlExchange> exchange = std::move(*at);
        exchanges_.erase(at);
        if (exchange->easy())
            curl_multi_remove_handle(multi_.get(), exchange->easy());
        if (auto easy = exchange->giveBack(); easy && spare_.size() < mostSpareHandles)
            spare_.push_back(std::move(easy));
        if (error)
            exchange->fail(error);
        else
            exchange->succeed();
    }

    const Owned<CURLM, curl_multi_cleanup> multi_;
    std::atomic<bool> isStopped_ = false;
    std::atomic<std::thread::id> thread_; // that runs run()
    Guarded<std::vector<std::unique_ptr<CurlExchange>>> posted_;
    Exchanges exchanges_; // the thread's own
    std::vector<CurlEasyHandle> spare_; // the thread's own
};

namespace {

template <typename Core> class CurlTransfer final : public HTTPTransfer {
public:
    CurlTransfer(std::shared_ptr<Core> core, std::shared_ptr<std::atomic<bool>> isCancelled)
        : core_(std::move(core))
        , isCancelled_(std::move(isCancelled))
    {
    }
    ~CurlTransfer() override { CurlTransfer::cancel(); }

    void cancel() override
    {
        if (!isCancelled_->exchange(true))
            core_->wakeUp();
    }

private:
    std::shared_ptr<Core> core_;
    std::shared_ptr<std::atomic<bool>> isCancelled_; // shared with the exchange
};

} // namespace

CurlHTTPTransport::CurlHTTPTransport()
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    core_ = std::make_shared<Core>();
    thread_
        = std::make_unique<NamedThread>("glimto.capture.http", stackBytes, [core = core_] { core->run(); });
}

CurlHTTPTransport::~CurlHTTPTransport()
{
    core_->stop();
    thread_->join();
}

std::unique_ptr<HTTPTransfer> CurlHTTPTransport::start(HTTPRequest request, Completion completion)
{
    auto isCancelled = std::make_shared<std::atomic<bool>>(false);
    core_->post(std::make_unique<CurlExchange>(std::move(request), std::move(completion), isCancelled));
    return std::make_unique<CurlTransfer<Core>>(core_, std::move(isCancelled));
}

} // namespace glimto

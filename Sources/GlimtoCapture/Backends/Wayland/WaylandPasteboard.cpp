#include "Backends/Wayland/WaylandPasteboard.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <exception>
#include <list>
#include <span>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

constexpr const char* pngType = "image/png";
constexpr std::chrono::seconds longestPause{30}; // of a reader that does not go on
constexpr std::size_t mostReaders = 32;

// Owns the clipboard of a seat and gives its contents, one PNG, to whoever asks. Used by one thread.
class WaylandClipboardOffer {
public:
    // Takes the clipboard. Both outlive the object; the connection has data control and a seat. Throws
    // PlatformError when the compositor does not answer.
    WaylandClipboardOffer(WaylandConnection& connection, std::span<const std::byte> png)
        : connection_(connection)
        , png_(png)
    {
        using Source = zwlr_data_control_source_v1;
        using Device = zwlr_data_control_device_v1;
        static constexpr zwlr_data_control_source_v1_listener sourceListener = {
            .send =
                [](void* self, Source*, const char* type, std::int32_t descriptor) {
                    FileDescriptor pipe(descriptor);
                    if (std::strcmp(type, pngType) == 0)
                        static_cast<WaylandClipboardOffer*>(self)->begin(std::move(pipe));
                },
            .cancelled
            = [](void* self, Source*) { static_cast<WaylandClipboardOffer*>(self)->isTaken_ = true; },
        };
        // What others put on the clipboard is none of our business.
        static constexpr zwlr_data_control_device_v1_listener deviceListener = {
            .data_offer
            = [](void*, Device*,
                  zwlr_data_control_offer_v1* offer) { zwlr_data_control_offer_v1_destroy(offer); },
            .selection = [](void*, Device*, zwlr_data_control_offer_v1*) {},
            .finished
            = [](void* self, Device*) { static_cast<WaylandClipboardOffer*>(self)->isTaken_ = true; },
            .primary_selection = [](void*, Device*, zwlr_data_control_offer_v1*) {},
        };
        source_.reset(zwlr_data_control_manager_v1_create_data_source(connection_.dataControl()));
        zwlr_data_control_source_v1_add_listener(source_.get(), &sourceListener, this);
        zwlr_data_control_source_v1_offer(source_.get(), pngType);
        device_.reset(
            zwlr_data_control_manager_v1_get_data_device(connection_.dataControl(), connection_.seat()));
        zwlr_data_control_device_v1_add_listener(device_.get(), &deviceListener, this);
        zwlr_data_control_device_v1_set_selection(device_.get(), source_.get());
        connection_.roundTrip();
    }

    // Serves requests until another program has taken the clipboard, or the seat is gone, and everything
    // begun is handed over. Throws PlatformError when the compositor goes away.
    void run()
    {
        while (!isTaken_ || !transfers_.empty()) {
            waitForWork();
            const auto now = Clock::now();
            std::erase_if(
                transfers_, [&](Transfer& transfer) { return !goOn(transfer) || now >= transfer.deadline; });
        }
    }

private:
    using Clock = WaylandConnection::Clock;

    // A reader gets as much as it takes, and may take as long as it goes on reading.
    struct Transfer {
        FileDescriptor pipe;
        std::span<const std::byte> rest;
        Clock::time_point deadline;
    };

    void begin(FileDescriptor pipe)
    {
        if (transfers_.size() >= mostReaders)
            return; // closed: the reader sees an end
        const int flags = ::fcntl(pipe.get(), F_GETFL);
        ::fcntl(pipe.get(), F_SETFL, flags | O_NONBLOCK);
        transfers_.push_back({std::move(pipe), png_, Clock::now() + longestPause});
    }

    // Whether there is more to be handed over.
    static bool goOn(Transfer& transfer)
    {
        while (!transfer.rest.empty()) {
            const ssize_t written = ::write(transfer.pipe.get(), transfer.rest.data(), transfer.rest.size());
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0)
                return errno == EAGAIN;
            transfer.rest = transfer.rest.subspan(static_cast<std::size_t>(written));
            transfer.deadline = Clock::now() + longestPause;
        }
        return false;
    }

    // Until the compositor says something or a reader takes more.
    void waitForWork()
    {
        std::vector<pollfd> entries;
        auto deadline = Clock::now() + std::chrono::hours(1);
        for (const Transfer& transfer : transfers_) {
            entries.push_back({.fd = transfer.pipe.get(), .events = POLLOUT, .revents = 0});
            deadline = std::min(deadline, transfer.deadline);
        }
        connection_.dispatchOnce(deadline, entries);
    }

    WaylandConnection& connection_;
    std::span<const std::byte> png_;
    WaylandHandle<zwlr_data_control_source_v1> source_;
    WaylandHandle<zwlr_data_control_device_v1> device_;
    bool isTaken_ = false; // by another program
    std::list<Transfer> transfers_;
};

constexpr const char* noClipboard
    = "This Wayland compositor lets no program without a window write the clipboard (wlr-data-control).";

} // namespace

std::optional<std::string> WaylandPasteboard::setPNG(std::span<const std::byte> data)
{
    try {
        // Said at once, and not by a process that has to be started for it.
        if (!WaylandConnection::open()->dataControl())
            return noClipboard;
    } catch (const std::exception& error) {
        return error.what();
    }
    return startPasteboardOwner(
        waylandPasteboardOwnerArgument, data, "The Wayland compositor does not answer.");
}

void WaylandPasteboardOwner::offer(std::span<const std::byte> png, const std::function<bool()>& isOffered)
{
    const auto connection = WaylandConnection::open();
    if (!connection->dataControl() || !connection->seat())
        throw waylandError(WaylandFailure::missingProtocol, noClipboard);
    WaylandClipboardOffer clipboard(*connection, png);
    if (isOffered())
        clipboard.run();
}

} // namespace glimto

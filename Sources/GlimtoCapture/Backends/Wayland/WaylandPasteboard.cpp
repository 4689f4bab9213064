#include "Backends/Wayland/WaylandPasteboard.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <exception>
#include <list>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Backends/Wayland/WaylandSelection.h"
#include "Support/FileDescriptor.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds longestPause{30}; // of a reader that does not go on
constexpr std::size_t mostReaders = 32;

// Owns the clipboard of a seat and gives its contents, one PNG, to whoever asks. Used by one thread.
class WaylandClipboardOffer {
public:
    // Takes the clipboard, which is possible. Both outlive the object. Throws PlatformError when the
    // compositor does not answer.
    WaylandClipboardOffer(WaylandConnection& connection, std::span<const std::byte> png)
        : connection_(connection)
        , png_(png)
        , selection_(WaylandSelection::take(connection, "image/png",
              {.onRequest = [this](FileDescriptor pipe) { begin(std::move(pipe)); },
                  .onLost = [this] { isTaken_ = true; }}))
    {
        connection_.roundTrip();
    }

    // Serves requests until another program has taken the clipboard, or the seat is gone, and everything
    // begun is handed over. Throws PlatformError when the compositor goes away.
    void run()
    {
        while (!isTaken_ || !transfers_.empty()) {
            waitForWork();
            const auto now = HostClock::now();
            std::erase_if(
                transfers_, [&](Transfer& transfer) { return !goOn(transfer) || now >= transfer.deadline; });
        }
    }

private:
    // A reader gets as much as it takes, and may take as long as it goes on reading.
    struct Transfer {
        FileDescriptor pipe;
        std::span<const std::byte> rest;
        HostTime deadline;
    };

    void begin(FileDescriptor pipe)
    {
        if (transfers_.size() >= mostReaders)
            return; // closed: the reader sees an end
        const int flags = ::fcntl(pipe.get(), F_GETFL);
        ::fcntl(pipe.get(), F_SETFL, flags | O_NONBLOCK);
        transfers_.push_back({std::move(pipe), png_, HostClock::now() + longestPause});
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
            transfer.deadline = HostClock::now() + longestPause;
        }
        return false;
    }

    // Until the compositor says something or a reader takes more.
    void waitForWork()
    {
        std::vector<pollfd> entries;
        auto deadline = HostClock::now() + std::chrono::hours(1);
        for (const Transfer& transfer : transfers_) {
            entries.push_back({.fd = transfer.pipe.get(), .events = POLLOUT, .revents = 0});
            deadline = std::min(deadline, transfer.deadline);
        }
        connection_.dispatchOnce(deadline, entries);
    }

    WaylandConnection& connection_;
    std::span<const std::byte> png_;
    bool isTaken_ = false; // by another program
    std::list<Transfer> transfers_;
    std::unique_ptr<WaylandSelection> selection_; // last: it uses the others
};

constexpr const char* noClipboard
    = "This Wayland compositor lets no program without a window write the clipboard (ext-data-control, "
      "wlr-data-control).";

} // namespace

std::optional<std::string> WaylandPasteboard::setPNG(std::span<const std::byte> data)
{
    try {
        // Said at once, and not by a process that has to be started for it.
        if (!WaylandSelection::isPossible(*WaylandConnection::open()))
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
    if (!WaylandSelection::isPossible(*connection))
        throw waylandError(WaylandFailure::missingProtocol, noClipboard);
    WaylandClipboardOffer clipboard(*connection, png);
    if (isOffered())
        clipboard.run();
}

} // namespace glimto

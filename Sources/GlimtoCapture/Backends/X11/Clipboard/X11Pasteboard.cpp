#include "Backends/X11/Clipboard/X11Pasteboard.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <xcb/xcb.h>

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/X11/Clipboard/X11SelectionTransfers.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds timeStampTimeout{3};
constexpr std::uint32_t mostMultipleAtoms = 4'096;

template <typename Event> const Event& as(const xcb_generic_event_t& event)
{
    return reinterpret_cast<const Event&>(event);
}

void setAtoms(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
    std::span<const xcb_atom_t> atoms)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 32,
        static_cast<std::uint32_t>(atoms.size()), atoms.data());
}

// Owns the CLIPBOARD selection and gives its contents, one PNG, to whoever asks (ICCCM, sections 2.1 to 2.7).
//
// Every operation throws PlatformError when the server goes away.
class X11ClipboardOffer {
public:
    // Both outlive the object.
    X11ClipboardOffer(X11Connection& connection, std::span<const std::byte> png)
        : connection_(connection)
        , png_(png)
        , atoms_(connection)
        , transfers_(connection, atoms_)
    {
    }

    // Takes the selection, with a time stamp of the server. Whether the server says that it is ours.
    bool acquire()
    {
        window_ = makeX11TimeWindow(connection_);
        const auto time = serverTime();
        if (!time)
            return false;
        xcb_set_selection_owner(connection_.xcb(), window_, atoms_.clipboard, *time);
        ownedSince_ = *time;
        isOwner_ = selectionOwner(atoms_.clipboard) == window_;
        return isOwner_;
    }

    // Serves requests. Gives the clipboard manager, if there is one, a copy, and returns when another client
    // has taken the selection and everything begun is handed over.
    void run()
    {
        askManagerToSave();
        while (isOwner_ || !transfers_.isEmpty()) {
            connection_.flush();
            // Sending may have read events, which then lie in xcb's queue and are waited for no more.
            if (const auto event = connection_.pollEvent()) {
                handle(*event);
                continue;
            }
            transfers_.forgetOverdue(HostClock::now());
            connection_.waitReadable(transfers_.nextDeadline().value_or(HostTime::max()));
        }
        // A server may drop what it has not read from a connection that closes, such as the end of the last
        // reader's data. It has read all that it answers.
        selectionOwner(atoms_.clipboard);
    }

private:
    std::optional<xcb_timestamp_t> serverTime()
    {
        const auto deadline = HostClock::now() + timeStampTimeout;
        timeSeen_.reset();
        askForX11Time(connection_, window_);
        while (!timeSeen_ && HostClock::now() < deadline) {
            connection_.flush();
            if (const auto event = connection_.pollEvent())
                handle(*event);
            else
                connection_.waitReadable(deadline);
        }
        return timeSeen_;
    }

    xcb_window_t selectionOwner(xcb_atom_t selection)
    {
        const auto reply = connection_.reply<xcb_get_selection_owner_reply_t>(
            xcb_get_selection_owner(connection_.xcb(), selection));
        return reply ? reply->owner : XCB_NONE;
    }

    // The freedesktop.org clipboard manager protocol: the manager converts what is listed in the property,
    // and has it should this process be killed. The selection is not left to it: while it takes over, whoever
    // pastes would find nothing.
    void askManagerToSave()
    {
        if (selectionOwner(atoms_.clipboardManager) == XCB_NONE)
            return;
        setAtoms(
            connection_.xcb(), window_, atoms_.scratch, XCB_ATOM_ATOM, std::array<xcb_atom_t, 1>{atoms_.png});
        xcb_convert_selection(connection_.xcb(), window_, atoms_.clipboardManager, atoms_.saveTargets,
            atoms_.scratch, ownedSince_);
    }

    void handle(const xcb_generic_event_t& event)
    {
        switch (event.response_type & 0x7f) {
        case 0:
            // The only errors that requests of ours can meet: a requestor that went away.
            transfers_.forget(as<xcb_generic_error_t>(event).resource_id);
            break;
        case XCB_SELECTION_REQUEST:
            answer(as<xcb_selection_request_event_t>(event));
            break;
        case XCB_SELECTION_CLEAR: {
            const auto& clear = as<xcb_selection_clear_event_t>(event);
            if (clear.owner == window_ && clear.selection == atoms_.clipboard)
                isOwner_ = false;
            break;
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& notify = as<xcb_property_notify_event_t>(event);
            if (notify.window == window_)
                timeSeen_ = notify.time;
            else
                transfers_.handlePropertyNotify(notify, HostClock::now());
            break;
        }
        case XCB_DESTROY_NOTIFY:
            transfers_.forget(as<xcb_destroy_notify_event_t>(event).window);
            break;
        default:
            break;
        }
    }

    void answer(const xcb_selection_request_event_t& request)
    {
        // Clients from before the ICCCM name no property.
        const xcb_atom_t property = request.property == XCB_NONE ? request.target : request.property;
        const bool isDone = mayAnswer(request)
            && (request.target == atoms_.multiple ? convertMultiple(request.requestor, request.property)
                                                  : convert(request.requestor, property, request.target));
        xcb_selection_notify_event_t notify{};
        notify.response_type = XCB_SELECTION_NOTIFY;
        notify.time = request.time;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = isDone ? property : static_cast<xcb_atom_t>(XCB_NONE);
        // An event is 32 bytes on the wire, whatever its kind.
        std::array<char, 32> wire{};
        std::copy_n(reinterpret_cast<const char*>(&notify), sizeof(notify), wire.begin());
        xcb_send_event(connection_.xcb(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, wire.data());
    }

    // A request that is older than our ownership was meant for the owner before.
    bool mayAnswer(const xcb_selection_request_event_t& request) const
    {
        const bool isTimely
            = request.time == XCB_CURRENT_TIME || static_cast<std::int32_t>(request.time - ownedSince_) >= 0;
        return request.owner == window_ && request.selection == atoms_.clipboard && isTimely;
    }

    bool convert(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target)
    {
        xcb_connection_t* connection = connection_.xcb();
        if (target == atoms_.png) {
            transfers_.send(requestor, property, atoms_.png, png_, HostClock::now());
        } else if (target == atoms_.targets) {
            setAtoms(connection, requestor, property, XCB_ATOM_ATOM,
                std::array<xcb_atom_t, 5>{
                    atoms_.targets, atoms_.timestamp, atoms_.multiple, atoms_.saveTargets, atoms_.png});
        } else if (target == atoms_.timestamp) {
            setAtoms(connection, requestor, property, XCB_ATOM_INTEGER, std::array{ownedSince_});
        } else if (target == atoms_.saveTargets) {
            setAtoms(connection, requestor, property, atoms_.null, {});
        } else {
            return false;
        }
        return true;
    }

    // The property lists pairs of a target and a property for it; what cannot be converted is struck out.
    bool convertMultiple(xcb_window_t requestor, xcb_atom_t property)
    {
        if (property == XCB_NONE)
            return false;
        const auto listed = X11Property::receive(
            connection_, X11Property::ask(connection_, requestor, property, 4 * mostMultipleAtoms));
        if (listed.wasCut() || listed.numbers().empty())
            return false;
        std::vector<xcb_atom_t> pairs(listed.numbers().begin(), listed.numbers().end());
        for (std::size_t at = 0; at + 1 < pairs.size(); at += 2) {
            if (pairs[at + 1] == XCB_NONE || !convert(requestor, pairs[at + 1], pairs[at]))
                pairs[at] = pairs[at + 1] = XCB_NONE;
        }
        setAtoms(connection_.xcb(), requestor, property, atoms_.atomPair, pairs);
        return true;
    }

    X11Connection& connection_;
    std::span<const std::byte> png_;
    X11SelectionAtoms atoms_;
    X11SelectionTransfers transfers_;
    X11Window window_;
    xcb_timestamp_t ownedSince_ = 0;
    bool isOwner_ = false;
    std::optional<xcb_timestamp_t> timeSeen_; // in the last notification about our own window
};

// Another client that grabs the server makes everybody wait.
constexpr std::chrono::minutes answerTimeout{1};

} // namespace

std::optional<std::string> X11Pasteboard::setPNG(std::span<const std::byte> data)
{
    return startPasteboardOwner(x11PasteboardOwnerArgument, data, "The X server does not answer.");
}

void X11PasteboardOwner::offer(std::span<const std::byte> png, const std::function<bool()>& isOffered)
{
    const auto connection = X11Connection::open();
    connection->setAnswerTimeout(answerTimeout);
    X11ClipboardOffer clipboard(*connection, png);
    if (!clipboard.acquire())
        throw x11Error(X11Failure::noAnswer, "Another program does not let go of the clipboard.");
    if (isOffered())
        clipboard.run();
}

} // namespace glimto

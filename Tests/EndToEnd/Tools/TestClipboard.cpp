// A client of the clipboard that does what the usual ones do not let a test do.
//
//     glimto-test-clipboard read <file>      writes the PNG to a file. Before it takes the first piece of a
//                                            large one, prints "begun" and waits for a line on standard input
//     glimto-test-clipboard multiple         asks for several targets at once; prints a line for each
//     glimto-test-clipboard ask-at <time>    asks with that time stamp; prints "refused" or "answered"
//     glimto-test-clipboard timestamp        prints since when the selection is owned, and the server's time
//     glimto-test-clipboard manager <mode>   a clipboard manager: prints "ready", then "saved <bytes>".
//                                            keep: offers the PNG once its owner is gone. forget: does not.
//                                            refuse: saves nothing, and prints "refused"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace {

struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
template <typename Value> using Handle = std::unique_ptr<Value, Free>;

[[noreturn]] void fail(const std::string& what)
{
    std::cerr << "glimto-test-clipboard: " << what << "\n";
    std::exit(1);
}

class Client {
public:
    Client()
        : connection_(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(connection_) != 0)
            fail("no X server");
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(connection_, 0, window_, screen->root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
            XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        clipboard = atom("CLIPBOARD");
        png = atom("image/png");
    }

    xcb_connection_t* xcb() const { return connection_; }
    xcb_window_t window() const { return window_; }

    xcb_atom_t atom(const char* name)
    {
        const Handle<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
        return reply->atom;
    }

    Handle<xcb_generic_event_t> nextEvent()
    {
        xcb_flush(connection_);
        Handle<xcb_generic_event_t> event(xcb_wait_for_event(connection_));
        if (!event)
            fail("the X server went away");
        return event;
    }

    // The next event of that kind; others are dropped.
    template <typename Event> Handle<Event> next(std::uint8_t kind)
    {
        while (true) {
            auto event = nextEvent();
            if ((event->response_type & 0x7f) == kind)
                return Handle<Event>(reinterpret_cast<Event*>(event.release()));
        }
    }

    xcb_timestamp_t serverTime()
    {
        xcb_change_property(
            connection_, XCB_PROP_MODE_APPEND, window_, atom("_TIME"), XCB_ATOM_ATOM, 32, 0, nullptr);
        return next<xcb_property_notify_event_t>(XCB_PROPERTY_NOTIFY)->time;
    }

    // Takes the whole property of our window, and deletes it.
    Handle<xcb_get_property_reply_t> take(xcb_atom_t property)
    {
        return Handle<xcb_get_property_reply_t>(xcb_get_property_reply(connection_,
            xcb_get_property(connection_, 1, window_, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1u << 28),
            nullptr));
    }

    // Whether the owner put the target into `property`.
    bool convert(xcb_atom_t target, xcb_atom_t property, xcb_timestamp_t time)
    {
        xcb_convert_selection(connection_, window_, clipboard, target, property, time);
        return next<xcb_selection_notify_event_t>(XCB_SELECTION_NOTIFY)->property != XCB_NONE;
    }

    // The contents of a property that the owner has set, in pieces where it says so.
    template <typename Begun> std::string contents(xcb_atom_t property, Begun begun)
    {
        auto first = take(property);
        if (first->type != atom("INCR"))
            return text(*first);
        std::string all;
        while (true) {
            const auto notify = next<xcb_property_notify_event_t>(XCB_PROPERTY_NOTIFY);
            if (notify->atom != property || notify->state != XCB_PROPERTY_NEW_VALUE)
                continue;
            if (all.empty())
                begun();
            const auto piece = take(property);
            if (xcb_get_property_value_length(piece.get()) == 0)
                return all;
            all += text(*piece);
        }
    }

    void answer(const xcb_selection_request_event_t& request, bool isDone)
    {
        xcb_selection_notify_event_t notify{};
        notify.response_type = XCB_SELECTION_NOTIFY;
        notify.time = request.time;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = isDone ? request.property : static_cast<xcb_atom_t>(XCB_NONE);
        std::array<char, 32> wire{};
        std::memcpy(wire.data(), &notify, sizeof notify);
        xcb_send_event(connection_, 0, request.requestor, 0, wire.data());
        xcb_flush(connection_);
    }

    xcb_atom_t clipboard;
    xcb_atom_t png;

private:
    static std::string text(const xcb_get_property_reply_t& reply)
    {
        return {static_cast<const char*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply))};
    }

    xcb_connection_t* connection_;
    xcb_window_t window_;
};

int readInto(const char* file)
{
    Client client;
    const auto property = client.atom("_PICTURE");
    if (!client.convert(client.png, property, XCB_CURRENT_TIME))
        fail("the owner has no PNG");
    const auto picture = client.contents(property, [] {
        std::cout << "begun" << std::endl;
        std::string line;
        std::getline(std::cin, line);
    });
    std::FILE* out = std::fopen(file, "wb");
    if (!out || std::fwrite(picture.data(), 1, picture.size(), out) != picture.size()
        || std::fclose(out) != 0)
        fail("could not write the file");
    return 0;
}

int askForSeveral()
{
    Client client;
    const auto list = client.atom("_LIST");
    const std::array<const char*, 3> names = {"image/png", "UTF8_STRING", "TIMESTAMP"};
    std::vector<xcb_atom_t> pairs;
    for (const char* name : names)
        pairs.insert(pairs.end(), {client.atom(name), client.atom((std::string("_") + name).c_str())});
    xcb_change_property(client.xcb(), XCB_PROP_MODE_REPLACE, client.window(), list, client.atom("ATOM_PAIR"),
        32, static_cast<std::uint32_t>(pairs.size()), pairs.data());
    if (!client.convert(client.atom("MULTIPLE"), list, XCB_CURRENT_TIME))
        fail("MULTIPLE was refused");
    const auto result = client.take(list);
    const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(result.get()));
    for (std::size_t at = 0; at < names.size(); ++at) {
        const bool isConverted = atoms[2 * at + 1] != XCB_NONE;
        const auto value = client.take(pairs[2 * at + 1]);
        std::cout << names[at] << " " << (isConverted ? xcb_get_property_value_length(value.get()) : -1)
                  << std::endl;
    }
    return 0;
}

int askAt(xcb_timestamp_t time)
{
    Client client;
    std::cout << (client.convert(client.png, client.atom("_PICTURE"), time) ? "answered" : "refused")
              << std::endl;
    return 0;
}

int printTimeStamp()
{
    Client client;
    const auto property = client.atom("_TIMESTAMP");
    if (!client.convert(client.atom("TIMESTAMP"), property, XCB_CURRENT_TIME))
        fail("TIMESTAMP was refused");
    const auto value = client.take(property);
    std::cout << *static_cast<const std::uint32_t*>(xcb_get_property_value(value.get())) << " "
              << client.serverTime() << std::endl;
    return 0;
}

// Offers a small picture until another client takes the selection.
void offer(Client& client, const std::string& picture)
{
    xcb_set_selection_owner(client.xcb(), client.window(), client.clipboard, XCB_CURRENT_TIME);
    while (true) {
        const auto event = client.nextEvent();
        const auto kind = event->response_type & 0x7f;
        if (kind == XCB_SELECTION_CLEAR)
            return;
        if (kind != XCB_SELECTION_REQUEST)
            continue;
        const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(*event);
        const bool isPicture = request.target == client.png;
        if (isPicture)
            xcb_change_property(client.xcb(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                client.png, 8, static_cast<std::uint32_t>(picture.size()), picture.data());
        client.answer(request, isPicture);
    }
}

int manage(const std::string& mode)
{
    Client client;
    xcb_set_selection_owner(
        client.xcb(), client.window(), client.atom("CLIPBOARD_MANAGER"), client.serverTime());
    xcb_flush(client.xcb());
    std::cout << "ready" << std::endl;
    const auto save = client.next<xcb_selection_request_event_t>(XCB_SELECTION_REQUEST);
    if (save->target != client.atom("SAVE_TARGETS"))
        fail("something else than SAVE_TARGETS was asked for");
    if (mode == "refuse") {
        client.answer(*save, false);
        std::cout << "refused" << std::endl;
        while (true)
            client.nextEvent();
    }
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(client.xcb(), save->requestor, XCB_CW_EVENT_MASK, &events);
    const auto property = client.atom("_PICTURE");
    if (!client.convert(client.png, property, XCB_CURRENT_TIME))
        fail("the owner has no PNG");
    const auto picture = client.contents(property, [] {});
    client.answer(*save, true);
    std::cout << "saved " << picture.size() << std::endl;
    client.next<xcb_destroy_notify_event_t>(XCB_DESTROY_NOTIFY);
    if (mode == "keep")
        offer(client, picture);
    while (true)
        client.nextEvent();
}

} // namespace

int main(int argumentCount, char** argumentValues)
{
    const std::string command = argumentCount > 1 ? argumentValues[1] : "";
    if (command == "read" && argumentCount == 3)
        return readInto(argumentValues[2]);
    if (command == "multiple")
        return askForSeveral();
    if (command == "ask-at" && argumentCount == 3)
        return askAt(static_cast<xcb_timestamp_t>(std::strtoul(argumentValues[2], nullptr, 10)));
    if (command == "timestamp")
        return printTimeStamp();
    if (command == "manager" && argumentCount == 3)
        return manage(argumentValues[2]);
    fail("unknown command");
}

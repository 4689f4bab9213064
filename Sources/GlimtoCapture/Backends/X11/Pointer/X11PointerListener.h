#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <xcb/xinput.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Pointer/X11EventRecord.h"
#include "Backends/X11/Pointer/X11PlacedEvents.h"
#include "Backends/X11/Pointer/X11PointerDevices.h"
#include "Backends/X11/Pointer/X11ServerClock.h"
#include "Backends/X11/Pointer/X11Touches.h"
#include "Support/HostClock.h"

namespace glimto {

// Hears the raw events of all pointers on a connection of its own. Raw events come to every client that
// asks for them, whoever gets the events proper or holds a grab, and nobody misses them.
//
// Raw events have no place, which the server's record tells (RECORD extension); they only tell what turns of
// wheels and touches are. Every server that has X Input 2 has that extension, unless it was turned off.
//
// Used by one thread; every operation throws PlatformError when the server has gone.
class X11PointerListener {
public:
    // Throws PlatformError when there is no display or its server lacks X Input 2.1 or RECORD.
    static std::unique_ptr<X11PointerListener> open();

    explicit X11PointerListener(std::unique_ptr<X11Connection> connection);

    // Asks the server for events.
    void listen();

    // Readable when receive() has something to do, unless another operation has read it into memory:
    // call receive() before every wait.
    int fileDescriptor() const { return connection_->fileDescriptor(); }
    int recordFileDescriptor() const { return record_->fileDescriptor(); } // after listen()

    // Takes in what the server has sent. Events wait for an answer that settles them.
    void receive();

    // Asks where the pointers are now. Not to be used while an answer is awaited.
    void ask();
    bool isAsking() const { return question_.has_value(); }

    // Whether events wait to be settled.
    bool isWaiting() const { return hasHeard_ || placed_.isWaiting(); }

    // Settles what waits, with what is known.
    void settleUnanswered();

    // The events settled since the last call, in order of time.
    std::vector<InputEvent> take() { return placed_.take(); }

private:
    struct Question {
        HostTime askedAt = {};
        std::vector<xcb_input_xi_query_pointer_cookie_t> cookies; // one a pointer
        std::vector<Point> places; // the answers to the first of them
        std::size_t answeredCount = 0;
    };

    void askForTime();
    void measureClock();
    void selectEvents();
    void drain();
    void handle(const xcb_generic_event_t& event);
    void handleTime(std::uint32_t stamp);
    void handleInput(const xcb_ge_generic_event_t& event);
    void handleHierarchy(const xcb_input_hierarchy_event_t& event);
    void addRaw(const xcb_input_raw_button_press_event_t& event);
    void addTouch(const xcb_input_raw_button_press_event_t& event);
    void drainRecord();
    bool receiveAnswers();
    void settle(const Question& answered);

    std::unique_ptr<X11Connection> connection_;
    X11PointerDevices devices_;
    std::unique_ptr<X11EventRecord> record_; // from listen() on
    X11PlacedEvents placed_;
    X11Touches touches_;
    bool hasHeard_ = false; // something since the last question
    X11ServerClock clock_;
    std::uint8_t inputOpcode_ = 0;
    bool hasTouches_ = false;
    X11Window clockWindow_;
    int width_;
    int height_;
    bool devicesAreOld_ = true;
    std::optional<Question> question_;
    std::optional<HostTime> timeAskedAt_;
    HostTime nextMeasurement_;
};

} // namespace glimto

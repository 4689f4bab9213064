// What an X server answers, as the program's own parsers read it: properties and their texts, raw events,
// answers about pointers, parts of a record, images of the pointer, lists of windows and of processes. A
// reply is as long as it says in `length`, which the library of the protocol sees to; nothing else in it is
// to be trusted.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "Backends/X11/Connection/X11ClientProcesses.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Pictures/X11CursorImage.h"
#include "Backends/X11/Pointer/X11EventRecord.h"
#include "Backends/X11/Pointer/X11PointerDevices.h"
#include "Backends/X11/Windows/X11Text.h"
#include "Support/Text.h"

namespace {

using namespace glimto;

constexpr std::size_t countedFrom = 32;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// The bytes as a reply, in memory of just that size. `uncounted` bytes more than others are not counted.
template <typename Reply>
XCBHandle<Reply> replyOf(std::span<const std::uint8_t> data, std::size_t uncounted = 0)
{
    const std::size_t fixed = countedFrom + uncounted;
    const std::size_t words = data.size() > fixed ? (data.size() - fixed) / 4 : 0;
    auto* memory = static_cast<std::uint8_t*>(std::calloc(1, fixed + 4 * words));
    std::memcpy(memory, data.data(), std::min(data.size(), fixed + 4 * words));
    auto* reply = reinterpret_cast<Reply*>(memory);
    reply->length = static_cast<std::uint32_t>(words);
    return XCBHandle<Reply>(reply);
}

void readProperty(std::span<const std::uint8_t> data)
{
    const X11Property property(replyOf<xcb_get_property_reply_t>(data));
    std::uint32_t sum = 0;
    for (const std::uint32_t number : property.numbers())
        sum += number;
    require(property.numbers().size_bytes() <= data.size() && property.bytes().size() <= data.size());
    for (const std::string& text : {utf8FromLatin1(property.bytes()), utf8FromCompoundText(property.bytes()),
             utf8FromUTF8String(property.bytes(), property.wasCut() ? TextEnd::cut : TextEnd::whole)})
        require(validUTF8(text) == text);
    require(property.firstNumber().has_value() || sum == 0);
}

void readCursorImage(std::span<const std::uint8_t> data)
{
    const auto image = x11CursorImage(*replyOf<xcb_xfixes_get_cursor_image_reply_t>(data));
    const PixelCanvas picture = makeCanvas(40, 30);
    std::fill_n(picture.bytes, std::size_t{4} * 40 * 30, std::uint8_t{0});
    for (const int place : {-3, 0, 20, 65535})
        image.drawAt(place, place, picture);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::span data(bytes + 1, size - 1);
    switch (bytes[0] % 7) {
    case 0:
        readProperty(data);
        break;
    case 1:
        readCursorImage(data);
        break;
    case 2:
        x11RecordedEvents(*replyOf<xcb_record_enable_context_reply_t>(data), 1);
        break;
    case 3:
        x11AxisValues(*replyOf<xcb_input_raw_button_press_event_t>(data, 4));
        break;
    case 4:
        x11PointerPlace(*replyOf<xcb_input_xi_query_pointer_reply_t>(data));
        break;
    case 5:
        require(x11WindowChildren(*replyOf<xcb_query_tree_reply_t>(data)).size_bytes() <= data.size());
        break;
    default:
        x11ProcessesOfClients(*replyOf<xcb_res_query_client_ids_reply_t>(data));
        break;
    }
    return 0;
}

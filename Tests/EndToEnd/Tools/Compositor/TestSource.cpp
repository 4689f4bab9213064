#include "TestSource.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include <ext-image-capture-source-v1.h>
#include <ext-image-copy-capture-v1.h>

namespace glimto {

namespace {

struct Sources {
    std::function<TestSource*(wl_resource*)> sourceOf;
};

constexpr std::uint32_t fourCharacters(const char (&text)[5])
{
    return static_cast<std::uint32_t>(text[0]) | static_cast<std::uint32_t>(text[1]) << 8U
        | static_cast<std::uint32_t>(text[2]) << 16U | static_cast<std::uint32_t>(text[3]) << 24U;
}

constexpr std::uint32_t xbgr8888 = fourCharacters("XB24");
constexpr std::uint32_t rgb565 = fourCharacters("RG16");

void write(void* row, int x, std::uint32_t format, std::uint32_t pixel)
{
    const std::uint32_t red = pixel >> 16U & 0xffU;
    const std::uint32_t green = pixel >> 8U & 0xffU;
    const std::uint32_t blue = pixel & 0xffU;
    if (format == rgb565)
        static_cast<std::uint16_t*>(row)[x]
            = static_cast<std::uint16_t>(red >> 3U << 11U | green >> 2U << 5U | blue >> 3U);
    else
        static_cast<std::uint32_t*>(row)[x] = format == xbgr8888 ? blue << 16U | green << 8U | red : pixel;
}

bool contains(const TestRect& rect, int x, int y)
{
    return x >= rect.x && y >= rect.y && x < rect.x + rect.width && y < rect.y + rect.height;
}

class TestFrame;

template <typename Object> Object* object(wl_resource* resource)
{
    return static_cast<Object*>(wl_resource_get_user_data(resource));
}

void destroyResource(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

} // namespace

class TestSession {
public:
    wl_resource* resource = nullptr;
    TestSource* source = nullptr;
    bool showsCursor = false;
    bool isStopped = false;
    bool hadFrame = false;
    std::vector<TestRect> damage; // since the last one
    TestFrame* frame = nullptr;

    void tellConstraints() const
    {
        ext_image_copy_capture_session_v1_send_buffer_size(
            resource, static_cast<std::uint32_t>(source->width), static_cast<std::uint32_t>(source->height));
        for (const std::uint32_t format : source->formats)
            ext_image_copy_capture_session_v1_send_shm_format(resource, format);
        ext_image_copy_capture_session_v1_send_done(resource);
    }
};

namespace {

// Writes what it has to and nothing more, so that a client that says too little of its buffer gets a wrong
// picture.
class TestFrame {
public:
    wl_resource* resource = nullptr;
    TestSession* session = nullptr; // null once it is gone
    wl_resource* buffer = nullptr;
    std::vector<TestRect> stale;
    bool isCaptured = false;
    bool isAnswered = false;

    void goOn()
    {
        if (!isCaptured || isAnswered)
            return;
        if (!session || session->isStopped)
            return fail(EXT_IMAGE_COPY_CAPTURE_FRAME_V1_FAILURE_REASON_STOPPED);
        TestSource& source = *session->source;
        if (source.isHeld)
            return;
        if (source.failures > 0) {
            --source.failures;
            return fail(source.failureReason);
        }
        wl_shm_buffer* memory = buffer ? wl_shm_buffer_get(buffer) : nullptr;
        if (!memory || wl_shm_buffer_get_width(memory) != source.width
            || wl_shm_buffer_get_height(memory) != source.height
            || std::find(source.formats.begin(), source.formats.end(), wl_shm_buffer_get_format(memory))
                == source.formats.end())
            return fail(EXT_IMAGE_COPY_CAPTURE_FRAME_V1_FAILURE_REASON_BUFFER_CONSTRAINTS);
        if (session->hadFrame && session->damage.empty())
            return;
        if (!session->hadFrame)
            session->damage = {{0, 0, source.width, source.height}};
        copy(source, memory);
        succeed(source);
    }

private:
    void copy(TestSource& source, wl_shm_buffer* memory) const
    {
        std::vector<bool> isWanted(source.pixels.size());
        for (const auto* rects : {&stale, static_cast<const std::vector<TestRect>*>(&session->damage)}) {
            for (const TestRect& rect : *rects) {
                for (int y = rect.y; y < std::min(rect.y + rect.height, source.height); ++y) {
                    for (int x = rect.x; x < std::min(rect.x + rect.width, source.width); ++x)
                        isWanted[static_cast<std::size_t>(y * source.width + x)] = true;
                }
            }
        }
        wl_shm_buffer_begin_access(memory);
        auto* bytes = static_cast<std::uint8_t*>(wl_shm_buffer_get_data(memory));
        const std::uint32_t format = wl_shm_buffer_get_format(memory);
        for (std::size_t at = 0; at < isWanted.size(); ++at) {
            const int x = static_cast<int>(at) % source.width;
            const int y = static_cast<int>(at) / source.width;
            const bool isCursor = session->showsCursor && source.cursor && contains(*source.cursor, x, y);
            if (isWanted[at])
                write(bytes + static_cast<std::ptrdiff_t>(y) * wl_shm_buffer_get_stride(memory), x, format,
                    isCursor ? 0xffffffU : source.pixels[at]);
        }
        source.copiedPixels += std::count(isWanted.begin(), isWanted.end(), true);
        wl_shm_buffer_end_access(memory);
    }

    void succeed(TestSource& source)
    {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        ext_image_copy_capture_frame_v1_send_transform(resource, source.transform);
        if (std::exchange(source.isVague, false))
            session->damage.clear();
        for (const TestRect& rect : session->damage)
            ext_image_copy_capture_frame_v1_send_damage(resource, rect.x, rect.y, rect.width, rect.height);
        ext_image_copy_capture_frame_v1_send_presentation_time(
            resource, 0, static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_nsec));
        ext_image_copy_capture_frame_v1_send_ready(resource);
        session->damage.clear();
        session->hadFrame = true;
        isAnswered = true;
        ++source.captures;
    }

    void fail(std::uint32_t reason)
    {
        ext_image_copy_capture_frame_v1_send_failed(resource, reason);
        isAnswered = true;
    }
};

// A request that comes too late ends the client, as the protocol has it.
bool mayChange(const TestFrame& frame)
{
    if (frame.isCaptured)
        wl_resource_post_error(
            frame.resource, EXT_IMAGE_COPY_CAPTURE_FRAME_V1_ERROR_ALREADY_CAPTURED, "captured already");
    return !frame.isCaptured;
}

constexpr struct ext_image_copy_capture_frame_v1_interface frameRequests = {
    .destroy = destroyResource,
    .attach_buffer =
        [](wl_client*, wl_resource* resource, wl_resource* buffer) {
            auto& frame = *object<TestFrame>(resource);
            if (mayChange(frame))
                frame.buffer = buffer;
        },
    .damage_buffer =
        [](wl_client*, wl_resource* resource, int x, int y, int width, int height) {
            auto& frame = *object<TestFrame>(resource);
            if (!mayChange(frame))
                return;
            if (x < 0 || y < 0 || width <= 0 || height <= 0)
                return wl_resource_post_error(
                    resource, EXT_IMAGE_COPY_CAPTURE_FRAME_V1_ERROR_INVALID_BUFFER_DAMAGE, "no rectangle");
            frame.stale.push_back({x, y, width, height});
        },
    .capture =
        [](wl_client*, wl_resource* resource) {
            auto& frame = *object<TestFrame>(resource);
            if (!mayChange(frame))
                return;
            if (!frame.buffer)
                return wl_resource_post_error(
                    resource, EXT_IMAGE_COPY_CAPTURE_FRAME_V1_ERROR_NO_BUFFER, "no buffer");
            frame.isCaptured = true;
            frame.goOn();
        },
};

void endFrame(wl_resource* resource)
{
    auto* frame = object<TestFrame>(resource);
    if (frame->session)
        frame->session->frame = nullptr;
    delete frame;
}

constexpr struct ext_image_copy_capture_session_v1_interface sessionRequests = {
    .create_frame =
        [](wl_client* client, wl_resource* resource, std::uint32_t identifier) {
            auto& session = *object<TestSession>(resource);
            if (session.frame)
                return wl_resource_post_error(
                    resource, EXT_IMAGE_COPY_CAPTURE_SESSION_V1_ERROR_DUPLICATE_FRAME, "one at a time");
            session.frame = new TestFrame;
            session.frame->session = &session;
            session.frame->resource
                = wl_resource_create(client, &ext_image_copy_capture_frame_v1_interface, 1, identifier);
            wl_resource_set_implementation(session.frame->resource, &frameRequests, session.frame, endFrame);
        },
    .destroy = destroyResource,
};

void endSession(wl_resource* resource)
{
    auto* session = object<TestSession>(resource);
    if (session->frame)
        session->frame->session = nullptr;
    session->source->sessions.erase(session);
    delete session;
}

constexpr struct ext_image_copy_capture_manager_v1_interface managerRequests = {
    .create_session =
        [](wl_client* client, wl_resource* resource, std::uint32_t identifier, wl_resource* source,
            std::uint32_t options) {
            if (options > EXT_IMAGE_COPY_CAPTURE_MANAGER_V1_OPTIONS_PAINT_CURSORS)
                return wl_resource_post_error(
                    resource, EXT_IMAGE_COPY_CAPTURE_MANAGER_V1_ERROR_INVALID_OPTION, "no option");
            auto* session = new TestSession;
            session->source = object<TestSource>(source);
            session->showsCursor = options == EXT_IMAGE_COPY_CAPTURE_MANAGER_V1_OPTIONS_PAINT_CURSORS;
            session->resource
                = wl_resource_create(client, &ext_image_copy_capture_session_v1_interface, 1, identifier);
            wl_resource_set_implementation(session->resource, &sessionRequests, session, endSession);
            session->source->sessions.insert(session);
            session->tellConstraints();
        },
    // The clients of these tests never ask for the cursor alone.
    .create_pointer_cursor_session = [](wl_client* client, wl_resource*, std::uint32_t, wl_resource*,
                                         wl_resource*) { wl_client_post_implementation_error(client, "no"); },
    .destroy = destroyResource,
};

constexpr struct ext_image_capture_source_v1_interface sourceRequests = {.destroy = destroyResource};

void createSource(
    wl_client* client, wl_resource* manager, std::uint32_t identifier, wl_resource* outputOrWindow)
{
    wl_resource* made = wl_resource_create(client, &ext_image_capture_source_v1_interface, 1, identifier);
    wl_resource_set_implementation(
        made, &sourceRequests, object<Sources>(manager)->sourceOf(outputOrWindow), nullptr);
}

constexpr struct ext_output_image_capture_source_manager_v1_interface outputSourceRequests
    = {.create_source = createSource, .destroy = destroyResource};
constexpr struct ext_foreign_toplevel_image_capture_source_manager_v1_interface windowSourceRequests
    = {.create_source = createSource, .destroy = destroyResource};

} // namespace

void TestSource::paint(const TestRect& rect, std::uint32_t colour)
{
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        const auto row = pixels.begin() + static_cast<std::ptrdiff_t>(y) * width;
        std::fill(row + rect.x, row + rect.x + rect.width, colour);
    }
    didChange(rect);
}

void TestSource::resize(int newWidth, int newHeight, std::uint32_t colour)
{
    width = newWidth;
    height = newHeight;
    pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), colour);
    for (TestSession* session : sessions)
        session->damage.clear();
    tellConstraints();
    didChange({0, 0, width, height});
}

void TestSource::moveCursor(const TestRect& rect)
{
    const auto before = std::exchange(cursor, rect);
    for (TestSession* session : sessions) {
        if (session->showsCursor && before)
            session->damage.push_back(*before);
        if (session->showsCursor)
            session->damage.push_back(rect);
    }
    goOn();
}

void TestSource::tellConstraints()
{
    for (const TestSession* session : sessions)
        session->tellConstraints();
}

void TestSource::didChange(const TestRect& rect)
{
    for (TestSession* session : sessions)
        session->damage.push_back(rect);
    goOn();
}

void TestSource::goOn()
{
    for (TestSession* session : sessions) {
        if (session->frame)
            session->frame->goOn();
    }
}

int TestSource::loseFrames()
{
    int lost = 0;
    for (TestSession* session : sessions) {
        if (session->frame && session->frame->isCaptured && !std::exchange(session->frame->isAnswered, true))
            ++lost;
    }
    return lost;
}

void TestSource::stop()
{
    for (TestSession* session : sessions) {
        if (!std::exchange(session->isStopped, true))
            ext_image_copy_capture_session_v1_send_stopped(session->resource);
    }
    goOn();
}

void offerCapture(wl_display* display, std::function<TestSource*(wl_resource* resource)> sourceOf)
{
    static Sources sources;
    sources.sourceOf = std::move(sourceOf);
    // Formats beside the two that every compositor has.
    wl_display_add_shm_format(display, xbgr8888);
    wl_display_add_shm_format(display, rgb565);
    const auto offer = [&](const wl_interface& interface, wl_global_bind_func_t bind) {
        wl_global_create(display, &interface, 1, &sources, bind);
    };
    offer(ext_image_copy_capture_manager_v1_interface,
        [](wl_client* client, void*, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(
                wl_resource_create(client, &ext_image_copy_capture_manager_v1_interface,
                    static_cast<int>(version), identifier),
                &managerRequests, nullptr, nullptr);
        });
    offer(ext_output_image_capture_source_manager_v1_interface,
        [](wl_client* client, void* data, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(
                wl_resource_create(client, &ext_output_image_capture_source_manager_v1_interface,
                    static_cast<int>(version), identifier),
                &outputSourceRequests, data, nullptr);
        });
    offer(ext_foreign_toplevel_image_capture_source_manager_v1_interface,
        [](wl_client* client, void* data, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(
                wl_resource_create(client, &ext_foreign_toplevel_image_capture_source_manager_v1_interface,
                    static_cast<int>(version), identifier),
                &windowSourceRequests, data, nullptr);
        });
}

} // namespace glimto

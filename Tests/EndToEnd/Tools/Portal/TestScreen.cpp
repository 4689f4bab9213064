#include "TestScreen.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <map>

#include <fcntl.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <sys/mman.h>
#include <unistd.h>

namespace glimto {

namespace {

constexpr std::uint32_t cursorSide = 8;

std::uint32_t formatNumber(const std::string& name)
{
    static const std::map<std::string, std::uint32_t> numbers = {{"BGRx", SPA_VIDEO_FORMAT_BGRx},
        {"BGRA", SPA_VIDEO_FORMAT_BGRA}, {"RGBx", SPA_VIDEO_FORMAT_RGBx}, {"RGBA", SPA_VIDEO_FORMAT_RGBA}};
    return numbers.at(name);
}

std::int64_t now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

const spa_pod* metadata(spa_pod_builder* builder, std::uint32_t type, std::size_t size)
{
    return static_cast<const spa_pod*>(
        spa_pod_builder_add_object(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(type), SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(size))));
}

} // namespace

struct TestScreen::Memory {
    void* bytes = nullptr;
    std::size_t size = 0;
    int descriptor = -1;
};

struct TestScreen::Handlers {
    static const pw_stream_events& table()
    {
        static const pw_stream_events events = [] {
            pw_stream_events made = {};
            made.version = PW_VERSION_STREAM_EVENTS;
            made.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char* error) {
                auto& screen = *static_cast<TestScreen*>(self);
                screen.log_(std::string("stream ") + pw_stream_state_as_string(state) + (error ? error : ""));
                screen.isStreaming_ = state == PW_STREAM_STATE_STREAMING;
                if (state == PW_STREAM_STATE_PAUSED && !screen.isReady_) {
                    screen.isReady_ = true;
                    screen.onReady_(pw_stream_get_node_id(screen.stream_));
                }
                // A compositor shows what is there to whoever begins to look.
                if (screen.isStreaming_) {
                    screen.painted_ = {{0, 0, screen.settings_.width, screen.settings_.height}};
                    screen.send();
                }
            };
            made.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
                if (id == SPA_PARAM_Format && parameter)
                    static_cast<TestScreen*>(self)->formatChanged();
            };
            made.add_buffer
                = [](void* self, pw_buffer* buffer) { static_cast<TestScreen*>(self)->addBuffer(buffer); };
            made.remove_buffer
                = [](void* self, pw_buffer* buffer) { static_cast<TestScreen*>(self)->removeBuffer(buffer); };
            return made;
        }();
        return events;
    }
};

TestScreen::TestScreen(pw_loop* loop, const Settings& settings, std::function<void(std::uint32_t)> onReady,
    std::function<void(const std::string&)> log)
    : loop_(loop)
    , settings_(settings)
    , onReady_(std::move(onReady))
    , log_(std::move(log))
{
    paintPattern(0);
    connect();
}

TestScreen::~TestScreen()
{
    if (stream_)
        pw_stream_destroy(stream_);
    if (core_)
        pw_core_disconnect(core_);
    if (context_)
        pw_context_destroy(context_);
}

void TestScreen::connect()
{
    context_ = pw_context_new(loop_, nullptr, 0);
    core_ = context_ ? pw_context_connect(context_, nullptr, 0) : nullptr;
    if (!core_) {
        log_("no PipeWire");
        return;
    }
    stream_ = pw_stream_new(core_, "test screen",
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, "test-screen", nullptr));
    pw_stream_add_listener(stream_, &hook_, &Handlers::table(), this);
    offerFormat();
}

void TestScreen::offerFormat()
{
    std::array<std::uint8_t, 1024> memory = {};
    spa_pod_builder builder = {};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    spa_rectangle size
        = {static_cast<std::uint32_t>(settings_.width), static_cast<std::uint32_t>(settings_.height)};
    spa_fraction none = {0, 1};
    spa_fraction usual = {60, 1};
    spa_fraction least = {1, 1};
    spa_fraction most = {60, 1};
    const spa_pod* format = static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder,
        SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
        SPA_POD_Id(formatNumber(settings_.format)), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&none), SPA_FORMAT_VIDEO_maxFramerate,
        SPA_POD_CHOICE_RANGE_Fraction(&usual, &least, &most)));
    if (pw_stream_get_state(stream_, nullptr) == PW_STREAM_STATE_UNCONNECTED) {
        int flags = PW_STREAM_FLAG_DRIVER;
        flags |= settings_.memory == "servers" ? PW_STREAM_FLAG_MAP_BUFFERS : PW_STREAM_FLAG_ALLOC_BUFFERS;
        pw_stream_connect(
            stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, static_cast<pw_stream_flags>(flags), &format, 1);
    } else {
        pw_stream_update_params(stream_, &format, 1);
    }
}

void TestScreen::formatChanged()
{
    log_("format " + std::to_string(settings_.width) + "x" + std::to_string(settings_.height));
    std::array<std::uint8_t, 2048> memory = {};
    spa_pod_builder builder = {};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const int size = settings_.offset + stride() * settings_.height;
    const std::array<const spa_pod*, 5> parameters = {
        static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers,
            SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(8, 2, 16),
            SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size, SPA_POD_Int(size),
            SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride()), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd)))),
        metadata(&builder, SPA_META_Header, sizeof(spa_meta_header)),
        metadata(&builder, SPA_META_VideoCrop, sizeof(spa_meta_region)),
        metadata(&builder, SPA_META_VideoDamage, 4 * sizeof(spa_meta_region)),
        metadata(&builder, SPA_META_Cursor,
            sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{4} * cursorSide * cursorSide)};
    auto list = parameters;
    pw_stream_update_params(stream_, list.data(), static_cast<std::uint32_t>(list.size()));
}

void TestScreen::addBuffer(pw_buffer* buffer)
{
    if (settings_.memory == "servers")
        return;
    spa_data& data = buffer->buffer->datas[0];
    auto memory = std::make_unique<Memory>();
    memory->size = static_cast<std::size_t>(settings_.offset)
        + static_cast<std::size_t>(stride()) * static_cast<std::size_t>(settings_.height);
    memory->descriptor = memfd_create("test-screen", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (ftruncate(memory->descriptor, static_cast<off_t>(memory->size)) != 0)
        return;
    if (settings_.memory == "sealed")
        fcntl(memory->descriptor, F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
    memory->bytes = mmap(nullptr, memory->size, PROT_READ | PROT_WRITE, MAP_SHARED, memory->descriptor, 0);
    data.type = SPA_DATA_MemFd;
    data.flags = SPA_DATA_FLAG_READWRITE;
    data.fd = memory->descriptor;
    data.mapoffset = 0;
    data.maxsize = static_cast<std::uint32_t>(memory->size);
    data.data = memory->bytes;
    buffer->user_data = memory.release();
}

void TestScreen::removeBuffer(pw_buffer* buffer)
{
    const std::unique_ptr<Memory> memory(static_cast<Memory*>(buffer->user_data));
    if (!memory)
        return;
    munmap(memory->bytes, memory->size);
    close(memory->descriptor);
    buffer->user_data = nullptr;
}

void TestScreen::paintPattern(int phase)
{
    pixels_.resize(
        4 * static_cast<std::size_t>(settings_.width) * static_cast<std::size_t>(settings_.height));
    std::uint8_t* pixel = pixels_.data();
    for (int y = 0; y < settings_.height; ++y) {
        for (int x = 0; x < settings_.width; ++x, pixel += 4) {
            pixel[0] = static_cast<std::uint8_t>((x + phase) & 255);
            pixel[1] = static_cast<std::uint8_t>((2 * y + phase) & 255);
            pixel[2] = static_cast<std::uint8_t>(((x / 8) ^ (y / 8)) & 255);
            pixel[3] = 0;
        }
    }
    painted_ = {{0, 0, settings_.width, settings_.height}};
}

void TestScreen::paint(const Rect& rect, std::uint32_t redGreenBlue)
{
    for (int y = std::max(0, rect.y); y < std::min(settings_.height, rect.y + rect.height); ++y) {
        for (int x = std::max(0, rect.x); x < std::min(settings_.width, rect.x + rect.width); ++x) {
            std::uint8_t* pixel = pixels_.data()
                + 4
                    * (static_cast<std::size_t>(y) * static_cast<std::size_t>(settings_.width)
                        + static_cast<std::size_t>(x));
            pixel[0] = static_cast<std::uint8_t>(redGreenBlue & 255U);
            pixel[1] = static_cast<std::uint8_t>((redGreenBlue >> 8U) & 255U);
            pixel[2] = static_cast<std::uint8_t>((redGreenBlue >> 16U) & 255U);
        }
    }
    painted_.push_back(rect);
}

pw_buffer* TestScreen::buffer()
{
    pw_buffer* buffer = isStreaming_ ? pw_stream_dequeue_buffer(stream_) : nullptr;
    if (!buffer)
        log_("no buffer");
    return buffer;
}

void TestScreen::setMetadata(pw_buffer* buffer, bool hasPicture)
{
    spa_buffer* content = buffer->buffer;
    if (auto* header = static_cast<spa_meta_header*>(
            spa_buffer_find_meta_data(content, SPA_META_Header, sizeof(spa_meta_header)))) {
        *header = {};
        header->pts = now();
    }
    if (auto* crop = static_cast<spa_meta_region*>(
            spa_buffer_find_meta_data(content, SPA_META_VideoCrop, sizeof(spa_meta_region))))
        crop->region = {{crop_.x, crop_.y},
            {static_cast<std::uint32_t>(crop_.width), static_cast<std::uint32_t>(crop_.height)}};
    if (const spa_meta* damage = spa_buffer_find_meta(content, SPA_META_VideoDamage)) {
        auto* regions = static_cast<spa_meta_region*>(damage->data);
        const std::size_t most = damage->size / sizeof(spa_meta_region);
        std::vector<Rect> rects = painted_;
        if (rects.size() > most)
            rects = {{0, 0, settings_.width, settings_.height}};
        for (std::size_t index = 0; index < most; ++index) {
            const Rect rect = hasPicture && index < rects.size() ? rects[index] : Rect{};
            regions[index].region = {{rect.x, rect.y},
                {static_cast<std::uint32_t>(rect.width), static_cast<std::uint32_t>(rect.height)}};
        }
    }
    if (auto* cursor = static_cast<spa_meta_cursor*>(
            spa_buffer_find_meta_data(content, SPA_META_Cursor, sizeof(spa_meta_cursor)))) {
        *cursor = {};
        if (pointerX_ >= 0) {
            cursor->id = 1;
            cursor->position = {pointerX_, pointerY_};
        }
    }
}

bool TestScreen::send()
{
    pw_buffer* sent = buffer();
    if (!sent)
        return false;
    const spa_data& data = sent->buffer->datas[0];
    if (!data.data) {
        log_("no memory");
        pw_stream_queue_buffer(stream_, sent);
        return false;
    }
    const bool isRedFirst = settings_.format.front() == 'R';
    for (int y = 0; y < settings_.height; ++y) {
        const std::uint8_t* from
            = pixels_.data() + 4 * static_cast<std::size_t>(y) * static_cast<std::size_t>(settings_.width);
        std::uint8_t* to
            = static_cast<std::uint8_t*>(data.data) + settings_.offset + std::ptrdiff_t{y} * stride();
        std::memcpy(to, from, 4 * static_cast<std::size_t>(settings_.width));
        for (int x = 0; isRedFirst && x < settings_.width; ++x)
            std::swap(to[4 * x], to[4 * x + 2]);
    }
    setMetadata(sent, true);
    *data.chunk = {.offset = static_cast<std::uint32_t>(settings_.offset),
        .size = static_cast<std::uint32_t>(stride() * settings_.height),
        .stride = stride(),
        .flags = 0};
    pw_stream_queue_buffer(stream_, sent);
    painted_.clear();
    return true;
}

void TestScreen::sendPointer(int x, int y)
{
    pointerX_ = x;
    pointerY_ = y;
    pw_buffer* sent = buffer();
    if (!sent)
        return;
    setMetadata(sent, false);
    *sent->buffer->datas[0].chunk
        = {.offset = 0, .size = 0, .stride = stride(), .flags = SPA_CHUNK_FLAG_CORRUPTED};
    pw_stream_queue_buffer(stream_, sent);
}

// What a broken or hostile provider may say of a picture that is not there.
void TestScreen::sendCorrupted(const std::string& how)
{
    pw_buffer* sent = buffer();
    if (!sent)
        return;
    const spa_data& data = sent->buffer->datas[0];
    if (data.data)
        std::memset(data.data, 0x5a, data.maxsize);
    setMetadata(sent, true);
    spa_chunk chunk = {.offset = static_cast<std::uint32_t>(settings_.offset),
        .size = static_cast<std::uint32_t>(stride() * settings_.height),
        .stride = stride(),
        .flags = 0};
    if (how == "flag")
        chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
    else if (how == "stride")
        chunk.stride = 0x7ffffffc;
    else if (how == "negative")
        chunk.stride = -stride();
    else if (how == "offset")
        chunk.offset = 0xfffffff0U;
    else if (how == "narrow")
        chunk.stride = 4;
    auto* header = static_cast<spa_meta_header*>(
        spa_buffer_find_meta_data(sent->buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (how == "header" && header)
        header->flags = SPA_META_HEADER_FLAG_CORRUPTED;
    *data.chunk = chunk;
    pw_stream_queue_buffer(stream_, sent);
}

void TestScreen::resize(int width, int height)
{
    settings_.width = width;
    settings_.height = height;
    crop_ = {};
    paintPattern(0);
    offerFormat();
}

} // namespace glimto

#include "Backends/Portal/PipeWireFormat.h"

#include <algorithm>
#include <span>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <spa/param/buffers.h>
#include <spa/pod/builder.h>

namespace glimto {

namespace {

constexpr std::uint32_t largestSide = 16'384;

struct KnownFormat {
    std::uint32_t id = SPA_VIDEO_FORMAT_UNKNOWN;
    PixelFormat pixels = PixelFormat::xrgb8888;
};

// PipeWire names the bytes in their order, the program the parts of a word.
constexpr std::array<KnownFormat, 4> knownFormats
    = {{{SPA_VIDEO_FORMAT_BGRx, PixelFormat::xrgb8888}, {SPA_VIDEO_FORMAT_BGRA, PixelFormat::argb8888},
        {SPA_VIDEO_FORMAT_RGBx, PixelFormat::xbgr8888}, {SPA_VIDEO_FORMAT_RGBA, PixelFormat::abgr8888}}};

// Frames that consumers hold are not copied, so there have to be some more.
constexpr int fewestBuffers = 2;
constexpr int usualBuffers = 8;
constexpr int mostBuffers = 16;

constexpr std::size_t mostDamageRects = 16;
constexpr std::size_t usualCursorSide = 64;
constexpr std::size_t largestCursorSide = 1024;

// One object of parameters, closed at the end of its life.
class Object {
public:
    Object(spa_pod_builder& builder, std::uint32_t type, std::uint32_t id)
        : builder_(builder)
    {
        spa_pod_builder_push_object(&builder_, &frame_, type, id);
    }

    spa_pod_builder* property(std::uint32_t key)
    {
        spa_pod_builder_prop(&builder_, key, 0);
        return &builder_;
    }

    // A property whose value is one of several, the first the usual one; `write` writes them.
    template <typename Write> void choice(std::uint32_t key, std::uint32_t kind, Write write)
    {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_frame frame = {};
        spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
        write(&builder_);
        spa_pod_builder_pop(&builder_, &frame);
    }

    const spa_pod* close() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &frame_)); }

private:
    spa_pod_builder& builder_;
    spa_pod_frame frame_ = {};
};

spa_pod_builder builderOf(std::span<std::byte> memory)
{
    spa_pod_builder builder = {};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    return builder;
}

struct MetadataSize {
    std::size_t usual = 0;
    std::size_t least = usual;
    std::size_t most = usual;
};

const spa_pod* metadata(spa_pod_builder& builder, std::uint32_t type, const MetadataSize& size)
{
    Object object(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_id(object.property(SPA_PARAM_META_type), type);
    object.choice(SPA_PARAM_META_size, SPA_CHOICE_Range, [&](spa_pod_builder* values) {
        for (const std::size_t bytes : {size.usual, size.least, size.most})
            spa_pod_builder_int(values, static_cast<int>(bytes));
    });
    return object.close();
}

std::size_t cursorBytes(std::size_t side)
{
    return sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + 4 * side * side;
}

} // namespace

std::unique_ptr<PipeWireParameters> PipeWireParameters::formats(std::uint32_t mostFramesPerSecond)
{
    std::unique_ptr<PipeWireParameters> parameters(new PipeWireParameters);
    spa_pod_builder builder = builderOf(parameters->memory_);
    Object format(builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_id(format.property(SPA_FORMAT_mediaType), SPA_MEDIA_TYPE_video);
    spa_pod_builder_id(format.property(SPA_FORMAT_mediaSubtype), SPA_MEDIA_SUBTYPE_raw);
    format.choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [](spa_pod_builder* values) {
        spa_pod_builder_id(values, knownFormats.front().id); // the usual one
        for (const KnownFormat& known : knownFormats)
            spa_pod_builder_id(values, known.id);
    });
    format.choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [](spa_pod_builder* values) {
        spa_pod_builder_rectangle(values, 1920, 1080);
        spa_pod_builder_rectangle(values, 1, 1);
        spa_pod_builder_rectangle(values, largestSide, largestSide);
    });
    // 0: as changes come, which is how screens send.
    format.choice(SPA_FORMAT_VIDEO_framerate, SPA_CHOICE_Range, [](spa_pod_builder* values) {
        spa_pod_builder_fraction(values, 0, 1);
        spa_pod_builder_fraction(values, 0, 1);
        spa_pod_builder_fraction(values, 1000, 1);
    });
    format.choice(SPA_FORMAT_VIDEO_maxFramerate, SPA_CHOICE_Range, [&](spa_pod_builder* values) {
        spa_pod_builder_fraction(values, mostFramesPerSecond, 1);
        spa_pod_builder_fraction(values, 1, 1);
        spa_pod_builder_fraction(values, mostFramesPerSecond, 1);
    });
    parameters->list_ = {format.close()};
    return parameters;
}

std::unique_ptr<PipeWireParameters> PipeWireParameters::buffers(
    const PipeWireFormat& format, PointerPlace pointer)
{
    std::unique_ptr<PipeWireParameters> parameters(new PipeWireParameters);
    spa_pod_builder builder = builderOf(parameters->memory_);
    const int stride = 4 * format.width;
    Object buffers(builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    buffers.choice(SPA_PARAM_BUFFERS_buffers, SPA_CHOICE_Range, [](spa_pod_builder* values) {
        spa_pod_builder_int(values, usualBuffers);
        spa_pod_builder_int(values, fewestBuffers);
        spa_pod_builder_int(values, mostBuffers);
    });
    spa_pod_builder_int(buffers.property(SPA_PARAM_BUFFERS_blocks), 1);
    buffers.choice(SPA_PARAM_BUFFERS_size, SPA_CHOICE_Range, [&](spa_pod_builder* values) {
        spa_pod_builder_int(values, stride * format.height);
        spa_pod_builder_int(values, stride * format.height);
        spa_pod_builder_int(values, INT32_MAX);
    });
    buffers.choice(SPA_PARAM_BUFFERS_stride, SPA_CHOICE_Range, [&](spa_pod_builder* values) {
        spa_pod_builder_int(values, stride);
        spa_pod_builder_int(values, stride);
        spa_pod_builder_int(values, INT32_MAX);
    });
    buffers.choice(SPA_PARAM_BUFFERS_dataType, SPA_CHOICE_Flags, [](spa_pod_builder* values) {
        spa_pod_builder_int(values, (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr));
    });
    parameters->list_ = {buffers.close(), metadata(builder, SPA_META_Header, {sizeof(spa_meta_header)}),
        metadata(builder, SPA_META_VideoCrop, {sizeof(spa_meta_region)}),
        metadata(builder, SPA_META_VideoDamage,
            {.usual = mostDamageRects * sizeof(spa_meta_region),
                .least = sizeof(spa_meta_region),
                .most = mostDamageRects * sizeof(spa_meta_region)})};
    if (pointer == PointerPlace::wanted)
        parameters->list_.push_back(metadata(builder, SPA_META_Cursor,
            {.usual = cursorBytes(usualCursorSide),
                .least = sizeof(spa_meta_cursor),
                .most = cursorBytes(largestCursorSide)}));
    return parameters;
}

std::optional<PipeWireFormat> pipeWireFormat(const spa_pod& parameter)
{
    std::uint32_t mediaType = 0;
    std::uint32_t mediaSubtype = 0;
    if (spa_format_parse(&parameter, &mediaType, &mediaSubtype) < 0 || mediaType != SPA_MEDIA_TYPE_video
        || mediaSubtype != SPA_MEDIA_SUBTYPE_raw)
        return std::nullopt;
    spa_video_info_raw info = {};
    if (spa_format_video_raw_parse(&parameter, &info) < 0 || info.size.width < 1 || info.size.height < 1
        || info.size.width > largestSide || info.size.height > largestSide)
        return std::nullopt;
    const auto known = std::ranges::find(knownFormats, info.format, &KnownFormat::id);
    if (known == knownFormats.end())
        return std::nullopt;
    return PipeWireFormat{
        static_cast<int>(info.size.width), static_cast<int>(info.size.height), known->pixels};
}

} // namespace glimto

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

// An object of properties, as the macros of SPA write their values.
template <typename... Properties>
const spa_pod* object(
    spa_pod_builder& builder, std::uint32_t type, std::uint32_t id, Properties... properties)
{
    return static_cast<const spa_pod*>(spa_pod_builder_add_object(&builder, type, id, properties...));
}

const spa_pod* metadata(spa_pod_builder& builder, std::uint32_t type, const MetadataSize& size)
{
    return object(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
        SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(
            static_cast<int>(size.usual), static_cast<int>(size.least), static_cast<int>(size.most)));
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
    const spa_rectangle usualSize = {1920, 1080};
    const spa_rectangle leastSize = {1, 1};
    const spa_rectangle mostSize = {largestSide, largestSide};
    const spa_fraction asChangesCome = {0, 1}; // which is how screens send
    const spa_fraction most = {1000, 1};
    const spa_fraction wanted = {mostFramesPerSecond, 1};
    const spa_fraction least = {1, 1};
    static_assert(knownFormats.size() == 4);
    parameters->list_ = {object(builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(5, knownFormats[0].id, // the usual one
            knownFormats[0].id, knownFormats[1].id, knownFormats[2].id, knownFormats[3].id),
        SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usualSize, &leastSize, &mostSize),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&asChangesCome, &asChangesCome, &most),
        SPA_FORMAT_VIDEO_maxFramerate, SPA_POD_CHOICE_RANGE_Fraction(&wanted, &least, &wanted))};
    return parameters;
}

std::unique_ptr<PipeWireParameters> PipeWireParameters::buffers(
    const PipeWireFormat& format, PointerPlace pointer)
{
    std::unique_ptr<PipeWireParameters> parameters(new PipeWireParameters);
    spa_pod_builder builder = builderOf(parameters->memory_);
    const int stride = 4 * format.width;
    const spa_pod* memory = object(builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,
        SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(usualBuffers, fewestBuffers, mostBuffers),
        SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
        SPA_POD_CHOICE_RANGE_Int(stride * format.height, stride * format.height, INT32_MAX),
        SPA_PARAM_BUFFERS_stride, SPA_POD_CHOICE_RANGE_Int(stride, stride, INT32_MAX),
        SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr)));
    parameters->list_ = {memory, metadata(builder, SPA_META_Header, {sizeof(spa_meta_header)}),
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

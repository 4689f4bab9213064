#include "Backends/Portal/PipeWireScreen.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>

#include "Backends/Portal/PortalErrors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// More rectangles than this are one.
constexpr std::size_t mostChangedRects = 64;

// A time stamp that lies further back is of another clock.
constexpr std::chrono::milliseconds oldestTime(500);

// Buffers that stay with the provider, so that it can always draw.
constexpr std::size_t providersBuffers = 2;

// Padding beyond this is no padding.
constexpr std::size_t longestRow = std::size_t{4} * 65'536;

// Events that are handled before something else has its turn.
constexpr int mostEventsAtOnce = 100;

// After as many that make no sense in a row, none will.
constexpr int mostBadBuffers = 100;

struct PipeWireDeleter {
    void operator()(pw_loop* loop) const noexcept { pw_loop_destroy(loop); }
    void operator()(pw_context* context) const noexcept { pw_context_destroy(context); }
    void operator()(pw_core* core) const noexcept { pw_core_disconnect(core); }
    void operator()(pw_registry* registry) const noexcept
    {
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    void operator()(pw_stream* stream) const noexcept { pw_stream_destroy(stream); }
};
template <typename Type> using PipeWireHandle = std::unique_ptr<Type, PipeWireDeleter>;

void beginPipeWire()
{
    static const bool hasBegun = [] {
        pw_init(nullptr, nullptr);
        // It would write what others say to standard error.
        if (!std::getenv("PIPEWIRE_DEBUG"))
            pw_log_set_level(SPA_LOG_LEVEL_NONE);
        return true;
    }();
    (void)hasBegun;
}

template <typename Handle> Handle* required(Handle* handle)
{
    if (!handle)
        throw PlatformError::posix("Could not connect to PipeWire", errno ? errno : ENOMEM);
    return handle;
}

// What the provider tells beside a picture; null when it does not.
template <typename Metadata> const Metadata* metadataOf(const spa_buffer& buffer, std::uint32_t type)
{
    return static_cast<const Metadata*>(spa_buffer_find_meta_data(&buffer, type, sizeof(Metadata)));
}

PixelRect rectOf(const spa_region& region, int width, int height)
{
    if (region.position.x < 0 || region.position.y < 0 || region.position.x >= width
        || region.position.y >= height)
        return {};
    return {region.position.x, region.position.y,
        static_cast<int>(std::min(region.size.width, static_cast<std::uint32_t>(width - region.position.x))),
        static_cast<int>(
            std::min(region.size.height, static_cast<std::uint32_t>(height - region.position.y)))};
}

class Connection final : public PipeWireScreen {
public:
    Connection(const FileDescriptor& remote, std::uint32_t nodeID, std::uint32_t mostFramesPerSecond,
        PipeWireParameters::PointerPlace pointer, std::shared_ptr<WakeUp> wakeUp)
        : nodeID_(nodeID)
        , wantsPointer_(pointer)
        , wakeUp_(std::move(wakeUp))
    {
        beginPipeWire();
        loop_.reset(required(pw_loop_new(nullptr)));
        context_.reset(required(pw_context_new(loop_.get(), nullptr, 0)));
        core_.reset(required(pw_context_connect_fd(context_.get(), ::dup(remote.get()), nullptr, 0)));
        listenToCore();
        connectStream(mostFramesPerSecond);
    }

    ~Connection() override
    {
        stream_.reset();
        spa_hook_remove(&registryHook_);
        spa_hook_remove(&coreHook_);
    }

    int fileDescriptor() const override { return pw_loop_get_fd(loop_.get()); }

    void handleEvents() override
    {
        takeBackLent();
        for (int count = 0; count < mostEventsAtOnce && !failure_; ++count) {
            if (pw_loop_iterate(loop_.get(), 0) <= 0)
                break;
        }
        if (failure_)
            throw PlatformError(*failure_);
    }

    const std::optional<PipeWireFormat>& format() const override { return format_; }
    const ArrivedPicture* arrived() const override { return arrivedBuffer_ ? &arrived_ : nullptr; }
    std::optional<PointerPlace> pointer() const override { return pointer_; }

    void askForPicture() override
    {
        pw_stream_set_active(stream_.get(), false);
        pw_stream_set_active(stream_.get(), true);
    }

    std::shared_ptr<const FramePicture> lend(const PixelRect& part) override
    {
        takeBackLent();
        if (!arrivedBuffer_ || !arrivedBuffer_->memory || !arrivedBuffer_->handle
            || lent_.size() + providersBuffers + 1 > buffers_.size())
            return nullptr;
        const auto memory = arrivedBuffer_->memory;
        memory->leases.fetch_add(1, std::memory_order_relaxed);
        std::shared_ptr<const void> storage(
            static_cast<const void*>(memory->bytes()), [memory, wakeUp = wakeUp_](const void*) {
                memory->leases.fetch_sub(1, std::memory_order_release);
                wakeUp->wake();
            });
        PixelBuffer pixels = arrived_.pixels.part(part);
        pixels.storage = std::move(storage);
        auto picture = std::make_shared<const MemoryPicture>(std::move(pixels));
        lent_.push_back(std::exchange(arrivedBuffer_, nullptr));
        return picture;
    }

    void finish() override
    {
        if (arrivedBuffer_)
            giveBack(*std::exchange(arrivedBuffer_, nullptr));
    }

private:
    void enter() override { pw_loop_enter(loop_.get()); }
    void leave() override { pw_loop_leave(loop_.get()); }

    void listenToCore()
    {
        static const pw_core_events coreEvents = [] {
            pw_core_events events = {};
            events.version = PW_VERSION_CORE_EVENTS;
            events.error = [](void* self, std::uint32_t id, int, int result, const char* message) {
                // Errors of objects are told to those as well; this is the connection's end.
                if (id == PW_ID_CORE && result == -EPIPE)
                    static_cast<Connection*>(self)->fail(
                        PortalFailure::sourceGone, "The connection to PipeWire was lost", message);
            };
            return events;
        }();
        static const pw_registry_events registryEvents = [] {
            pw_registry_events events = {};
            events.version = PW_VERSION_REGISTRY_EVENTS;
            events.global_remove = [](void* self, std::uint32_t id) {
                auto* connection = static_cast<Connection*>(self);
                if (id == connection->nodeID_)
                    connection->fail(
                        PortalFailure::sourceGone, "What was captured is no longer there", nullptr);
            };
            return events;
        }();
        pw_core_add_listener(core_.get(), &coreHook_, &coreEvents, this);
        registry_.reset(required(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0)));
        pw_registry_add_listener(registry_.get(), &registryHook_, &registryEvents, this);
    }

    void connectStream(std::uint32_t mostFramesPerSecond)
    {
        static const pw_stream_events events = [] {
            pw_stream_events made = {};
            made.version = PW_VERSION_STREAM_EVENTS;
            made.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char* message) {
                static_cast<Connection*>(self)->stateChanged(state, message);
            };
            made.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
                if (id == SPA_PARAM_Format && parameter)
                    static_cast<Connection*>(self)->formatChanged(*parameter);
            };
            made.add_buffer
                = [](void* self, pw_buffer* buffer) { static_cast<Connection*>(self)->addBuffer(*buffer); };
            made.remove_buffer = [](void* self, pw_buffer* buffer) {
                static_cast<Connection*>(self)->removeBuffer(*buffer);
            };
            made.process = [](void* self) { static_cast<Connection*>(self)->process(); };
            return made;
        }();
        // Never another node instead: a camera, for one.
        pw_properties* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
            "Capture", PW_KEY_MEDIA_ROLE, "Screen", PW_KEY_NODE_DONT_RECONNECT, "true", nullptr);
        stream_.reset(required(pw_stream_new(core_.get(), "glimto-capture", properties)));
        pw_stream_add_listener(stream_.get(), &streamHook_, &events, this);
        const auto formats = PipeWireParameters::formats(mostFramesPerSecond);
        const int result = pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, nodeID_,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_DONT_RECONNECT),
            formats->list(), formats->count());
        if (result < 0)
            throw PlatformError::posix("Could not connect to the stream of the screen", -result);
    }

    void fail(PortalFailure failure, const std::string& what, const char* message)
    {
        if (failure_)
            return;
        const std::string text = message ? excerpt(validUTF8(message)) : "";
        failure_ = portalError(failure, what + (text.empty() ? "." : ": " + text));
    }

    void stateChanged(pw_stream_state state, const char* message)
    {
        if (state == PW_STREAM_STATE_ERROR)
            fail(format_ ? PortalFailure::sourceGone : PortalFailure::noPicture,
                "The stream of the screen ended", message);
        else if (state == PW_STREAM_STATE_UNCONNECTED)
            fail(PortalFailure::sourceGone, "The stream of the screen was closed", nullptr);
    }

    void formatChanged(const spa_pod& parameter)
    {
        const auto format = pipeWireFormat(parameter);
        if (!format) {
            fail(PortalFailure::noPicture, "The stream has pictures of a kind that is not known here",
                nullptr);
            return;
        }
        // What has not been taken yet is of the earlier format, and soon gone.
        finish();
        format_ = format;
        changed_.clear();
        isAllChanged_ = true;
        const auto buffers = PipeWireParameters::buffers(*format, wantsPointer_);
        pw_stream_update_params(stream_.get(), buffers->list(), buffers->count());
    }

    void addBuffer(pw_buffer& handle)
    {
        auto buffer = std::make_unique<PipeWireBuffer>();
        buffer->handle = &handle;
        if (handle.buffer->n_datas > 0) {
            const spa_data& data = handle.buffer->datas[0];
            if (data.type == SPA_DATA_MemFd && data.fd >= 0) {
                buffer->memory = MappedMemory::map(static_cast<int>(data.fd), data.mapoffset, data.maxsize);
                if (buffer->memory)
                    buffer->bytes = buffer->memory->bytes();
                buffer->descriptor = static_cast<int>(data.fd);
                buffer->descriptorOffset = data.mapoffset;
            } else if (data.type == SPA_DATA_MemPtr) {
                buffer->bytes = static_cast<const std::uint8_t*>(data.data);
            }
            buffer->size = data.maxsize;
        }
        handle.user_data = buffer.get();
        buffers_.push_back(std::move(buffer));
    }

    // Those who hold its picture keep the memory.
    void removeBuffer(pw_buffer& handle)
    {
        auto* buffer = static_cast<PipeWireBuffer*>(handle.user_data);
        if (buffer == arrivedBuffer_)
            arrivedBuffer_ = nullptr;
        std::erase(lent_, buffer);
        std::erase_if(buffers_, [&](const auto& each) { return each.get() == buffer; });
        isAllChanged_ = true;
    }

    void process()
    {
        while (pw_buffer* handle = pw_stream_dequeue_buffer(stream_.get())) {
            auto* buffer = static_cast<PipeWireBuffer*>(handle->user_data);
            if (!buffer || !receive(*buffer))
                pw_stream_queue_buffer(stream_.get(), handle);
        }
    }

    // Whether the buffer was kept.
    bool receive(PipeWireBuffer& buffer)
    {
        const spa_buffer& content = *buffer.handle->buffer;
        if (!format_ || content.n_datas < 1)
            return false;
        readPart(content);
        readPointer(content);
        // The other side can write there at any time: each number is read once.
        const volatile spa_chunk& chunk = *content.datas[0].chunk;
        const std::uint32_t size = chunk.size;
        const std::size_t offset = chunk.offset;
        const std::int32_t stride = chunk.stride;
        const std::int32_t flags = chunk.flags;
        if (size == 0)
            return false; // news of the pointer only
        const auto* header = metadataOf<spa_meta_header>(content, SPA_META_Header);
        if ((static_cast<std::uint32_t>(flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0
            || (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0)) {
            isAllChanged_ = true;
            return false;
        }
        const auto width = static_cast<std::size_t>(format_->width);
        const auto height = static_cast<std::size_t>(format_->height);
        const std::size_t bytesPerRow
            = stride == 0 ? 4 * width : static_cast<std::size_t>(std::max(stride, 0));
        const std::size_t pictureBytes = bytesPerRow * (height - 1) + 4 * width;
        const bool isWithin = bytesPerRow >= 4 * width && bytesPerRow <= longestRow && bytesPerRow % 4 == 0
            && offset <= buffer.size && pictureBytes <= buffer.size - offset;
        const std::uint8_t* bytes = isWithin ? readable(buffer, offset, pictureBytes) : nullptr;
        if (!bytes) {
            if (++badBufferCount_ >= mostBadBuffers)
                fail(PortalFailure::noPicture, "The stream has pictures that cannot be read", nullptr);
            isAllChanged_ = true;
            return false;
        }
        badBufferCount_ = 0;
        addChanges(content);
        finish(); // an older one that nobody has taken
        arrivedBuffer_ = &buffer;
        arrived_ = {.pixels = {format_->width, format_->height, bytesPerRow, bytes, nullptr, format_->pixels},
            .part = part_,
            .changedRects = changed_,
            .time = timeOf(header)};
        return true;
    }

    // A buffer that brings only the pointer tells it as well.
    void readPart(const spa_buffer& content)
    {
        PixelRect part = {0, 0, format_->width, format_->height};
        if (const auto* crop = metadataOf<spa_meta_region>(content, SPA_META_VideoCrop)) {
            const PixelRect told = rectOf(crop->region, part.width, part.height);
            if (!told.isEmpty())
                part = told;
        }
        if (part != part_)
            isAllChanged_ = true;
        part_ = part;
    }

    // Where the picture can be looked at. Memory that could be cut off meanwhile is read as a file.
    const std::uint8_t* readable(const PipeWireBuffer& buffer, std::size_t offset, std::size_t size)
    {
        if (buffer.bytes)
            return buffer.bytes + offset;
        if (buffer.descriptor < 0)
            return nullptr;
        copied_.resize(size);
        return buffer.read(offset, copied_) ? copied_.data() : nullptr;
    }

    // What has changed since the picture that was taken last: those that came between are skipped.
    void addChanges(const spa_buffer& content)
    {
        const PixelRect whole = {0, 0, format_->width, format_->height};
        if (!arrivedBuffer_ && !isAllChanged_)
            changed_.clear();
        bool isTold = false;
        if (const spa_meta* damage = spa_buffer_find_meta(&content, SPA_META_VideoDamage)) {
            const auto* regions = static_cast<const spa_meta_region*>(damage->data);
            for (std::size_t index = 0; index < damage->size / sizeof(spa_meta_region); ++index) {
                const spa_region region = regions[index].region;
                if (region.size.width == 0 || region.size.height == 0)
                    break;
                isTold = true;
                if (const PixelRect rect = rectOf(region, whole.width, whole.height); !rect.isEmpty())
                    changed_.push_back(rect);
            }
        }
        if (!isTold || isAllChanged_ || changed_.size() > mostChangedRects)
            changed_ = {whole};
        isAllChanged_ = false;
    }

    static HostTime timeOf(const spa_meta_header* header)
    {
        const auto now = HostClock::now();
        const HostTime told = header ? HostTime(HostClock::duration(header->pts)) : now;
        return told <= now && now - told < oldestTime ? told : now;
    }

    void readPointer(const spa_buffer& content)
    {
        const auto* cursor = metadataOf<spa_meta_cursor>(content, SPA_META_Cursor);
        if (!cursor)
            return;
        pointer_.reset();
        const spa_point place = cursor->position;
        if (!spa_meta_cursor_is_valid(cursor) || part_.isEmpty())
            return;
        const auto* header = metadataOf<spa_meta_header>(content, SPA_META_Header);
        pointer_ = PointerPlace{{static_cast<double>(std::int64_t{place.x} - part_.x) / part_.width,
                                    static_cast<double>(std::int64_t{place.y} - part_.y) / part_.height},
            timeOf(header)};
    }

    void giveBack(PipeWireBuffer& buffer)
    {
        if (buffer.handle)
            pw_stream_queue_buffer(stream_.get(), buffer.handle);
    }

    void takeBackLent()
    {
        std::erase_if(lent_, [this](PipeWireBuffer* buffer) {
            // Acquire: what consumers read of the picture happens before it is drawn over.
            if (buffer->memory->leases.load(std::memory_order_acquire) != 0)
                return false;
            giveBack(*buffer);
            return true;
        });
    }

    std::uint32_t nodeID_;
    PipeWireParameters::PointerPlace wantsPointer_;
    std::shared_ptr<WakeUp> wakeUp_;

    PipeWireHandle<pw_loop> loop_;
    PipeWireHandle<pw_context> context_;
    PipeWireHandle<pw_core> core_;
    PipeWireHandle<pw_registry> registry_;
    spa_hook coreHook_ = {};
    spa_hook registryHook_ = {};
    spa_hook streamHook_ = {};

    std::optional<PipeWireFormat> format_;
    std::vector<std::unique_ptr<PipeWireBuffer>> buffers_;
    PipeWireBuffer* arrivedBuffer_ = nullptr;
    std::vector<std::uint8_t> copied_; // what it holds, where it cannot be looked at
    ArrivedPicture arrived_;
    std::vector<PipeWireBuffer*> lent_;
    PixelRect part_;
    std::vector<PixelRect> changed_;
    bool isAllChanged_ = true;
    std::optional<PointerPlace> pointer_;
    int badBufferCount_ = 0;
    std::optional<PlatformError> failure_;

    PipeWireHandle<pw_stream> stream_; // its end gives buffers back, so it goes first
};

} // namespace

std::unique_ptr<PipeWireScreen> openPipeWireScreen(const FileDescriptor& remote, std::uint32_t nodeID,
    std::uint32_t mostFramesPerSecond, PipeWireParameters::PointerPlace pointer,
    std::shared_ptr<WakeUp> wakeUp)
{
    return std::make_unique<Connection>(remote, nodeID, mostFramesPerSecond, pointer, std::move(wakeUp));
}

} // namespace glimto

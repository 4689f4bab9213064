#include "Backends/Wayland/WaylandSelection.h"

#include <cstring>
#include <string>
#include <utility>

namespace glimto {

namespace {

// The two protocols differ in nothing but their names.
struct CommonProtocol {
    using Manager = ext_data_control_manager_v1;
    using Source = ext_data_control_source_v1;
    using SourceListener = ext_data_control_source_v1_listener;
    using Device = ext_data_control_device_v1;
    using DeviceListener = ext_data_control_device_v1_listener;
    using Offer = ext_data_control_offer_v1;
    static constexpr auto makeSource = ext_data_control_manager_v1_create_data_source;
    static constexpr auto makeDevice = ext_data_control_manager_v1_get_data_device;
    static constexpr auto listenToSource = ext_data_control_source_v1_add_listener;
    static constexpr auto listenToDevice = ext_data_control_device_v1_add_listener;
    static constexpr auto offer = ext_data_control_source_v1_offer;
    static constexpr auto select = ext_data_control_device_v1_set_selection;
    static constexpr auto leave = ext_data_control_offer_v1_destroy;
};

struct WlrootsProtocol {
    using Manager = zwlr_data_control_manager_v1;
    using Source = zwlr_data_control_source_v1;
    using SourceListener = zwlr_data_control_source_v1_listener;
    using Device = zwlr_data_control_device_v1;
    using DeviceListener = zwlr_data_control_device_v1_listener;
    using Offer = zwlr_data_control_offer_v1;
    static constexpr auto makeSource = zwlr_data_control_manager_v1_create_data_source;
    static constexpr auto makeDevice = zwlr_data_control_manager_v1_get_data_device;
    static constexpr auto listenToSource = zwlr_data_control_source_v1_add_listener;
    static constexpr auto listenToDevice = zwlr_data_control_device_v1_add_listener;
    static constexpr auto offer = zwlr_data_control_source_v1_offer;
    static constexpr auto select = zwlr_data_control_device_v1_set_selection;
    static constexpr auto leave = zwlr_data_control_offer_v1_destroy;
};

template <typename Protocol> class SelectionBy final : public WaylandSelection {
public:
    SelectionBy(typename Protocol::Manager* manager, wl_seat* seat, const char* type, Handlers handlers)
        : type_(type)
        , handlers_(std::move(handlers))
        , source_(Protocol::makeSource(manager))
        , device_(Protocol::makeDevice(manager, seat))
    {
        Protocol::listenToSource(source_.get(), &sourceListener, this);
        Protocol::offer(source_.get(), type);
        Protocol::listenToDevice(device_.get(), &deviceListener, this);
        Protocol::select(device_.get(), source_.get());
    }

private:
    using Source = typename Protocol::Source;
    using Device = typename Protocol::Device;
    using Offer = typename Protocol::Offer;

    static SelectionBy& self(void* data) { return *static_cast<SelectionBy*>(data); }

    static constexpr typename Protocol::SourceListener sourceListener = {
        .send =
            [](void* data, Source*, const char* type, std::int32_t descriptor) {
                FileDescriptor pipe(descriptor);
                if (type == self(data).type_)
                    self(data).handlers_.onRequest(std::move(pipe));
            },
        .cancelled = [](void* data, Source*) { self(data).handlers_.onLost(); },
    };
    // What others put on the clipboard is none of our business.
    static constexpr typename Protocol::DeviceListener deviceListener = {
        .data_offer = [](void*, Device*, Offer* offer) { Protocol::leave(offer); },
        .selection = [](void*, Device*, Offer*) {},
        .finished = [](void* data, Device*) { self(data).handlers_.onLost(); },
        .primary_selection = [](void*, Device*, Offer*) {},
    };

    std::string type_;
    Handlers handlers_;
    WaylandHandle<Source> source_;
    WaylandHandle<Device> device_;
};

} // namespace

bool WaylandSelection::isPossible(const WaylandConnection& connection)
{
    return connection.seat() && (connection.commonDataControl() || connection.dataControl());
}

std::unique_ptr<WaylandSelection> WaylandSelection::take(
    WaylandConnection& connection, const char* type, Handlers handlers)
{
    if (connection.commonDataControl())
        return std::make_unique<SelectionBy<CommonProtocol>>(
            connection.commonDataControl(), connection.seat(), type, std::move(handlers));
    return std::make_unique<SelectionBy<WlrootsProtocol>>(
        connection.dataControl(), connection.seat(), type, std::move(handlers));
}

} // namespace glimto

#include "TestOlderProtocols.h"

#include <cstdint>

#include <wlr-data-control-unstable-v1.h>
#include <wlr-screencopy-unstable-v1.h>

namespace glimto {

namespace {

void throwOut(wl_client* client)
{
    wl_client_post_implementation_error(client, "there is a better protocol for this");
}

void destroyResource(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

constexpr struct zwlr_screencopy_manager_v1_interface screencopyRequests = {
    .capture_output
    = [](wl_client* client, wl_resource*, std::uint32_t, std::int32_t, wl_resource*) { throwOut(client); },
    .capture_output_region
    = [](wl_client* client, wl_resource*, std::uint32_t, std::int32_t, wl_resource*, std::int32_t,
          std::int32_t, std::int32_t, std::int32_t) { throwOut(client); },
    .destroy = destroyResource,
};

constexpr struct zwlr_data_control_manager_v1_interface clipboardRequests = {
    .create_data_source = [](wl_client* client, wl_resource*, std::uint32_t) { throwOut(client); },
    .get_data_device = [](wl_client* client, wl_resource*, std::uint32_t, wl_resource*) { throwOut(client); },
    .destroy = destroyResource,
};

} // namespace

void offerOlderProtocols(wl_display* display, bool hasClipboard)
{
    wl_global_create(display, &zwlr_screencopy_manager_v1_interface, 3, nullptr,
        [](wl_client* client, void*, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(wl_resource_create(client, &zwlr_screencopy_manager_v1_interface,
                                               static_cast<int>(version), identifier),
                &screencopyRequests, nullptr, nullptr);
        });
    if (!hasClipboard)
        return;
    wl_global_create(display, &zwlr_data_control_manager_v1_interface, 2, nullptr,
        [](wl_client* client, void*, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(wl_resource_create(client, &zwlr_data_control_manager_v1_interface,
                                               static_cast<int>(version), identifier),
                &clipboardRequests, nullptr, nullptr);
        });
}

} // namespace glimto

#include "TestClipboard.h"

#include <stdexcept>
#include <utility>

#include <ext-data-control-v1.h>
#include <fcntl.h>
#include <unistd.h>

namespace glimto {

namespace {

void destroyResource(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

TestSeat& seat(wl_resource* resource)
{
    return *static_cast<TestSeat*>(wl_resource_get_user_data(resource));
}

// The only type that these tests put on it.
constexpr struct ext_data_control_source_v1_interface sourceRequests = {
    .offer =
        [](wl_client* client, wl_resource*, const char* type) {
            if (std::string(type) != "image/png")
                wl_client_post_implementation_error(client, "not a picture");
        },
    .destroy = destroyResource,
};

constexpr struct ext_data_control_device_v1_interface deviceRequests = {
    .set_selection
    = [](wl_client*, wl_resource* resource, wl_resource* source) { seat(resource).select(source); },
    .destroy = destroyResource,
    .set_primary_selection = [](wl_client*, wl_resource*, wl_resource*) {},
};

constexpr struct ext_data_control_manager_v1_interface managerRequests = {
    .create_data_source =
        [](wl_client* client, wl_resource* manager, std::uint32_t identifier) {
            wl_resource_set_implementation(
                wl_resource_create(client, &ext_data_control_source_v1_interface, 1, identifier),
                &sourceRequests, &seat(manager), [](wl_resource* gone) { seat(gone).forget(gone); });
        },
    .get_data_device =
        [](wl_client* client, wl_resource* manager, std::uint32_t identifier, wl_resource*) {
            wl_resource* device
                = wl_resource_create(client, &ext_data_control_device_v1_interface, 1, identifier);
            wl_resource_set_implementation(device, &deviceRequests, &seat(manager), nullptr);
            ext_data_control_device_v1_send_selection(device, nullptr);
        },
    .destroy = destroyResource,
};

constexpr struct wl_seat_interface seatRequests = {
    .get_pointer = [](wl_client*, wl_resource*, std::uint32_t) {},
    .get_keyboard = [](wl_client*, wl_resource*, std::uint32_t) {},
    .get_touch = [](wl_client*, wl_resource*, std::uint32_t) {},
    .release = destroyResource,
};

} // namespace

TestSeat::TestSeat(wl_display* display, bool hasClipboard)
{
    wl_global_create(display, &wl_seat_interface, 1, this,
        [](wl_client* client, void* data, std::uint32_t, std::uint32_t identifier) {
            wl_resource* resource = wl_resource_create(client, &wl_seat_interface, 1, identifier);
            wl_resource_set_implementation(resource, &seatRequests, data, nullptr);
            wl_seat_send_capabilities(resource, 0);
        });
    if (!hasClipboard)
        return;
    wl_global_create(display, &ext_data_control_manager_v1_interface, 1, this,
        [](wl_client* client, void* data, std::uint32_t, std::uint32_t identifier) {
            wl_resource_set_implementation(
                wl_resource_create(client, &ext_data_control_manager_v1_interface, 1, identifier),
                &managerRequests, data, nullptr);
        });
}

void TestSeat::paste(const std::string& path)
{
    if (!source_)
        throw std::runtime_error("nothing is on the clipboard");
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0)
        throw std::runtime_error("no file");
    ext_data_control_source_v1_send_send(source_, "image/png", file);
    close(file);
}

void TestSeat::take()
{
    select(nullptr);
}

void TestSeat::select(wl_resource* source)
{
    if (wl_resource* before = std::exchange(source_, source))
        ext_data_control_source_v1_send_cancelled(before);
}

void TestSeat::forget(wl_resource* source)
{
    if (source_ == source)
        source_ = nullptr;
}

} // namespace glimto

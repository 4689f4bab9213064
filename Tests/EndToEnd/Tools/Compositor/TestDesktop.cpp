#include "TestDesktop.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <ext-foreign-toplevel-list-v1.h>
#include <xdg-output-unstable-v1.h>

namespace glimto {

namespace {

constexpr int outputVersion = 4;
constexpr int placeVersion = 3;

void destroyResource(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

void tell(const TestOutput& output, wl_resource* resource)
{
    wl_output_send_geometry(resource, output.x, output.y, 0, 0, WL_OUTPUT_SUBPIXEL_UNKNOWN, "Glimto", "test",
        static_cast<std::int32_t>(output.source.transform));
    wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, output.source.width, output.source.height, 60'000);
    wl_output_send_scale(resource, output.scale);
    wl_output_send_name(resource, output.source.name.c_str());
    wl_output_send_done(resource);
}

void tellPlace(const TestOutput& output, wl_resource* resource)
{
    const bool isTurned = output.source.transform % 2 != 0;
    zxdg_output_v1_send_logical_position(resource, output.x, output.y);
    zxdg_output_v1_send_logical_size(resource,
        (isTurned ? output.source.height : output.source.width) / output.scale,
        (isTurned ? output.source.width : output.source.height) / output.scale);
}

constexpr struct wl_output_interface outputRequests = {.release = destroyResource};
constexpr struct zxdg_output_v1_interface placeRequests = {.destroy = destroyResource};
constexpr struct ext_foreign_toplevel_handle_v1_interface windowRequests = {.destroy = destroyResource};

template <typename Object> void forgetResource(std::vector<wl_resource*> Object::*list, wl_resource* resource)
{
    std::erase(static_cast<Object*>(wl_resource_get_user_data(resource))->*list, resource);
}

void bindOutput(wl_client* client, void* data, std::uint32_t version, std::uint32_t identifier)
{
    auto& output = *static_cast<TestOutput*>(data);
    wl_resource* resource
        = wl_resource_create(client, &wl_output_interface, static_cast<int>(version), identifier);
    wl_resource_set_implementation(resource, &outputRequests, &output,
        [](wl_resource* gone) { forgetResource(&TestOutput::resources, gone); });
    output.resources.push_back(resource);
    tell(output, resource);
}

constexpr struct zxdg_output_manager_v1_interface placesRequests = {
    .destroy = destroyResource,
    .get_xdg_output =
        [](wl_client* client, wl_resource*, std::uint32_t identifier, wl_resource* of) {
            auto& output = *static_cast<TestOutput*>(wl_resource_get_user_data(of));
            wl_resource* resource
                = wl_resource_create(client, &zxdg_output_v1_interface, placeVersion, identifier);
            wl_resource_set_implementation(resource, &placeRequests, &output,
                [](wl_resource* gone) { forgetResource(&TestOutput::placeResources, gone); });
            output.placeResources.push_back(resource);
            tellPlace(output, resource);
            wl_output_send_done(of);
        },
};

void tellWindow(TestWindow& window, wl_client* client, wl_resource* list)
{
    wl_resource* resource = wl_resource_create(client, &ext_foreign_toplevel_handle_v1_interface, 1, 0);
    wl_resource_set_implementation(resource, &windowRequests, &window,
        [](wl_resource* gone) { forgetResource(&TestWindow::resources, gone); });
    window.resources.push_back(resource);
    ext_foreign_toplevel_list_v1_send_toplevel(list, resource);
    ext_foreign_toplevel_handle_v1_send_identifier(resource, window.source.name.c_str());
    ext_foreign_toplevel_handle_v1_send_title(resource, window.title.c_str());
    ext_foreign_toplevel_handle_v1_send_app_id(resource, window.application.c_str());
    ext_foreign_toplevel_handle_v1_send_done(resource);
}

constexpr struct ext_foreign_toplevel_list_v1_interface listRequests = {
    .stop = [](wl_client*, wl_resource* list) { ext_foreign_toplevel_list_v1_send_finished(list); },
    .destroy = destroyResource,
};

} // namespace

TestDesktop::TestDesktop(wl_display* display)
    : display_(display)
{
    wl_global_create(display, &zxdg_output_manager_v1_interface, placeVersion, nullptr,
        [](wl_client* client, void*, std::uint32_t version, std::uint32_t identifier) {
            wl_resource_set_implementation(wl_resource_create(client, &zxdg_output_manager_v1_interface,
                                               static_cast<int>(version), identifier),
                &placesRequests, nullptr, nullptr);
        });
    wl_global_create(display, &ext_foreign_toplevel_list_v1_interface, 1, this,
        [](wl_client* client, void* self, std::uint32_t, std::uint32_t identifier) {
            wl_resource* list
                = wl_resource_create(client, &ext_foreign_toplevel_list_v1_interface, 1, identifier);
            wl_resource_set_implementation(list, &listRequests, nullptr, nullptr);
            for (const auto& window : static_cast<TestDesktop*>(self)->windows()) {
                if (!window->isClosed)
                    tellWindow(*window, client, list);
            }
        });
}

TestOutput& TestDesktop::addOutput(std::unique_ptr<TestOutput> output)
{
    output->global
        = wl_global_create(display_, &wl_output_interface, outputVersion, output.get(), bindOutput);
    return *outputs_.emplace_back(std::move(output));
}

TestWindow& TestDesktop::addWindow(std::unique_ptr<TestWindow> window)
{
    return *windows_.emplace_back(std::move(window));
}

void TestDesktop::tellOutput(TestOutput& output)
{
    for (wl_resource* resource : output.placeResources)
        tellPlace(output, resource);
    for (wl_resource* resource : output.resources)
        tell(output, resource);
}

void TestDesktop::remove(const std::string& name)
{
    if (TestOutput* output = outputNamed(name)) {
        wl_global_remove(output->global);
        output->source.name.clear();
        return;
    }
    for (const auto& window : windows_) {
        if (window->source.name != name)
            continue;
        window->isClosed = true;
        window->source.name.clear();
        for (wl_resource* resource : window->resources)
            ext_foreign_toplevel_handle_v1_send_closed(resource);
        return;
    }
    throw std::runtime_error("there is no " + name);
}

TestSource* TestDesktop::sourceNamed(const std::string& name)
{
    if (TestOutput* output = outputNamed(name))
        return &output->source;
    const auto window = std::find_if(
        windows_.begin(), windows_.end(), [&](const auto& each) { return each->source.name == name; });
    return window == windows_.end() ? nullptr : &(*window)->source;
}

TestOutput* TestDesktop::outputNamed(const std::string& name)
{
    const auto output = std::find_if(
        outputs_.begin(), outputs_.end(), [&](const auto& each) { return each->source.name == name; });
    return output == outputs_.end() ? nullptr : output->get();
}

TestSource* TestDesktop::sourceOf(wl_resource* resource)
{
    void* data = wl_resource_get_user_data(resource);
    for (const auto& output : outputs_) {
        if (output.get() == data)
            return &output->source;
    }
    return &static_cast<TestWindow*>(data)->source;
}

} // namespace glimto

#pragma once

#include <memory>

#include <wayland-client.h>

#include <ext-data-control-v1.h>
#include <ext-foreign-toplevel-list-v1.h>
#include <ext-image-capture-source-v1.h>
#include <ext-image-copy-capture-v1.h>
#include <wlr-data-control-unstable-v1.h>
#include <wlr-foreign-toplevel-management-unstable-v1.h>
#include <wlr-screencopy-unstable-v1.h>
#include <xdg-output-unstable-v1.h>

namespace glimto {

// Owners of the compositor's objects. Each goes before its connection.
struct WaylandDelete {
    void operator()(wl_registry* object) const noexcept { wl_registry_destroy(object); }
    void operator()(wl_shm* object) const noexcept { wl_shm_destroy(object); }
    void operator()(wl_shm_pool* object) const noexcept { wl_shm_pool_destroy(object); }
    void operator()(wl_seat* object) const noexcept { wl_seat_destroy(object); }
    void operator()(wl_buffer* object) const noexcept { wl_buffer_destroy(object); }
    void operator()(wl_callback* object) const noexcept { wl_callback_destroy(object); }
    void operator()(wl_output* object) const noexcept { wl_output_destroy(object); }
    void operator()(zxdg_output_v1* object) const noexcept { zxdg_output_v1_destroy(object); }
    void operator()(zxdg_output_manager_v1* object) const noexcept { zxdg_output_manager_v1_destroy(object); }
    void operator()(zwlr_screencopy_manager_v1* object) const noexcept
    {
        zwlr_screencopy_manager_v1_destroy(object);
    }
    void operator()(zwlr_screencopy_frame_v1* object) const noexcept
    {
        zwlr_screencopy_frame_v1_destroy(object);
    }
    void operator()(ext_image_capture_source_v1* object) const noexcept
    {
        ext_image_capture_source_v1_destroy(object);
    }
    void operator()(ext_output_image_capture_source_manager_v1* object) const noexcept
    {
        ext_output_image_capture_source_manager_v1_destroy(object);
    }
    void operator()(ext_foreign_toplevel_image_capture_source_manager_v1* object) const noexcept
    {
        ext_foreign_toplevel_image_capture_source_manager_v1_destroy(object);
    }
    void operator()(ext_image_copy_capture_manager_v1* object) const noexcept
    {
        ext_image_copy_capture_manager_v1_destroy(object);
    }
    void operator()(ext_image_copy_capture_session_v1* object) const noexcept
    {
        ext_image_copy_capture_session_v1_destroy(object);
    }
    void operator()(ext_image_copy_capture_frame_v1* object) const noexcept
    {
        ext_image_copy_capture_frame_v1_destroy(object);
    }
    void operator()(ext_foreign_toplevel_list_v1* object) const noexcept
    {
        ext_foreign_toplevel_list_v1_destroy(object);
    }
    void operator()(ext_foreign_toplevel_handle_v1* object) const noexcept
    {
        ext_foreign_toplevel_handle_v1_destroy(object);
    }
    void operator()(ext_data_control_manager_v1* object) const noexcept
    {
        ext_data_control_manager_v1_destroy(object);
    }
    void operator()(ext_data_control_source_v1* object) const noexcept
    {
        ext_data_control_source_v1_destroy(object);
    }
    void operator()(ext_data_control_device_v1* object) const noexcept
    {
        ext_data_control_device_v1_destroy(object);
    }
    void operator()(zwlr_data_control_manager_v1* object) const noexcept
    {
        zwlr_data_control_manager_v1_destroy(object);
    }
    void operator()(zwlr_data_control_source_v1* object) const noexcept
    {
        zwlr_data_control_source_v1_destroy(object);
    }
    void operator()(zwlr_data_control_device_v1* object) const noexcept
    {
        zwlr_data_control_device_v1_destroy(object);
    }
    void operator()(zwlr_foreign_toplevel_manager_v1* object) const noexcept
    {
        zwlr_foreign_toplevel_manager_v1_destroy(object);
    }
    void operator()(zwlr_foreign_toplevel_handle_v1* object) const noexcept
    {
        zwlr_foreign_toplevel_handle_v1_destroy(object);
    }
};

template <typename Object> using WaylandHandle = std::unique_ptr<Object, WaylandDelete>;

} // namespace glimto

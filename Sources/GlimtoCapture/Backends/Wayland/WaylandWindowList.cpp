#include "Backends/Wayland/WaylandWindowList.h"

#include <utility>

namespace glimto {

namespace {

constexpr std::size_t mostWindows = 4096;

using List = ext_foreign_toplevel_list_v1;
using Handle = ext_foreign_toplevel_handle_v1;

WaylandListedWindow& window(void* data)
{
    return *static_cast<WaylandListedWindow*>(data);
}

} // namespace

std::uint32_t WaylandListedWindow::windowID() const
{
    return waylandNameID(identifier);
}

WaylandWindowList::WaylandWindowList(WaylandConnection& connection)
    : list_(connection.bindWindowList())
{
    static constexpr ext_foreign_toplevel_list_v1_listener listener = {
        .toplevel
        = [](void* self, List*, Handle* handle) { static_cast<WaylandWindowList*>(self)->add(handle); },
        .finished = [](void*, List*) {},
    };
    if (!list_)
        return;
    ext_foreign_toplevel_list_v1_add_listener(list_.get(), &listener, this);
    connection.roundTrip();
    // Those that come later are not asked for.
    ext_foreign_toplevel_list_v1_stop(list_.get());
}

const WaylandListedWindow* WaylandWindowList::keepOnly(std::uint32_t windowID)
{
    std::erase_if(
        windows_, [&](const auto& window) { return window->isClosed || window->windowID() != windowID; });
    return windows_.empty() ? nullptr : windows_.front().get();
}

void WaylandWindowList::add(ext_foreign_toplevel_handle_v1* handle)
{
    static constexpr ext_foreign_toplevel_handle_v1_listener listener = {
        .closed = [](void* data, Handle*) { window(data).isClosed = true; },
        .done = [](void*, Handle*) {},
        .title = [](void* data, Handle*, const char* title) { window(data).title = title; },
        .app_id
        = [](void* data, Handle*, const char* identifier) { window(data).applicationID = identifier; },
        .identifier
        = [](void* data, Handle*, const char* identifier) { window(data).identifier = identifier; },
    };
    WaylandHandle<ext_foreign_toplevel_handle_v1> owned(handle);
    if (windows_.size() >= mostWindows)
        return;
    windows_.push_back(std::make_unique<WaylandListedWindow>());
    windows_.back()->handle = std::move(owned);
    ext_foreign_toplevel_handle_v1_add_listener(handle, &listener, windows_.back().get());
}

} // namespace glimto

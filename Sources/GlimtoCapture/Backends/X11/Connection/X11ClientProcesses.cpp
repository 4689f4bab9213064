#include "Backends/X11/Connection/X11ClientProcesses.h"

#include <set>
#include <unordered_map>

#include <xcb/res.h>

namespace glimto {

std::vector<std::int32_t> x11ClientProcesses(X11Connection& connection, std::span<const xcb_window_t> windows)
{
    std::vector<std::int32_t> result(windows.size(), 0);
    if (windows.empty() || !connection.hasExtension(xcb_res_id))
        return result;
    auto* xcb = connection.xcb();

    // All resources of one client share the bits above the mask, so one question a client is enough.
    const std::uint32_t clientBits = ~xcb_get_setup(xcb)->resource_id_mask;
    std::set<std::uint32_t> clients;
    for (const auto window : windows)
        clients.insert(window & clientBits);
    std::vector<xcb_res_client_id_spec_t> questions;
    for (const auto client : clients)
        questions.push_back({.client = client, .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});

    // Servers older than version 1.2 answer the second request with an error.
    const auto version = xcb_res_query_version(xcb, 1, 2);
    const auto cookie
        = xcb_res_query_client_ids(xcb, static_cast<std::uint32_t>(questions.size()), questions.data());
    connection.reply<xcb_res_query_version_reply_t>(version);
    const auto reply = connection.reply<xcb_res_query_client_ids_reply_t>(cookie);
    if (!reply)
        return result;

    std::unordered_map<std::uint32_t, std::int32_t> processes;
    for (auto at = xcb_res_query_client_ids_ids_iterator(reply.get()); at.rem > 0;
         xcb_res_client_id_value_next(&at)) {
        const bool isProcess = (at.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
        if (!isProcess || xcb_res_client_id_value_value_length(at.data) < 1)
            continue;
        const std::uint32_t process = *xcb_res_client_id_value_value(at.data);
        if (process > 0 && process <= INT32_MAX)
            processes[at.data->spec.client & clientBits] = static_cast<std::int32_t>(process);
    }
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const auto found = processes.find(windows[index] & clientBits);
        if (found != processes.end())
            result[index] = found->second;
    }
    return result;
}

} // namespace glimto

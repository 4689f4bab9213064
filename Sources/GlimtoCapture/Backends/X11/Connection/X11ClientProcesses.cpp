#include "Backends/X11/Connection/X11ClientProcesses.h"

#include <set>
#include <unordered_map>

#include <xcb/res.h>

namespace glimto {

// Entries of a client, a mask, the size of the values in bytes, and the values.
std::unordered_map<std::uint32_t, std::int32_t> x11ProcessesOfClients(
    const xcb_res_query_client_ids_reply_t& reply)
{
    constexpr std::size_t headWords = 3;
    std::unordered_map<std::uint32_t, std::int32_t> processes;
    const std::span words(reinterpret_cast<const std::uint32_t*>(&reply + 1), reply.length);
    std::size_t at = 0;
    while (words.size() - at > headWords) {
        const std::size_t valueWords = words[at + 2] / 4;
        const bool isProcess = (words[at + 1] & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
        const std::uint32_t process = words[at + headWords];
        if (isProcess && valueWords > 0 && process > 0 && process <= INT32_MAX)
            processes[words[at]] = static_cast<std::int32_t>(process);
        if (valueWords > words.size() - at - headWords)
            break;
        at += headWords + valueWords;
    }
    return processes;
}

std::vector<std::int32_t> x11ClientProcesses(X11Connection& connection, std::span<const xcb_window_t> windows)
{
    std::vector<std::int32_t> result(windows.size(), 0);
    if (windows.empty() || !connection.hasExtension(xcb_res_id))
        return result;
    auto* xcb = connection.xcb();

    // One question a client is enough.
    std::set<std::uint32_t> clients;
    for (const auto window : windows)
        clients.insert(connection.clientOf(window));
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

    const auto processes = x11ProcessesOfClients(*reply);
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const auto found = processes.find(connection.clientOf(windows[index]));
        if (found != processes.end())
            result[index] = found->second;
    }
    return result;
}

} // namespace glimto

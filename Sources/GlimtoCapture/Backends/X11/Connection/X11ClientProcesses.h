#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include <xcb/res.h>
#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// The processes that own `windows`, one number for each, as the server itself knows them from its
// sockets: 0 for clients on other machines, and when the server's XRes extension is missing or older
// than version 1.2. Throws PlatformError when the server goes away or does not answer in time.
std::vector<std::int32_t> x11ClientProcesses(
    X11Connection& connection, std::span<const xcb_window_t> windows);

// The processes by the first id of their clients, as a server has answered.
std::unordered_map<std::uint32_t, std::int32_t> x11ProcessesOfClients(
    const xcb_res_query_client_ids_reply_t& reply);

} // namespace glimto

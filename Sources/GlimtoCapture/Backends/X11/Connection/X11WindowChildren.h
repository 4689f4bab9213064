#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include <xcb/xcb.h>

namespace glimto {

// The windows of a reply, bottom to top, and no more than have come. Valid as long as the reply.
inline std::span<const xcb_window_t> x11WindowChildren(const xcb_query_tree_reply_t& tree)
{
    return {xcb_query_tree_children(&tree), std::min<std::size_t>(tree.children_len, tree.length)};
}

} // namespace glimto

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <memory>

namespace kestrum {

struct XcbReplyRelease {
    void operator()(void* reply) const { std::free(reply); }
};

/// A reply of an X server, from the functions of xcb that wait for a reply. The caller owns the reply. Null when there
/// is none.
template <class Reply> using XcbReply = std::unique_ptr<Reply, XcbReplyRelease>;

} // namespace kestrum

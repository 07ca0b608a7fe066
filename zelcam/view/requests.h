// What the page asks for: addresses of the server and the answers to them.
#pragma once

#include "view/camera_session.h"

#include <httplib.h>

#include <memory>
#include <vector>

namespace view
{

using Sessions = std::vector<std::unique_ptr<CameraSession>>;

/// Adds to `server` the page and, below /api/, the operations of the sessions. `sessions` outlives
/// the server. Who may ask is decided before (view_server.h).
void addRequests(httplib::Server& server, const Sessions& sessions);

} // namespace view

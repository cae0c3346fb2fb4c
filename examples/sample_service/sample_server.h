// The sample server's own state that operations may read.
#pragma once

namespace sample_server {

// TCP connections accepted since the start.
int AcceptedConnections();

}  // namespace sample_server

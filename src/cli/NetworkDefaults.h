#pragma once

namespace cli {

/// How GDAL reads from servers, for all of this program, where the environment does not say otherwise: failed
/// requests are made again, a connection that stands still is one, and what was read is kept for a while.
void SetNetworkDefaults();

} // namespace cli

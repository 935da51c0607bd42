#pragma once

namespace cli {

/// How GDAL reads from servers, for all of this program, where the environment does not say otherwise: failed
/// requests are made again, and a connection that stands still is one.
void SetNetworkDefaults();

} // namespace cli

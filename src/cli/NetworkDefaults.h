#pragma once

namespace cli {

/// Sets how GDAL reads from servers in this program, unless the environment sets it: failed requests are
/// repeated, a stalled connection counts as failed, and what was read is cached for a while.
void SetNetworkDefaults();

/// Whether GDAL is asked to print at the end of the program what it read from servers.
[[nodiscard]] bool ShowsNetworkStatistics();

} // namespace cli

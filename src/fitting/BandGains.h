#pragma once

namespace fitting {

/// The gains of a band: a share of pan's detail, and a share of the detail times the band's ratio to pan's
/// low-pass. Each is 0 or more.
struct BandGains {
    double gain = 0.0;
    double ratioGain = 0.0;
    friend bool operator==(const BandGains&, const BandGains&) = default;
};

} // namespace fitting

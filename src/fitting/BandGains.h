#pragma once

namespace fitting {

/// What a band takes of pan's detail: a share of it, and one of the detail times the band's ratio to pan's
/// low-pass. Each is 0 or more.
struct BandGains {
    double gain = 0.0;
    double ratioGain = 0.0;
    friend bool operator==(const BandGains&, const BandGains&) = default;
};

} // namespace fitting

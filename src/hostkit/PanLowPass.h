#pragma once

#include "hostkit/SampleBlock.h"
#include "kernels/LowPassRow.h"

namespace hostkit {

/// The low-pass of pan, sampled at the pixel centres of a coarser grid whose axes are parallel to pan's. It
/// is an image of one band with pan's depth, and it covers all of pan even where the image of the coarser
/// grid ends.
///
/// A sample is the mean of pan weighted by a Gaussian (kernels/LowPassRow.h), computed in exact whole numbers
/// and rounded half up. Pixels of pan without data and pixels beyond its edge take no part: the other weights
/// are scaled to add up to 1. A sample without any weight above 0 has no data.
///
/// Sources: Aiazzi, Alparone, Baronti, Garzelli 2002 and 2006 (filters matched to the modulation transfer).
class PanLowPass {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// `pan` has one band. `coarse` gives the position and size of the coarse pixels. `nyquistTransfer` is
    /// the modulation transfer of the Gaussian at the Nyquist frequency of the coarse grid, above 0 and below
    /// 1.
    PanLowPass(const RasterInfo& pan, const RasterInfo& coarse, double nyquistTransfer);

    /// The whole image.
    [[nodiscard]] const RasterInfo& GetInfo() const { return info; }
    /// The same blur for a coarser pan. `coarse` is the grid that this one was made for.
    [[nodiscard]] PanLowPass On(const RasterInfo& coarserPan, const RasterInfo& coarse) const {
        return {coarserPan, coarse, transfer};
    }
    /// The pixels of pan that a rectangle of the image is computed from; may be empty.
    [[nodiscard]] PixelRect PanRect(const PixelRect& rect) const;
    /// Computes a rectangle of the image: packed samples in `out`, and in `valid` one byte per pixel, 0 for
    /// no data. `pan` covers PanRect(rect). True when some pixel has no data.
    bool Compute(const SampleBlock& pan, const PixelRect& rect, unsigned char* out,
                 unsigned char* valid) const;

private:
    RasterInfo info;
    double transfer;
    kernels::LowPassAxis across;
    kernels::LowPassAxis down;
    kernels::SimdTarget target = kernels::ChosenSimdTarget();
};

/// The standard deviation, in pixels, of a Gaussian with this transfer at the Nyquist frequency.
[[nodiscard]] double GaussianSigma(double transfer);

} // namespace hostkit

#pragma once

#include "hostkit/SampleBlock.h"
#include "kernels/LowPassRow.h"

namespace hostkit {

/// The low-pass of pan at the centres of the pixels of a coarser grid whose axes are parallel to pan's: an
/// image of one band, of pan's depth, that covers pan wherever the image of the coarser grid ends. A sample
/// is the mean of pan by a Gaussian (kernels/LowPassRow.h), in exact whole numbers, rounded half up. Pixels
/// of pan without data and those beyond its edge take no part: the weights of the others are made to add up
/// to 1. Where none of weight above 0 is left there is no data.
///
/// Sources: Aiazzi, Alparone, Baronti, Garzelli 2002 and 2006 (filters matched to the modulation transfer).
class PanLowPass {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// `pan` has one band; `coarse` tells the place and size of the pixels. `nyquistTransfer`,
    /// above 0 and below 1, is the modulation transfer of the Gaussian at the Nyquist frequency of the coarse
    /// grid.
    PanLowPass(const RasterInfo& pan, const RasterInfo& coarse, double nyquistTransfer);

    /// The whole image.
    [[nodiscard]] const RasterInfo& GetInfo() const { return info; }
    /// The same blur of a coarser pan. `coarse` is what this one was made for.
    [[nodiscard]] PanLowPass On(const RasterInfo& coarserPan, const RasterInfo& coarse) const {
        return {coarserPan, coarse, transfer};
    }
    /// The pixels of pan that a rectangle of the image is made of; may be empty.
    [[nodiscard]] PixelRect PanRect(const PixelRect& rect) const;
    /// Makes a rectangle of the image: samples packed, and one byte per pixel, 0 without data. `pan` covers
    /// PanRect. True when some pixel has no data.
    bool Compute(const SampleBlock& pan, const PixelRect& rect, unsigned char* out,
                 unsigned char* valid) const;

private:
    RasterInfo info;
    double transfer;
    kernels::LowPassAxis across;
    kernels::LowPassAxis down;
    kernels::SimdTarget target = kernels::ChosenSimdTarget();
};

/// The standard deviation of a Gaussian with this transfer at the Nyquist frequency, in pixels.
[[nodiscard]] double GaussianSigma(double transfer);

} // namespace hostkit

#pragma once

#include "pxl/ImageBase.h"

#include <gdal_priv.h>

#include <vector>

/// The bands of a GDAL dataset as an image of the library: three bands count as "RGB", one as "Gray". The
/// dataset is not owned. It is a header, since it is a template.
template <class T>
class DatasetImage final : public PXL::Image<T> {
public:
    explicit DatasetImage(GDALDataset& source) : dataset(source) {
        info.cols = static_cast<std::uint32_t>(dataset.GetRasterXSize());
        info.rows = static_cast<std::uint32_t>(dataset.GetRasterYSize());
        info.bands = static_cast<std::uint32_t>(dataset.GetRasterCount());
        info.bitsPerSample = 8 * sizeof(T);
        info.properties["ColorSpace"] = info.bands == 3 ? "RGB" : info.bands == 1 ? "Gray" : "Unknown";
    }

    PXL::ImageInfo GetInfo() override { return info; }

    T* GetRow(std::uint32_t row) override {
        const int columns = static_cast<int>(this->endColumn - this->firstColumn);
        const int bands = static_cast<int>(info.bands);
        const GSpacing pixel = bands * GSpacing{sizeof(T)};
        samples.resize(static_cast<std::size_t>(columns) * info.bands);
        const CPLErr read =
            dataset.RasterIO(GF_Read, static_cast<int>(this->firstColumn), static_cast<int>(row), columns, 1,
                             samples.data(), columns, 1, sizeof(T) == 1 ? GDT_Byte : GDT_UInt16, bands,
                             nullptr, pixel, pixel * columns, sizeof(T), nullptr);
        nextRow = row + 1;
        return read == CE_None ? samples.data() : nullptr;
    }
    T* GetNextRow() override { return GetRow(nextRow); }

    bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override {
        this->status.Reset(0, {}, "DatasetImage", {});
        if (col0 >= col1 || row0 >= row1 || col1 > info.cols || row1 > info.rows)
            return !this->status.Insert(1, "the window does not lie within the raster");
        this->firstColumn = col0;
        this->firstRow = row0;
        this->endColumn = col1;
        this->endRow = row1;
        return true;
    }

private:
    GDALDataset& dataset;
    PXL::ImageInfo info;
    std::vector<T> samples;
    std::uint32_t nextRow = 0;
};

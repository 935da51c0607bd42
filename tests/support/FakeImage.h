#pragma once

#include "pxl/ImageBase.h"

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace support {

/// An image for tests. It logs its calls, fails on request, and returns every row of its window as a heap
/// block of exactly that size, so that a sanitizer detects any access past it.
template <class T>
class FakeImage final : public PXL::Image<T> {
public:
    FakeImage(std::uint32_t cols, std::uint32_t rows, std::uint32_t bands) {
        info.cols = cols;
        info.rows = rows;
        info.bands = bands;
        info.bitsPerSample = 8 * sizeof(T);
        this->endColumn = cols;
    }

    PXL::ImageInfo GetInfo() override { return info; }
    T* GetRow(std::uint32_t row) override {
        log.push_back("GetRow " + std::to_string(row));
        block.reset();
        if (rowFails) return nullptr;
        block = std::make_unique<T[]>(std::size_t{this->endColumn - this->firstColumn} * info.bands);
        T* out = block.get();
        for (std::uint32_t c = this->firstColumn; c < this->endColumn; ++c)
            for (std::uint32_t b = 0; b < info.bands; ++b)
                *out++ = sample(c, row, b);
        return block.get();
    }
    T* GetNextRow() override { return nullptr; }
    bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override {
        log.push_back("SetWindow " + std::to_string(col0) + " " + std::to_string(row0) + " " +
                      std::to_string(col1) + " " + std::to_string(row1));
        block.reset(); // use of an old row reads freed memory
        if (windowFails) {
            this->status.Reset(0, {}, "FakeImage", {});
            return !this->status.Insert(77, "no such window");
        }
        this->firstColumn = col0;
        this->endColumn = col1;
        return true;
    }

    PXL::ImageInfo info;
    std::function<T(std::uint32_t, std::uint32_t, std::uint32_t)> sample =
        [](std::uint32_t col, std::uint32_t row, std::uint32_t band) {
            return static_cast<T>(std::minstd_rand(col * 7919u + row * 104729u + band * 31u + 1)() >> 3);
        };
    bool windowFails = false;
    bool rowFails = false;
    std::vector<std::string> log;

private:
    std::unique_ptr<T[]> block;
};

} // namespace support

#pragma once

#include "capi/FuseJob.h"
#include "imagery/LimitTally.h"

namespace capi {

/// Reads what says which pixels of an image have no data. False with an item.
[[nodiscard]] bool ReadGapsOf(const pansharp_gaps& given, InputImage& image,
                              KOVA::Tessara::Fundament::Status& status);

/// Reads what says which pixels have no data, and how many bits are used. False with an item.
[[nodiscard]] bool ReadGaps(const pansharp_job& given, JobUse use, FuseJob& job,
                            KOVA::Tessara::Fundament::Status& status);

/// Reads where to tell which pixels of the output have data, once that is read. False with an item.
[[nodiscard]] bool ReadOutputMask(const pansharp_mask& given, FuseJob& job,
                                  KOVA::Tessara::Fundament::Status& status);

/// False, with an item that names what is to be written, when it lies in memory that is read.
[[nodiscard]] bool CheckMemory(const char* name, const AddressRange& range, const FuseJob& job,
                               KOVA::Tessara::Fundament::Status& status);

/// Finds the collars that the job wants found. False, with an item, when an image has no data at all.
[[nodiscard]] bool FindCollars(FuseJob& job, KOVA::Tessara::Fundament::Status& status);

/// Brings fused rows to what the output has. Used by one thread.
class RowFinish {
public:
    explicit RowFinish(const FuseJob& fuseJob);

    /// A row of process bands, interleaved; `valid` has a byte per pixel, null where all have data. Good
    /// until the next call.
    [[nodiscard]] const unsigned char* Finish(const unsigned char* fused, const unsigned char* valid,
                                              std::size_t columns);

private:
    const FuseJob& job;
    const bool isNeeded;
    std::vector<unsigned short> row;
    imagery::LimitTally tally;
};

} // namespace capi

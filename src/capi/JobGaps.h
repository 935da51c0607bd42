#pragma once

#include "capi/FuseJob.h"
#include "imagery/LimitTally.h"

namespace capi {

/// Reads the rules for which pixels of an image have no data. False with an item.
[[nodiscard]] bool ReadGapsOf(const pansharp_gaps& given, InputImage& image,
                              KOVA::Tessara::Fundament::Status& status);

/// Reads the rules of all images of a job, and how many bits are used. False with an item.
[[nodiscard]] bool ReadGaps(const pansharp_job& given, JobUse use, FuseJob& job,
                            KOVA::Tessara::Fundament::Status& status);

/// Reads where the mask of the output goes. The output must have been read. False with an item.
[[nodiscard]] bool ReadOutputMask(const pansharp_mask& given, FuseJob& job,
                                  KOVA::Tessara::Fundament::Status& status);

/// False, with an item that names the memory to be written, when it overlaps memory that is read.
[[nodiscard]] bool CheckMemory(const char* name, const AddressRange& range, const FuseJob& job,
                               KOVA::Tessara::Fundament::Status& status);

/// Finds the collars that the job asks for. False, with an item, when an image has no data at all.
[[nodiscard]] bool FindCollars(FuseJob& job, KOVA::Tessara::Fundament::Status& status);

/// Makes output rows of fused rows: values for no data, and the largest sample. Used by one thread.
class RowFinish {
public:
    explicit RowFinish(const FuseJob& fuseJob);

    /// Makes an output row of a row of process bands, interleaved. `valid` has a byte per pixel; null means
    /// that all have data. The result is valid until the next call.
    [[nodiscard]] const unsigned char* Finish(const unsigned char* fused, const unsigned char* valid,
                                              std::size_t columns);

private:
    const FuseJob& job;
    const bool isNeeded;
    std::vector<unsigned short> row;
    imagery::LimitTally tally;
};

} // namespace capi

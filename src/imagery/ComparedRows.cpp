#include "imagery/ComparedRows.h"

namespace imagery {

std::unique_ptr<quality::Comparison> ComparePart(ComparedRows& rows, std::uint32_t first, std::uint32_t end,
                                                 Status& status) {
    const std::size_t columns = rows.image->GetColumns(), bands = rows.image->GetBands();
    auto found = std::make_unique<quality::Comparison>(columns, bands);
    if (!rows.image->Read(first, end, rows.samples, status) ||
        !rows.reference->Read(first, end, rows.truth, status))
        return nullptr;
    KeepCommon(rows.samples.valid, rows.truth.valid);
    for (std::size_t at = 0; at < rows.samples.valid.size(); at += columns)
        found->AddRow(rows.samples.samples.data() + at * bands, rows.truth.samples.data() + at * bands,
                      rows.samples.valid.data() + at);
    return found;
}

} // namespace imagery

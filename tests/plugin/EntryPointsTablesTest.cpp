// Hosts are built separately from the plug-in, so the order of the operations in the virtual tables of the
// interfaces must not change.
#include "host/IRasterProcess.h"
#include "host/IRasterProcessChain.h"
#include "host/IRasterWorkspace.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace KOVA::Tessara::Pixmere;
using KOVA::Tessara::Global::IObject;

namespace {

/// The position of an operation in its class's virtual table, counted in operations.
template <class Operation>
std::size_t Slot(Operation operation) {
    std::size_t word = 0; // of the table, in bytes, one more for being virtual
    static_assert(sizeof operation >= sizeof word);
    std::memcpy(&word, &operation, sizeof word);
    return (word - 1) / sizeof(void*);
}

template <class First, class... Others>
void ExpectInOrder(First first, Others... others) {
    std::size_t expected = Slot(first);
    const std::size_t slots[] = {Slot(others)...};
    for (std::size_t i = 0; i < sizeof...(others); ++i)
        EXPECT_EQ(slots[i], ++expected) << "operation " << i + 2;
}

} // namespace

TEST(Tables, OperationsStandInTheOrderOfTheContract) {
    EXPECT_EQ(Slot(&IObject::SetErrorHandler), 2u) << "after the two forms of the destructor";
    ExpectInOrder(&IObject::SetErrorHandler, &IObject::SetStatusReporter, &IObject::ToString,
                  &IObject::SetProperty, &IObject::GetProperty, &IObject::GetStatus);
    ExpectInOrder(&IRaster::Init, &IRaster::SetWindow, &IRaster::SetWorkspace, &IRaster::GetRow,
                  &IRaster::GetRasterInfo, &IRaster::SetProperties, &IRaster::SetAoi, &IRaster::GetColorMap,
                  &IRaster::SetColorMap);
    ExpectInOrder(&IRasterProcess::GetMetadata, &IRasterProcess::GetModifierFlags,
                  &IRasterProcess::SetInputRaster, &IRasterProcess::GetGeoTransformer);
    ExpectInOrder(&IRasterProcessChain::GetImageId, &IRasterProcessChain::SetWorkspace,
                  &IRasterProcessChain::SetProperties, &IRasterProcessChain::GetProcessCount,
                  &IRasterProcessChain::GetProcess, &IRasterProcessChain::Initialize,
                  &IRasterProcessChain::GetRasterInfo, &IRasterProcessChain::SetInputRaster,
                  &IRasterProcessChain::GetMetadata, &IRasterProcessChain::Close,
                  &IRasterProcessChain::CreateRaster);
    ExpectInOrder(&IRasterWorkspace::Open, &IRasterWorkspace::GetProcessChain,
                  &IRasterWorkspace::SetProperties, &IRasterWorkspace::GetProperties,
                  &IRasterWorkspace::GetImageCount, &IRasterWorkspace::GetImageId,
                  &IRasterWorkspace::HasImage, &IRasterWorkspace::GetImageInfo, &IRasterWorkspace::Close,
                  &IRasterWorkspace::ReleaseProcessChain);
}

#include "operators/CreateImageViaBinaryRowOperator.h"

namespace PXL {

template <class T>
std::unique_ptr<BinaryRowImage<T>> CreateImageViaBinaryRowOperator(const std::string&,
                                                                   Fundament::Status& status) {
    status.Reset(0, {}, "ImageViaBinaryRowOperator/create", {});
    return std::make_unique<BinaryRowImage<T>>();
}

template std::unique_ptr<BinaryRowImage8> CreateImageViaBinaryRowOperator(const std::string&,
                                                                          Fundament::Status&);
template std::unique_ptr<BinaryRowImage16> CreateImageViaBinaryRowOperator(const std::string&,
                                                                           Fundament::Status&);

} // namespace PXL

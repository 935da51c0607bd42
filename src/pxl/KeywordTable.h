#pragma once

#include "fundament/Text.h"

#include <cstddef>
#include <memory>
#include <string>

namespace PXL {

/// One line of a table that maps keywords to classes.
template <class Object>
struct KeywordEntry {
    const char* keyword;
    std::unique_ptr<Object> (*create)();
};

/// Creates an object of a class; a line of the table points to it.
template <class Object, class Class>
std::unique_ptr<Object> CreateNew() {
    return std::make_unique<Class>();
}

/// A new object of the class in the first line with this keyword, in any letter case; null without one.
template <class Object, std::size_t count>
std::unique_ptr<Object> CreateByKeyword(const KeywordEntry<Object> (&table)[count],
                                        const std::string& keyword) {
    for (const KeywordEntry<Object>& entry : table)
        if (KOVA::Tessara::Fundament::StringsEqual(keyword, entry.keyword, true)) return entry.create();
    return nullptr;
}

} // namespace PXL

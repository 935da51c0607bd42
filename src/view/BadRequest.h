#pragma once

#include <stdexcept>

namespace view {

/// Thrown for errors of a client's request; the text says what is wrong and what to ask instead.
class BadRequest : public std::runtime_error {
public:
    explicit BadRequest(const std::string& text, unsigned httpStatus = 400)
        : std::runtime_error(text), status(httpStatus) {}

    const unsigned status; ///< HTTP status
};

} // namespace view

// Arbitrary requests to a tile server: each is read or refused with a message, and what is read is within its
// bounds.
#include "Input.h"

#include "view/BadRequest.h"
#include "view/Request.h"
#include "view/ViewService.h"

#include <cmath>
#include <string>

using fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    fuzz::Drop(view::IsOwnHost(text, "own.example"));
    try {
        const view::Request request = view::ReadRequest(text);
        const view::Look& look = request.look;
        Require(request.zoom <= view::mostZoom && request.column <= 0x7FFFFFFFu && request.row <= 0x7FFFFFFFu,
                "places are within bounds");
        Require(look.stretch >= 0.0 && look.stretch <= 25.0, "stretches are within bounds");
        for (const double weight : look.weights)
            Require(std::isfinite(weight), "weights are finite");
        for (const int band : look.bands)
            Require(band >= 1 && band <= 65535, "bands count from 1");
        for (const char letter : request.page)
            Require(static_cast<unsigned char>(letter) >= 0x20, "a path has no control characters");
    } catch (const view::BadRequest& error) {
        Require(error.status >= 400 && error.status < 500 && *error.what() != 0, "a refusal says why");
    }
    return 0;
}

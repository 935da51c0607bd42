#pragma once

namespace hostkit {

/// A place, or the way from one place to another: x to the right, y down where it counts pixels.
struct Point {
    double x = 0.0; ///< across
    double y = 0.0; ///< down

    friend bool operator==(const Point&, const Point&) = default;
    /// The place that a way leads to.
    friend Point operator+(const Point& a, const Point& b) { return {a.x + b.x, a.y + b.y}; }
    /// The way from `b` to `a`.
    friend Point operator-(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y}; }
};

} // namespace hostkit

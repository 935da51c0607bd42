#pragma once

namespace hostkit {

/// A position, or a displacement from one position to another: x to the right, and y down when it counts
/// pixels.
struct Point {
    double x = 0.0; ///< across
    double y = 0.0; ///< down

    friend bool operator==(const Point&, const Point&) = default;
    /// The position after a displacement.
    friend Point operator+(const Point& a, const Point& b) { return {a.x + b.x, a.y + b.y}; }
    /// The displacement from `b` to `a`.
    friend Point operator-(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y}; }
};

} // namespace hostkit

#include "handfigures.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace HandFigures {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kOutlinePoints = 2000;

double norm(const QPointF &v) { return std::hypot(v.x(), v.y()); }

QPointF rotated(const QPointF &p, double degrees)
{
    const double a = degrees * kPi / 180.0;
    return QPointF(std::cos(a) * p.x() - std::sin(a) * p.y(),
        std::sin(a) * p.x() + std::cos(a) * p.y());
}

// A closed polygon (first point not repeated) with each corner cut by a quadratic arc
// that starts `rounding` times the shorter adjacent side before the corner.
QVector<QPointF> roundedPolygon(const QVector<QPointF> &corners, double rounding)
{
    QVector<QPointF> out;
    const int n = corners.size();
    for (int i = 0; i < n; ++i) {
        const QPointF &prev = corners[(i + n - 1) % n];
        const QPointF &c = corners[i];
        const QPointF &next = corners[(i + 1) % n];
        const double cut = rounding * std::min(norm(prev - c), norm(next - c));
        const QPointF a = c + (prev - c) * (cut / norm(prev - c));
        const QPointF b = c + (next - c) * (cut / norm(next - c));
        for (int k = 0; k <= 12; ++k) {
            const double t = k / 12.0;
            out << a * ((1 - t) * (1 - t)) + c * (2 * t * (1 - t)) + b * (t * t);
        }
    }
    return out;
}

// The closed outline resampled to kOutlinePoints points evenly spaced along it.
QVector<QPointF> evenOutline(const QVector<QPointF> &outline, double &perimeter)
{
    QVector<double> cum { 0.0 };
    const int n = outline.size();
    for (int i = 1; i <= n; ++i)
        cum << cum.last() + norm(outline[i % n] - outline[i - 1]);
    perimeter = cum.last();
    QVector<QPointF> out;
    int seg = 0;
    for (int k = 0; k < kOutlinePoints; ++k) {
        const double s = perimeter * k / kOutlinePoints;
        while (cum[seg + 1] < s)
            ++seg;
        const double span = cum[seg + 1] - cum[seg];
        const double t = span > 0 ? (s - cum[seg]) / span : 0.0;
        out << outline[seg] + (outline[(seg + 1) % n] - outline[seg]) * t;
    }
    return out;
}

// The hand going round an ideal closed outline (centred on the origin, `size` across).
QVector<QPointF> trace(Rng &rng, const QVector<QPointF> &ideal, double size, bool tablet)
{
    double perimeter = 0.0;
    const QVector<QPointF> o = evenOutline(ideal, perimeter);
    const int m = o.size();
    const double step = perimeter / m;

    // Turning at each outline point, summed over a window of size / 20 of arc: the pen
    // slows down where the outline bends.
    QVector<double> turn(m), window(m);
    for (int i = 0; i < m; ++i) {
        const QPointF a = o[i] - o[(i + m - 1) % m], b = o[(i + 1) % m] - o[i];
        turn[i] = std::fabs(std::atan2(a.x() * b.y() - a.y() * b.x(), a.x() * b.x() + a.y() * b.y()));
    }
    const int half = std::max(1, int(size / 40.0 / step));
    for (int i = 0; i < m; ++i) {
        double sum = 0.0;
        for (int k = -half; k <= half; ++k)
            sum += turn[((i + k) % m + m) % m];
        window[i] = sum;
    }

    const double start = rng.uniform(0.0, m);
    const double direction = rng.chance(0.5) ? 1.0 : -1.0;
    const double extent = m * (1.0 + rng.uniform(-0.08, 0.08));
    const double drift = rng.uniform(-0.03, 0.03);
    const double slowing = rng.uniform(0.5, 2.0);
    const double a1 = size * rng.uniform(0.0, 0.015), l1 = perimeter * rng.uniform(0.25, 0.6);
    const double a2 = size * rng.uniform(0.0, 0.01), l2 = perimeter * rng.uniform(0.05, 0.15);
    const double p1 = rng.uniform(0, 2 * kPi), p2 = rng.uniform(0, 2 * kPi);
    const double jitter = size * rng.uniform(0.0, 0.008);

    // The path in fine steps, with the time the pen spends on each.
    const int steps = int(extent);
    QVector<QPointF> path;
    QVector<double> time { 0.0 };
    for (int j = 0; j <= steps; ++j) {
        const double u = start + direction * j;
        const int i = (int(std::floor(u)) % m + m) % m;
        const QPointF along = o[(i + 1) % m] - o[i];
        const QPointF normal = QPointF(-along.y(), along.x()) / std::max(norm(along), 1e-12);
        const double s = j * step;
        const double wobble = a1 * std::sin(2 * kPi * s / l1 + p1) + a2 * std::sin(2 * kPi * s / l2 + p2);
        path << o[i] * (1.0 + drift * j / steps) + normal * wobble;
        if (j > 0)
            time << time.last() + 1.0 + slowing * window[i] / (kPi / 2);
    }

    const int count = tablet ? int(rng.uniform(200, 401)) : int(rng.uniform(40, 81));
    const double repeats = tablet ? rng.uniform(0.0, 0.25) : 0.0;
    QVector<QPointF> out;
    int j = 0;
    for (int k = 0; k < count; ++k) {
        const double t = time.last() * k / (count - 1);
        while (j + 1 < time.size() - 1 && time[j + 1] < t)
            ++j;
        const double span = time[j + 1] - time[j];
        const double f = span > 0 ? std::min(1.0, std::max(0.0, (t - time[j]) / span)) : 0.0;
        QPointF p = path[j] + (path[j + 1] - path[j]) * f;
        p += QPointF(rng.uniform(-jitter, jitter), rng.uniform(-jitter, jitter));
        if (!tablet)
            p = QPointF(std::round(p.x()), std::round(p.y()));
        out << p;
        if (rng.chance(repeats))
            out << p;
    }
    return out;
}

QVector<QPointF> regular(int n, double startDegrees)
{
    QVector<QPointF> out;
    for (int i = 0; i < n; ++i)
        out << rotated(QPointF(1, 0), startDegrees + 360.0 * i / n);
    return out;
}

} // namespace

const QStringList &labels()
{
    static const QStringList list { "circle", "oval", "triangle", "square", "rectangle", "diamond",
        "pentagon", "hexagon" };
    return list;
}

Figure draw(const QString &label, quint32 seed)
{
    Rng rng(seed);
    Figure f;
    f.label = label;
    f.tablet = rng.chance(0.5);
    const double size = rng.uniform(60.0, 300.0);
    double turn = rng.uniform(-15.0, 15.0);
    QVector<QPointF> shape; // unit-sized ideal outline or corners
    if (label == "circle" || label == "oval") {
        const double aspect = label == "circle" ? rng.uniform(1.0, 1.15) : rng.uniform(1.15, 3.0);
        f.rx = size / 2;
        f.ry = f.rx / aspect;
        f.angle = rng.uniform(-90.0, 90.0);
        for (int i = 0; i < 720; ++i) {
            const double t = 2 * kPi * i / 720;
            shape << rotated(QPointF(f.rx * std::cos(t), f.ry * std::sin(t)), f.angle);
        }
    } else {
        QVector<QPointF> corners;
        if (label == "triangle") {
            double a = 0, b = 0;
            do {
                a = rng.uniform(30.0, 120.0);
                b = rng.uniform(30.0, 120.0);
            } while (180.0 - a - b < 30.0);
            // Corners from the side of unit length between the angles a and b.
            const double ra = a * kPi / 180, rb = b * kPi / 180;
            const double h = std::sin(ra) * std::sin(rb) / std::sin(ra + rb);
            corners = { { 0, 0 }, { 1, 0 }, { h / std::tan(ra), -h } };
            turn = rng.uniform(-180.0, 180.0);
            f.corners = 3;
        } else if (label == "square" || label == "rectangle") {
            const double aspect = label == "square" ? rng.uniform(1.0, 1.1) : rng.uniform(1.15, 3.0);
            const bool wide = rng.chance(0.5);
            const double w = wide ? aspect : 1.0, h = wide ? 1.0 : aspect;
            corners = { { -w, -h }, { w, -h }, { w, h }, { -w, h } };
            f.corners = 4;
        } else if (label == "diamond") {
            const double aspect = rng.uniform(1.0, 1.6);
            const bool tall = rng.chance(0.5);
            const double w = tall ? 1.0 : aspect, h = tall ? aspect : 1.0;
            corners = { { 0, -h }, { w, 0 }, { 0, h }, { -w, 0 } };
            f.corners = 4;
        } else if (label == "pentagon") {
            corners = regular(5, -90.0);
            f.corners = 5;
        } else if (label == "hexagon") {
            corners = regular(6, rng.chance(0.5) ? 0.0 : 30.0);
            f.corners = 6;
        } else {
            return f;
        }
        double x0 = 1e300, x1 = -1e300, y0 = 1e300, y1 = -1e300;
        QPointF mid;
        for (const QPointF &c : corners) {
            x0 = std::min(x0, c.x());
            x1 = std::max(x1, c.x());
            y0 = std::min(y0, c.y());
            y1 = std::max(y1, c.y());
            mid += c / corners.size();
        }
        const double scale = size / std::max(x1 - x0, y1 - y0);
        for (QPointF &c : corners)
            c = rotated((c - mid) * scale, turn);
        shape = roundedPolygon(corners, rng.uniform(0.0, 0.15));
    }
    f.centre = QPointF(rng.uniform(150.0, 450.0), rng.uniform(150.0, 450.0));
    for (const QPointF &p : trace(rng, shape, size, f.tablet))
        f.points << p + f.centre;
    return f;
}

} // namespace HandFigures

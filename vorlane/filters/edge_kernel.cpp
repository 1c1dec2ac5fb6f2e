// Edge detection over lanes: magnitude, direction, suppression.

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/simd/arctangent.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

static inline F64 magnitude_of(F64 dx, F64 dy) {
    return square_root(dx * dx + dy * dy);
}

static void magnitude(const float* dx, const float* dy, float* mag, size_t n) {
    size_t j = 0;
    for (; j + F64::count <= n; j += F64::count)
        store_floats(mag + j, magnitude_of(load_floats(dx + j), load_floats(dy + j)));
    for (; j < n; ++j) {
        const double x = dx[j];
        const double y = dy[j];
        mag[j] = static_cast<float>(__builtin_sqrt(x * x + y * y));
    }
}

// Where dx is 0 the sign of dy decides, and 0 counts as negative.
static inline F64 direction_of(F64 dx, F64 dy) {
    const F64 zero = all_lanes(0.0);
    const F64 quarter_turn = all_lanes(double{1.5707964f});
    const F64 upright = select(zero < dy, quarter_turn, zero - quarter_turn);
    const F64 angle = select(dx == zero, upright, arctangent_2(dy, dx));
    return angle + all_lanes(double{3.1415927f});
}

// What is left of a row behind the last full vector, padded, so that it takes the same steps.
struct Rest {
    float samples[F64::count] = {};
    Rest(const float* from, size_t n) {
        for (size_t k = 0; k < n; ++k)
            samples[k] = from[k];
    }
    void copy_to(float* to, size_t n) const {
        for (size_t k = 0; k < n; ++k)
            to[k] = samples[k];
    }
};

static void direction(const float* dx, const float* dy, float* dir, size_t n) {
    size_t j = 0;
    for (; j + F64::count <= n; j += F64::count)
        store_floats(dir + j, direction_of(load_floats(dx + j), load_floats(dy + j)));
    const Rest x(dx + j, n - j);
    Rest y(dy + j, n - j);
    store_floats(y.samples, direction_of(load_floats(x.samples), load_floats(y.samples)));
    y.copy_to(dir + j, n - j);
}

static inline void gradient_of(float* dx_to_mag, float* dy_to_dir) {
    const F64 dx = load_floats(dx_to_mag);
    const F64 dy = load_floats(dy_to_dir);
    store_floats(dx_to_mag, magnitude_of(dx, dy));
    store_floats(dy_to_dir, direction_of(dx, dy));
}

static void gradient(float* dx_to_mag, float* dy_to_dir, size_t n) {
    size_t j = 0;
    for (; j + F64::count <= n; j += F64::count)
        gradient_of(dx_to_mag + j, dy_to_dir + j);
    Rest x(dx_to_mag + j, n - j);
    Rest y(dy_to_dir + j, n - j);
    gradient_of(x.samples, y.samples);
    x.copy_to(dx_to_mag + j, n - j);
    y.copy_to(dy_to_dir + j, n - j);
}

static float largest(const float* row, size_t n, float start) {
    constexpr size_t lanes = F32::count;
    F32 best[4] = {all_lanes(start), all_lanes(start), all_lanes(start), all_lanes(start)};
    size_t j = 0;
    for (; j + 4 * lanes <= n; j += 4 * lanes) {
        for (size_t g = 0; g < 4; ++g)
            best[g] = maximum(load(row + j + g * lanes), best[g]);
    }
    float found[lanes];
    store(found, maximum(maximum(best[0], best[1]), maximum(best[2], best[3])));
    float result = start;
    for (size_t k = 0; k < lanes; ++k)
        result = found[k] > result ? found[k] : result;
    for (; j < n; ++j)
        result = row[j] > result ? row[j] : result;
    return result;
}

// A quotient of floats that is formed in double precision and then rounded is the quotient rounded
// to a float: a double has more than twice the bits.
static void divide(float* row, size_t n, float divisor) {
    const F32 by = all_lanes(divisor);
    size_t j = 0;
    for (; j + F32::count <= n; j += F32::count)
        store(row + j, load(row + j) / by);
    for (; j < n; ++j)
        row[j] /= divisor;
}

// Odd multiples of pi / 8, formed in double precision from the float pi. A direction is a float, so
// the least float that is not below a bound divides the directions as the bound does.
constexpr float least_float_from(double bound) {
    const float nearest = static_cast<float>(bound);
    if (nearest >= bound)
        return nearest;
    return __builtin_bit_cast(float, __builtin_bit_cast(unsigned, nearest) + 1);
}
constexpr float sector_bounds[8] = {
    least_float_from(0.39269909262657166), least_float_from(1.178097277879715),
    least_float_from(1.9634954631328583),  least_float_from(2.7488936483860016),
    least_float_from(3.534291833639145),   least_float_from(4.319690018892288),
    least_float_from(5.1050882041454315),  least_float_from(5.890486389398575)};

struct Offset {
    int row, col;
};
// The neighbour compared first in each of the four sectors; the second one stands opposite.
constexpr Offset sector_neighbour[4] = {{0, 1}, {1, 1}, {1, 0}, {1, -1}};

static inline F32 suppressed(const float* const* mag, const float* dir, size_t j) {
    const F32 d = load(dir + j);
    F32 ahead[4];
    F32 behind[4];
    for (int s = 0; s < 4; ++s) {
        const Offset o = sector_neighbour[s];
        ahead[s] = load(mag[1 + o.row] + j + o.col);
        behind[s] = load(mag[1 - o.row] + j - o.col);
    }
    F32 first = ahead[0];
    F32 second = behind[0];
    for (int b = 0; b < 8; ++b) {
        const M32 beyond = d >= all_lanes(sector_bounds[b]);
        first = select(beyond, ahead[(b + 1) % 4], first);
        second = select(beyond, behind[(b + 1) % 4], second);
    }
    const F32 m = load(mag[1] + j);
    return select((m >= first) & (m >= second), m, all_lanes(0.0f));
}

static void suppress(const float* const* mag, const float* dir, float* out, size_t n) {
    constexpr size_t lanes = F32::count;
    if (n < 3)
        return;
    size_t j = 1;
    for (; j + lanes <= n - 1; j += lanes)
        store(out + j, suppressed(mag, dir, j));
    if (j == n - 1)
        return;
    // The rest of the row, in rows that are long enough for the lanes.
    float rows[3][lanes + 2] = {};
    float directions[lanes + 2] = {};
    float rest[lanes];
    for (size_t k = 0; j - 1 + k < n; ++k) {
        for (size_t r = 0; r < 3; ++r)
            rows[r][k] = mag[r][j - 1 + k];
        directions[k] = dir[j - 1 + k];
    }
    const float* const padded[3] = {rows[0], rows[1], rows[2]};
    store(rest, suppressed(padded, directions, 1));
    for (size_t k = 0; j + k < n - 1; ++k)
        out[j + k] = rest[k];
}

static size_t first_above(const float* row, size_t begin, size_t end, float threshold) {
    const F32 limit = all_lanes(threshold);
    size_t j = begin;
    for (; j + F32::count <= end; j += F32::count) {
        if (const unsigned bits = lane_bits(limit < load(row + j)))
            return j + static_cast<size_t>(__builtin_ctz(bits));
    }
    for (; j < end; ++j) {
        if (row[j] > threshold)
            return j;
    }
    return end;
}

} // namespace

extern const EdgeKernels edge_kernels;
const EdgeKernels edge_kernels = {magnitude, direction, gradient,   largest,
                                  divide,    suppress,  first_above};

} // namespace vorlane::VORLANE_LANES

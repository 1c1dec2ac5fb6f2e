// Edge detection over lanes: magnitude, direction, suppression.

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/simd/arctangent.h>
#include <vorlane/simd/rows.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

inline F64 magnitude_of(F64 dx, F64 dy) {
    return square_root(dx * dx + dy * dy);
}

void magnitude(const float* dx, const float* dy, float* mag, size_t n) {
    along_row<F64::count, 0>({dx, dy}, {mag}, 0, n, [](auto& in, auto& out, size_t j) {
        store_floats(out[0] + j, magnitude_of(load_floats(in[0] + j), load_floats(in[1] + j)));
    });
}

// Rounded to floats. Where dx is 0 the sign of dy decides, and 0 counts as negative. A near angle
// does where all that it may stand for rounds to the same float.
inline F64 direction_of(F64 dx, F64 dy) {
    const F64 zero = all_lanes(0.0);
    const F64 quarter_turn = all_lanes(double{1.5707964f});
    const F64 half_turn = all_lanes(double{3.1415927f});
    const F64 upright = select(zero < dy, quarter_turn, zero - quarter_turn);
    const M64 is_upright = dx == zero;
    const auto turned = [&](F64 angle) { return select(is_upright, upright, angle) + half_turn; };
    const F64 near_angle = near_arctangent_2(dy, dx);
    const F64 error = select(is_upright, zero, all_lanes(largest_near_error));
    const F64 least = round_to_float(turned(near_angle) - error);
    if (all_set(least == round_to_float(turned(near_angle) + error)))
        return least;
    return round_to_float(turned(arctangent_2(dy, dx)));
}

void direction(const float* dx, const float* dy, float* dir, size_t n) {
    along_row<F64::count, 0>({dx, dy}, {dir}, 0, n, [](auto& in, auto& out, size_t j) {
        store_floats(out[0] + j, direction_of(load_floats(in[0] + j), load_floats(in[1] + j)));
    });
}

void gradient(float* dx_to_mag, float* dy_to_dir, size_t n) {
    along_row<F64::count, 0>({dx_to_mag, dy_to_dir}, {dx_to_mag, dy_to_dir}, 0, n,
                             [](auto& in, auto& out, size_t j) {
                                 const F64 dx = load_floats(in[0] + j);
                                 const F64 dy = load_floats(in[1] + j);
                                 store_floats(out[0] + j, magnitude_of(dx, dy));
                                 store_floats(out[1] + j, direction_of(dx, dy));
                             });
}

float largest(const float* row, size_t n, float start) {
    constexpr size_t lanes = F32::count;
    F32 best[4] = {all_lanes(start), all_lanes(start), all_lanes(start), all_lanes(start)};
    size_t j = 0;
    for (; j + 4 * lanes <= n; j += 4 * lanes) {
        for (size_t g = 0; g < 4; ++g)
            best[g] = maximum(load(row + j + g * lanes), best[g]);
    }
    for (; j + lanes <= n; j += lanes)
        best[0] = maximum(load(row + j), best[0]);
    best[1] = maximum(load_first(row + j, n - j, start), best[1]);
    float found[lanes];
    store(found, maximum(maximum(best[0], best[1]), maximum(best[2], best[3])));
    float result = start;
    for (size_t k = 0; k < lanes; ++k)
        result = found[k] > result ? found[k] : result;
    return result;
}

// A quotient of floats that is formed in double precision and then rounded is the quotient rounded
// to a float: a double has more than twice the bits.
void divide(float* row, size_t n, float divisor) {
    const F32 by = all_lanes(divisor);
    along_row<F32::count, 0>({row}, {row}, 0, n, [=](auto& in, auto& out, size_t j) {
        store(out[0] + j, load(in[0] + j) / by);
    });
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

inline F32 suppressed(const float* const* mag, const float* dir, size_t j) {
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

void suppress(const float* const* mag, const float* dir, float* out, size_t n) {
    if (n < 3)
        return;
    along_row<F32::count, 1>(
        {mag[0], mag[1], mag[2], dir}, {out}, 1, n - 1,
        [](auto& in, auto& to, size_t j) { store(to[0] + j, suppressed(in, in[3], j)); });
}

void bits_above(const float* row, size_t n, float threshold, std::uint64_t* bits) {
    const F32 limit = all_lanes(threshold);
    for (size_t word = 0; word < n; word += 64) {
        const size_t end = n - word < 64 ? n : word + 64;
        std::uint64_t found = 0;
        size_t j = word;
        for (; j + F32::count <= end; j += F32::count)
            found |= std::uint64_t{lane_bits(limit < load(row + j))} << (j - word);
        if (j < end) {
            const F32 last = load_first(row + j, end - j, threshold);
            found |= std::uint64_t{lane_bits(limit < last)} << (j - word);
        }
        bits[word / 64] = found;
    }
}

} // namespace

extern const EdgeKernels edge_kernels;
const EdgeKernels edge_kernels = {magnitude, direction, gradient,  largest,
                                  divide,    suppress,  bits_above};

} // namespace vorlane::VORLANE_LANES

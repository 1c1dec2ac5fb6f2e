// Ridge detection over lanes. Lanes decide what bounds can decide and leave the rest open, so the
// result never depends on them.

#include <vorlane/filters/ridge_kernels.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/simd/arctangent.h>
#include <vorlane/simd/rows.h>
#include <vorlane/simd/sine.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

void gradients(const float* above, const float* row, const float* below, size_t n,
               float* along_rows, float* along_cols) {
    if (n < 3)
        return;
    along_row<F64::count, 1>(
        {above, row, below}, {along_rows, along_cols}, 1, n - 1, [](auto& in, auto& out, size_t j) {
            const F64 half = all_lanes(0.5);
            const F64 down = load_floats(in[2] + j) - load_floats(in[0] + j);
            const F64 right = load_floats(in[1] + j + 1) - load_floats(in[1] + j - 1);
            store_floats(out[0] + j, down * half);
            store_floats(out[1] + j, right * half);
        });
}

constexpr size_t block = 64; // pixels whose second differences stay at hand
static_assert(block % most_float_lanes == 0);

struct Differences {
    float rr[block];
    float cc[block];
    float rc[block];
};

void take_differences(const float* above, const float* row, const float* below, Differences& d) {
    const F64 quarter = all_lanes(0.25);
    for (size_t k = 0; k < block; k += F64::count) {
        const F64 centre = load_floats(row + k);
        const F64 twice = centre + centre;
        const F64 rr = (load_floats(above + k) - twice) + load_floats(below + k);
        const F64 cc = (load_floats(row + k - 1) - twice) + load_floats(row + k + 1);
        const F64 rc = ((load_floats(above + k - 1) + load_floats(below + k + 1)) -
                        load_floats(above + k + 1)) -
                       load_floats(below + k - 1);
        store_floats(d.rr + k, rr * quarter);
        store_floats(d.cc + k, cc * quarter);
        store_floats(d.rc + k, rc * quarter);
    }
}

struct Decision {
    M32 is_flat; // too flat for a ridge, whatever the direction
    M32 is_sure; // a step of (down, right) or its opposite
    F32 down, right;
};

// The direction of the strongest curvature is an eigenvector of the second differences. With
// x = rr - cc, y = 2 rc, h = sqrt(x^2 + y^2) and s = rr + cc, the two absolute curvatures are
// |s +- h| / 2, and half-angle formulas give cosine and sine without a transcendental function. All
// of it is in floats, with errors below 1e-6 of the magnitudes; what lies nearer than 1e-5 to a
// bound or to a tie is neither flat nor sure, and so are infinities and not-a-numbers.
inline Decision decide(F32 rr, F32 cc, F32 rc, F32 sigma) {
    const F32 zero = all_lanes(0.0f);
    const F32 half = all_lanes(0.5f);
    const F32 one = all_lanes(1.0f);
    const F32 limit = all_lanes(least_curvature);
    const F32 sum = absolute(rr) + absolute(cc) + absolute(rc);
    const F32 doubt = sum * all_lanes(1e-5f);
    const F32 x = rr - cc;
    const F32 y = rc + rc;
    const F32 s = rr + cc;
    const F32 h = square_root(x * x + y * y);
    const F32 curvature = half * (absolute(s) + h);
    // Where x is 0 the candidates are two fixed directions; the sum bounds those as well.
    const M32 has_eigenvectors = zero < absolute(x);
    const M32 is_flat = (sum < all_lanes(0.9f * least_curvature)) |
                        (has_eigenvectors & (curvature + doubt < limit));

    const F32 cosine = square_root(half + half * (absolute(x) / h));
    const F32 sine = half * absolute(y) / (h * cosine);
    const M32 is_turned = x < zero;
    const M32 is_first = zero < select(is_turned, zero - s, s); // the candidate of the arctangent
    const M32 is_downhill = select(is_turned, zero - y, y) < zero;
    const F32 sign = select(is_downhill, zero - one, one);
    const F32 down = sigma * select(is_first, cosine, sine) + half;
    const F32 right = sigma * select(is_first, sine, cosine) + half;
    const F32 whole_down = truncate(down);
    const F32 whole_right = truncate(right);
    const F32 part_down = down - whole_down;
    const F32 part_right = right - whole_right;
    const F32 from_tie =
        minimum(minimum(part_down, part_right), one - maximum(part_down, part_right));

    const M32 is_sure = has_eigenvectors & (doubt < minimum(absolute(s), h)) &
                        (limit < curvature - doubt) & (h < all_lanes(1e18f)) &
                        ((sigma + one) * all_lanes(1e-5f) < from_tie);
    return {is_flat, is_sure, whole_down, whole_right * select(is_first, sign, zero - sign)};
}

void append(const Decision& d, size_t col, unsigned wanted, RidgeSteps& steps) {
    const unsigned sure = lane_bits(d.is_sure) & wanted;
    const unsigned open = wanted & ~(lane_bits(d.is_flat) | sure);
    if (sure != 0) {
        float downs[F32::count];
        float rights[F32::count];
        store(downs, d.down);
        store(rights, d.right);
        for (unsigned bits = sure; bits != 0; bits &= bits - 1) {
            const int k = __builtin_ctz(bits);
            steps.cols[steps.count] = static_cast<int>(col) + k;
            steps.downs[steps.count] = static_cast<int>(downs[k]);
            steps.rights[steps.count] = static_cast<int>(rights[k]);
            ++steps.count;
        }
    }
    for (unsigned bits = open; bits != 0; bits &= bits - 1)
        steps.open_cols[steps.open_count++] = static_cast<int>(col) + __builtin_ctz(bits);
}

// `count` pixels from column `col` on, of rows that can be read one sample around a whole block.
void block_steps(const float* above, const float* row, const float* below, size_t col, size_t count,
                 float sigma, RidgeSteps& steps) {
    constexpr unsigned every_lane = (1u << F32::count) - 1;
    Differences d;
    take_differences(above, row, below, d);
    for (size_t k = 0; k < count; k += F32::count) {
        const size_t left = count - k;
        const unsigned wanted = left < F32::count ? (1u << left) - 1 : every_lane;
        append(decide(load(d.rr + k), load(d.cc + k), load(d.rc + k), all_lanes(sigma)), col + k,
               wanted, steps);
    }
}

void steps(const float* above, const float* row, const float* below, size_t begin, size_t end,
           float sigma, RidgeSteps& result) {
    size_t j = begin;
    for (; j + block <= end; j += block)
        block_steps(above + j, row + j, below + j, j, block, sigma, result);
    if (j >= end)
        return;
    float rows[3][block + 2] = {};
    for (size_t k = 0; k < end - j + 2; ++k) {
        rows[0][k] = above[j + k - 1];
        rows[1][k] = row[j + k - 1];
        rows[2][k] = below[j + k - 1];
    }
    block_steps(rows[0] + 1, rows[1] + 1, rows[2] + 1, j, end - j, sigma, result);
}

// Length and direction of a gradient, the latter from the row axis towards the column axis. A near
// angle does where all that it may stand for rounds to the same float.
inline F64 angle_of(const float* along_rows, const float* along_cols, M64& is_short) {
    const F64 r = load_floats(along_rows);
    const F64 c = load_floats(along_cols);
    is_short = square_root(c * c + r * r) < all_lanes(double{least_gradient});
    const F64 near_angle = near_arctangent_2(c, r);
    const F64 error = all_lanes(largest_near_error);
    const F64 least = round_to_float(near_angle - error);
    if (all_set(least == round_to_float(near_angle + error)))
        return least;
    return nearest_floats(arctangent_2(c, r), [=](int k) {
        return numerics::atan2(double{along_cols[k]}, double{along_rows[k]});
    });
}

void axes(const RidgePairs& pairs, size_t n) {
    const F64 pi = all_lanes(double{3.1415927f});
    const F64 two_pi = pi + pi;
    for (size_t k = 0; k < n; k += F64::count) {
        M64 is_first_short;
        M64 is_second_short;
        const F64 t1 = angle_of(pairs.first_row + k, pairs.first_col + k, is_first_short);
        const F64 t2 = angle_of(pairs.second_row + k, pairs.second_col + k, is_second_short);
        const F64 from_opposite = absolute(pi - absolute(t1 - t2));
        const M64 is_opposed = from_opposite < all_lanes(double{1.0471976f});

        // The remainder modulo pi, exact since the sum lies from pi / 2 to 5 pi / 2.
        const F64 sum = (t1 + t2) * all_lanes(0.5) + all_lanes(double{4.712389f});
        const F64 angle =
            round_to_float(select(sum < pi, sum, select(sum < two_pi, sum - pi, sum - two_pi)));
        F64 sine;
        F64 cosine;
        sine_and_cosine(angle, sine, cosine);
        const F64 none = all_lanes(double{no_angle});
        const F64 found =
            select(is_first_short | is_second_short, none, select(is_opposed, angle, none));
        double angles[F64::count];
        store(angles, angle);
        store_floats(pairs.angle + k, found);
        store_floats(pairs.cosine + k,
                     nearest_floats(cosine, [&](int lane) { return numerics::cos(angles[lane]); }));
        store_floats(pairs.sine + k,
                     nearest_floats(sine, [&](int lane) { return numerics::sin(angles[lane]); }));
    }
}

} // namespace

extern const RidgeKernels ridge_kernels;
const RidgeKernels ridge_kernels = {gradients, steps, axes};

} // namespace vorlane::VORLANE_LANES

// RGB to L*u*v* over lanes. Where a value is rounded to a float, and where not, is part of the
// contract.

#include <vorlane/image/luv_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using namespace luv;
using std::size_t;

constexpr size_t lanes = F64::count;

inline F64 weighted(F64 r, F64 g, F64 b, double wr, double wg, double wb) {
    return all_lanes(wr) * r + all_lanes(wg) * g + all_lanes(wb) * b;
}

// Half away from zero, as an integer does: there is no -0. What is too large for an int stays.
inline F64 round_half_away(F64 value) {
    const F64 shifted = value + with_sign_of(all_lanes(0.5), value);
    const F64 whole = truncate(shifted) + all_lanes(0.0);
    return select(absolute(shifted) < all_lanes(2147483648.0), whole, shifted);
}

// `channels` holds red, green, blue of as many pixels as there are lanes, and then L, u, v.
inline void convert(float (&channels)[3][lanes], const float* lightness) {
    const F64 r = load_floats(channels[0]);
    const F64 g = load_floats(channels[1]);
    const F64 b = load_floats(channels[2]);
    const F64 X = round_to_float(weighted(r, g, b, 4125.0, 3576.0, 1804.0));
    const F64 Y = weighted(r, g, b, 2125.0, 7154.0, 721.0);
    const F64 Z = weighted(r, g, b, 193.0, 1192.0, 9502.0);
    const F64 yn = Y * all_lanes(luminance_scale);

    const F64 level = minimum(yn * all_lanes(levels) + all_lanes(0.5), all_lanes(levels));
    double index[lanes];
    store(index, maximum(level, all_lanes(0.0)));
    float root_branch[lanes];
    for (size_t k = 0; k < lanes; ++k)
        root_branch[k] = lightness[static_cast<int>(index[k])];
    const F64 L = select(all_lanes(linear_threshold) < yn, load_floats(root_branch),
                         round_to_float(yn * all_lanes(linear_slope)));

    const F64 d = (Z * all_lanes(3.0) + Y * all_lanes(15.0)) + X;
    const M64 is_black = d == all_lanes(0.0);
    const F64 u_chroma =
        select(is_black, all_lanes(black_u), round_to_float(X * all_lanes(4.0) / d));
    const F64 v_chroma = select(is_black, all_lanes(black_v), Y * all_lanes(9.0) / d);
    const F64 u = round_to_float((u_chroma - all_lanes(white_u)) * L * all_lanes(chroma_scale));
    const F64 v = (v_chroma - all_lanes(white_v)) * L * all_lanes(chroma_scale);
    store_floats(channels[0], round_half_away(L));
    store_floats(channels[1], round_half_away(u));
    store_floats(channels[2], round_half_away(v));
}

void to_luv(const float* rgb, float* luv, size_t n, const float* lightness) {
    for (size_t j = 0; j < n; j += lanes) {
        const size_t count = j + lanes <= n ? lanes : n - j;
        float channels[3][lanes] = {};
        for (size_t k = 0; k < count; ++k)
            for (size_t c = 0; c < 3; ++c)
                channels[c][k] = rgb[3 * (j + k) + c];
        convert(channels, lightness);
        for (size_t k = 0; k < count; ++k)
            for (size_t c = 0; c < 3; ++c)
                luv[3 * (j + k) + c] = channels[c][k];
    }
}

} // namespace

extern const LuvKernels luv_kernels;
const LuvKernels luv_kernels = {to_luv};

} // namespace vorlane::VORLANE_LANES

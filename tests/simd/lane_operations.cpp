#include <simd/lane_operations.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

template<class Number>
using Binary = void (*)(const Number*, const Number*, Number*, size_t);

// The loop over arrays around an operation of one or two vectors.
template<class Operation>
constexpr Binary<double> doubles(Operation) {
    return [](const double* a, const double* b, double* to, size_t n) {
        for (size_t k = 0; k < n; k += F64::count)
            store(to + k, Operation{}(load(a + k), load(b + k)));
    };
}
template<class Operation>
constexpr Binary<float> floats(Operation) {
    return [](const float* a, const float* b, float* to, size_t n) {
        for (size_t k = 0; k < n; k += F32::count)
            store(to + k, Operation{}(load(a + k), load(b + k)));
    };
}

constexpr double eight[8] = {3, 1, 4, 1.5, 9, 2, 6, 5};

void truncations(const double* a, const float* b, double* to, size_t n) {
    std::int32_t whole[most_float_lanes];
    for (size_t k = 0; k < n; k += F32::count) {
        store(to + k, truncate(load(a + k)) + all_lanes(0.0));
        store(to + k + F64::count, truncate(load(a + k + F64::count)) + all_lanes(0.0));
        store_truncated(whole, load(a + k));
        store_truncated(whole + F64::count, load(a + k + F64::count));
        for (size_t lane = 0; lane < F32::count; ++lane)
            to[k + lane] += whole[lane];
        store_truncated(whole, load(b + k));
        float truncated[F32::count];
        store(truncated, truncate(load(b + k)));
        for (size_t lane = 0; lane < F32::count; ++lane)
            to[n + k + lane] = whole[lane] + double{truncated[lane]};
    }
}

F64 chosen(M64 mask) {
    return select(mask, all_lanes(1.0), all_lanes(2.0));
}
F32 chosen(M32 mask) {
    return select(mask, all_lanes(1.0f), all_lanes(2.0f));
}

} // namespace

extern const LaneOperations lane_operations;
const LaneOperations lane_operations = {
    {
        doubles([](F64 a, F64 b) { return a + b; }),
        doubles([](F64 a, F64 b) { return a - b; }),
        doubles([](F64 a, F64 b) { return a * b; }),
        doubles([](F64 a, F64 b) { return a / b; }),
        doubles([](F64 a, F64) { return square_root(a); }),
        doubles([](F64 a, F64) { return absolute(a); }),
        doubles([](F64 a, F64 b) { return with_sign_of(a, b); }),
        doubles([](F64 a, F64 b) { return minimum(a, b); }),
        doubles([](F64 a, F64 b) { return maximum(a, b); }),
        doubles([](F64 a, F64 b) { return chosen(a < b); }),
        doubles([](F64 a, F64 b) { return chosen(a == b); }),
        doubles([](F64 a, F64) { return chosen(is_negative(a)); }),
        doubles([](F64 a, F64 b) { return chosen((a < b) & is_negative(b)); }),
        doubles([](F64 a, F64 b) { return chosen((b < a) | is_negative(a)); }),
        doubles([](F64 a, F64 b) { return select(a < b, a, b); }),
        doubles([](F64 a, F64) { return round_to_float(a); }),
        doubles([](F64 a, F64) {
            return look_up_8(
                eight, select(absolute(a) < all_lanes(7.0), truncate(absolute(a)), all_lanes(7.0)));
        }),
        doubles([](F64 a, F64 b) { return add_product(a, round_to_float(a), round_to_float(b)); }),
        doubles(
            [](F64 a, F64 b) { return subtract_product(b, round_to_float(a), round_to_float(b)); }),
        doubles(
            [](F64 a, F64) { return quotient(a, all_lanes(double{0.3f}), all_lanes(1.0 / 0.3f)); }),
        doubles([](F64 a, F64) {
            return quotient(a, all_lanes(double{-7e8f}), all_lanes(1.0 / -7e8f));
        }),
        [](const double* a, const double*, double* to, size_t n) { // rounding to and from memory
            for (size_t k = 0; k < n; k += F64::count) {
                float stored[3][F64::count];
                store_floats(stored[0], load(a + k));
                store_floats_times(stored[1], load(a + k), 1.7f);
                const F64 rounded = round_and_store(stored[2], load(a + k));
                store(to + k, (load_floats(stored[0]) + load_floats(stored[1])) +
                                  (load_floats(stored[2]) + rounded));
            }
        },
    },
    {
        floats([](F32 a, F32 b) { return a + b; }),
        floats([](F32 a, F32 b) { return a - b; }),
        floats([](F32 a, F32 b) { return a * b; }),
        floats([](F32 a, F32 b) { return a / b; }),
        floats([](F32 a, F32) { return square_root(a); }),
        floats([](F32 a, F32) { return absolute(a); }),
        floats([](F32 a, F32 b) { return minimum(a, b); }),
        floats([](F32 a, F32 b) { return maximum(a, b); }),
        floats([](F32 a, F32 b) { return chosen(a < b); }),
        floats([](F32 a, F32 b) { return chosen(a >= b); }),
        floats([](F32 a, F32 b) { return chosen(a == b); }),
        floats([](F32 a, F32 b) { return chosen((a < b) & (a >= all_lanes(0.0f))); }),
        floats([](F32 a, F32 b) { return chosen((b < a) | (a >= all_lanes(0.0f))); }),
        floats([](F32 a, F32 b) { return select(a < b, a, b); }),
    },
    truncations};

} // namespace vorlane::VORLANE_LANES

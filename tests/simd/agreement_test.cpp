// Every kernel and every operation of lanes gives, with each instruction set, the bits that the
// plain one gives.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <simd/lane_operations.h>
#include <support/pictures.h>
#include <support/volumes.h>
#include <vorlane/bytes/sample_kernels.h>
#include <vorlane/filters/edge_kernels.h>
#include <vorlane/filters/recursive_filter.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/filters/ridge_kernels.h>
#include <vorlane/image/luv_kernels.h>
#include <vorlane/image/range.h>
#include <vorlane/operators/median_kernels.h>
#include <vorlane/operators/neighbourhood_kernels.h>
#include <vorlane/operators/resampling_kernels.h>
#include <vorlane/operators/sampling_kernels.h>
#include <vorlane/simd/widest_lanes.h>
#include <vorlane/volume/hessian_kernels.h>

namespace {

using namespace vorlane;
using std::size_t;
constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float extremes[] = {0.0f,          -0.0f,    infinity, -infinity, not_a_number,
                              3.4e38f,       -3.4e38f, 1e-45f,   -1e-40f,   1.2e-38f,
                              2147483648.0f, 1e12f,    1e-20f,   255.0f};

// Samples between not-a-numbers that must neither count nor change.
class Row {
public:
    explicit Row(size_t n) : all_(n + 2 * guard, not_a_number) {}
    operator float*() { return all_.data() + guard; }
    void append_to(Samples& result) {
        for (size_t k = 0; k < guard; ++k)
            EXPECT_TRUE(std::isnan(all_[k]) && std::isnan(all_[all_.size() - 1 - k]));
        result.insert(result.end(), all_.begin() + guard, all_.end() - guard);
    }

private:
    static constexpr int guard = 20;
    Samples all_;
};

// Where the operations get their rows from, the same for the same seed.
class Source {
public:
    Source(unsigned seed, bool is_extreme) : random_(seed), is_extreme_(is_extreme) {}
    float sample() {
        if (is_extreme_ && random_() % 8 == 0)
            return extremes[random_() % std::size(extremes)];
        return std::uniform_real_distribution<float>(-120.0f, 255.0f)(random_);
    }
    unsigned char byte() { return static_cast<unsigned char>(random_()); }
    Row row(size_t n, float scale = 1.0f) {
        Row row(n);
        for (size_t k = 0; k < n; ++k)
            row[k] = sample() * scale;
        return row;
    }
    std::vector<Row> rows(size_t count, size_t n) {
        std::vector<Row> all;
        for (size_t k = 0; k < count; ++k)
            all.push_back(row(n));
        return all;
    }

private:
    std::mt19937 random_;
    bool is_extreme_;
};

Samples joined(std::vector<Row> rows) {
    Samples all;
    for (Row& row : rows)
        row.append_to(all);
    return all;
}

template<class Pointer>
std::vector<Pointer> pointers_to(std::vector<Row>& rows) {
    return {rows.begin(), rows.end()};
}

Samples filtered_lines(Source& source, size_t rows, size_t n, size_t channels, float scale) {
    const Plane coef = coefficients_of(fdga, 1.3f);
    const LineFilter filter = make_line_filter(coef.get(), scale);
    std::vector<Row> in = source.rows(rows, n * channels);
    std::vector<Row> out(2 * rows, Row(n * channels));
    const auto from = pointers_to<const float*>(in);
    const auto to = pointers_to<float*>(out);
    filter_rows(filter, from.data(), to.data(), rows, n, channels);
    filter_columns(filter, from.data(), to.data() + rows, rows, n * channels);
    return joined(out);
}

Samples medians(Source& source, size_t n, size_t channels) {
    Samples all;
    for (size_t size = 2; size <= largest_network_median; ++size) {
        std::vector<Row> in = source.rows(size, n * channels);
        Row out(n * channels);
        pick_median_kernels().filter_row[size](pointers_to<const float*>(in).data(), n, channels,
                                               out);
        out.append_to(all);
    }
    return all;
}

Samples ridge_steps(Source& source, size_t n) {
    std::vector<Row> in = source.rows(3, n);
    std::vector<int> ints(4 * n);
    RidgeSteps steps = {ints.data(), &ints[n], &ints[2 * n], 0, &ints[3 * n], 0};
    pick_ridge_kernels().steps(in[0], in[1], in[2], 1, n - 1, 1.5f, steps);
    Samples all(ints.begin(), ints.end());
    all.push_back(static_cast<float>(steps.count));
    all.push_back(static_cast<float>(steps.open_count));
    return all;
}

Samples ridge_axes(Source& source, size_t n) {
    std::vector<Row> in = source.rows(4, n + most_double_lanes);
    std::vector<Row> out(3, Row(n + most_double_lanes));
    pick_ridge_kernels().axes({in[0], in[1], in[2], in[3], out[0], out[1], out[2]}, n);
    Samples all;
    for (Row& row : out)
        all.insert(all.end(), &row[0], &row[n]);
    return all;
}

Samples ranges(Source& source, size_t n, size_t channels) {
    Row row = source.row(n * channels);
    for (size_t k = 0; k < n * channels; ++k)
        row[k] = row[k] == 0.0f ? 1.0f : row[k]; // zeros of both signs are equally small
    Range found[3];
    pick_range_kernels().widen(row, n * channels, channels, found);
    pick_range_kernels().stretch(row, n * channels, channels, found, 255.0, -3.0);
    Samples all;
    row.append_to(all);
    for (const Range& range : found)
        all.insert(all.end(), {range.min, range.max});
    return all;
}

Samples weighted_means(Source& source, size_t n) {
    std::vector<Row> in = source.rows(3, n + 4 * 3);
    const double weights[] = {4.0, 2.0, 1.0};
    const double* const each[] = {weights, weights, weights};
    const auto from = pointers_to<const float*>(in);
    Row out(n);
    pick_neighbourhood_kernels().weighted_mean({from.data(), each, 3, 5, -2, 3, 30.0}, out, n);
    return joined({out});
}

Samples distances(Source& source, size_t n) {
    std::vector<Row> in = source.rows(4, n);
    pick_neighbourhood_kernels().spread_right(in[0], in[1], n);
    pick_neighbourhood_kernels().spread_left(in[1], in[2], n);
    pick_neighbourhood_kernels().spread_right(nullptr, in[3], n);
    return joined(in);
}

Samples turned_and_scaled(Source& source, size_t n, size_t channels) {
    std::vector<Row> in = source.rows(62, 82 * channels);
    std::vector<Row> out(2, Row(n * channels));
    const Turn turn = {0.8, 0.6, 30.3, 40.7};
    pick_sampling_kernels().turn_row(pointers_to<const float*>(in).data(), channels, turn, 0.25,
                                     -0.5 * static_cast<double>(n), out[0], n);
    std::vector<std::int32_t> whole(n);
    for (size_t k = 0; k < n; ++k)
        whole[k] = static_cast<std::int32_t>(k * 7 % 81);
    Row fraction = Source(1, false).row(n, 0.01f);
    pick_sampling_kernels().scale_row(in[0], in[1], channels, {whole.data(), fraction}, 0.375,
                                      out[1], n);
    return joined(out);
}

Samples resampled(Source& source, size_t n, size_t channels) {
    const ResamplingKernels& kernels = pick_resampling_kernels();
    constexpr size_t most = 5;
    std::vector<Row> in = source.rows(most, most * n * channels);
    const auto rows = pointers_to<const float*>(in);
    std::vector<Row> reduced(3, Row(n * channels));
    kernels.mean_of_blocks(rows.data(), 2, channels, reduced[0], n);
    kernels.mean_of_blocks(rows.data(), most, channels, reduced[1], n);
    const float weights[3][3] = {{0, 1, 0}, {1, 2, 1}, {0, 1, 0}};
    kernels.weigh_every_second(rows.data(), weights, 0.1, channels, reduced[2], n);
    Samples all = joined(reduced);
    for (const size_t factor : {size_t{1}, size_t{2}, size_t{3}}) {
        const size_t step = factor * channels;
        const size_t period = std::lcm(step, most_double_lanes);
        std::vector<double> upper((n + 1) * step, not_a_number), lower = upper, entries(4 * period);
        kernels.replicate(in[0], channels, factor, upper.data(), n + 1);
        kernels.replicate(in[1], channels, factor, lower.data(), n + 1);
        for (size_t k = 0; k < entries.size(); ++k)
            entries[k] = static_cast<double>(k % 7);
        const double* const w = entries.data();
        Row out(n * step);
        kernels.blend_rows(upper.data(), lower.data(), step,
                           {w, w + period, w + 2 * period, w + 3 * period, period}, factor, out,
                           n * step);
        out.append_to(all);
    }
    return all;
}

Samples bytes_of(Source& source, size_t n) {
    const SampleKernels& kernels = pick_sample_kernels();
    Row in = source.row(n, 300.0f);
    std::vector<unsigned char> bytes(10 * n);
    kernels.to_bytes(in, bytes.data(), n);
    kernels.to_int16(in, &bytes[n], n);
    kernels.to_int16_high_first(in, &bytes[3 * n], n);
    kernels.to_int32(in, &bytes[5 * n], n);
    kernels.to_windowed_bytes(in, &bytes[9 * n], n, -3.0, 71.5);
    return {bytes.begin(), bytes.end()};
}

Samples from_bytes(Source& source, size_t n) {
    const SampleKernels& kernels = pick_sample_kernels();
    std::vector<unsigned char> bytes(3 * n);
    for (unsigned char& byte : bytes)
        byte = source.byte();
    std::vector<Row> out(5, Row(n));
    kernels.from_bytes(bytes.data(), out[0], n);
    const auto low = static_cast<float>(kernels.from_int16(bytes.data(), out[1], n));
    const auto high = static_cast<float>(kernels.from_int16_high_first(bytes.data(), out[2], n));
    kernels.from_int12(bytes.data(), out[3], n);
    kernels.from_int12_high_first(bytes.data(), out[4], n);
    Samples all = joined(out);
    kernels.swap_ends(bytes.data(), bytes.data(), n);
    all.insert(all.end(), bytes.begin(), bytes.end());
    all.insert(all.end(), {low, high});
    return all;
}

Samples edges(Source& source, size_t n) {
    const EdgeKernels& kernels = pick_edge_kernels();
    std::vector<Row> in = source.rows(5, n);
    std::vector<Row> out(3, Row(n));
    kernels.magnitude(in[0], in[1], out[0], n);
    kernels.direction(in[0], in[1], out[1], n);
    kernels.gradient(in[0], in[1], n);
    const float* const mag[] = {in[2], in[3], in[4]};
    kernels.suppress(mag, in[1], out[2], n);
    Samples all = joined(out);
    for (Row& row : in)
        row.append_to(all);
    all.push_back(kernels.largest(in[2], n, -1000.0f));
    std::vector<std::uint64_t> bits((n + 63) / 64);
    kernels.bits_above(in[3], n, 200.0f, bits.data());
    for (size_t j = 0; j < 64 * bits.size(); ++j)
        all.push_back(static_cast<float>(bits[j / 64] >> j % 64 & 1));
    kernels.divide(in[4], n, 0.7f);
    in[4].append_to(all);
    return all;
}

using Operation = std::function<Samples(Source&, size_t n)>;
const struct {
    const char* name;
    Operation run;
} operations[] = {
    {"edges", edges},
    {"filter", [](Source& s, size_t n) { return filtered_lines(s, 9, n, 1, 1.0f); }},
    {"scaled filter", [](Source& s, size_t n) { return filtered_lines(s, n, 5, 3, 0.3f); }},
    {"short filter", [](Source& s, size_t n) { return filtered_lines(s, n % 4 + 1, n, 1, 1.0f); }},
    {"gradients",
     [](Source& s, size_t n) {
         std::vector<Row> rows = s.rows(3, n);
         std::vector<Row> out(2, Row(n));
         pick_ridge_kernels().gradients(rows[0], rows[1], rows[2], n, out[0], out[1]);
         return joined(out);
     }},
    {"ridge steps", [](Source& s, size_t n) { return n < 3 ? Samples() : ridge_steps(s, n); }},
    {"ridge axes", ridge_axes},
    {"L*u*v*",
     [](Source& s, size_t n) {
         Row in = s.row(3 * n);
         Row lightness = Source(2, false).row(256);
         Row out(3 * n);
         pick_luv_kernels().to_luv(in, out, n, lightness);
         return joined({out});
     }},
    {"gray range", [](Source& s, size_t n) { return ranges(s, n, 1); }},
    {"colour range", [](Source& s, size_t n) { return ranges(s, n, 3); }},
    {"medians", [](Source& s, size_t n) { return medians(s, n, 1); }},
    {"colour medians", [](Source& s, size_t n) { return medians(s, n, 3); }},
    {"Sobel",
     [](Source& s, size_t n) {
         std::vector<Row> in = s.rows(3, n);
         Row out(n);
         pick_neighbourhood_kernels().sobel(pointers_to<const float*>(in).data(), out, n);
         return joined({out});
     }},
    {"weighted means", weighted_means},
    {"distances", distances},
    {"turn and scale", [](Source& s, size_t n) { return turned_and_scaled(s, n, 1); }},
    {"colour turn and scale", [](Source& s, size_t n) { return turned_and_scaled(s, n, 3); }},
    {"resampling", [](Source& s, size_t n) { return resampled(s, n, 1); }},
    {"colour resampling", [](Source& s, size_t n) { return resampled(s, n, 3); }},
    {"eigenvalues",
     [](Source& s, size_t n) {
         std::vector<Row> in = s.rows(9, n);
         std::vector<Row> out(3, Row(n));
         const float* const rows[3][3] = {
             {in[0], in[1], in[2]}, {in[3], in[4], in[5]}, {in[6], in[7], in[8]}};
         pick_hessian_kernels().eigenvalues(rows, out[0], out[1], out[2], n);
         return joined(out);
     }},
    {"to bytes", bytes_of},
    {"from bytes", from_bytes},
};

TEST(Agreement, KernelsOfEverySetOnEveryWidth) {
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        for (size_t n = 1; n <= 70; ++n) {
            for (const bool is_extreme : {false, true}) {
                const auto run = [&] {
                    Source source(static_cast<unsigned>(n), is_extreme);
                    return operation.run(source, n);
                };
                ASSERT_TRUE(force_instruction_set(InstructionSet::plain));
                const Samples expected = run();
                with_each_instruction_set(
                    [&] { ASSERT_TRUE(same_bits(run(), expected)) << n << " " << is_extreme; });
            }
        }
    }
}

// The lanes of plain C++ say what the operations of all others give.
TEST(Agreement, OperationsOfLanes) {
    constexpr size_t n = 4096;
    Source source(4, true);
    std::vector<double> a(n), b(n), small(n);
    Samples c(n), d(n), small_floats(n);
    for (size_t k = 0; k < n; ++k) {
        a[k] = source.sample() / static_cast<double>(k % 3 + 1); // more bits than a float has
        b[k] = k % 5 == 0 ? a[k] : double{source.sample()};
        c[k] = source.sample();
        d[k] = k % 5 == 0 ? c[k] : source.sample();
        small[k] = Source(static_cast<unsigned>(k), false).sample() *
                   std::ldexp(1.0, static_cast<int>(k % 24)) / 3.0;
        small_floats[k] = static_cast<float>(small[k]);
    }
    const auto results = [&](const LaneOperations& lanes) {
        std::vector<std::vector<double>> all;
        for (const auto run : lanes.of_doubles) {
            all.emplace_back(n);
            if (run)
                run(a.data(), b.data(), all.back().data(), n);
        }
        for (const auto run : lanes.of_floats) {
            Samples to(n);
            if (run)
                run(c.data(), d.data(), to.data(), n);
            all.emplace_back(to.begin(), to.end());
        }
        all.emplace_back(2 * n);
        lanes.truncations(small.data(), small_floats.data(), all.back().data(), n);
        return all;
    };
    const auto expected = results(plain::lane_operations);
    with_each_instruction_set([&] {
        const auto found = results(pick_lane_operations());
        for (size_t r = 0; r < found.size(); ++r) {
            for (size_t k = 0; k < found[r].size(); ++k) {
                const bool both_nan = std::isnan(found[r][k]) && std::isnan(expected[r][k]);
                ASSERT_TRUE(both_nan || (found[r][k] == expected[r][k] &&
                                         std::signbit(found[r][k]) == std::signbit(expected[r][k])))
                    << "operation " << r << ", entry " << k;
            }
        }
    });
}

} // namespace

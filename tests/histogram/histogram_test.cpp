#include <vorlane/histogram/histogram.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

std::vector<int> counts_of(const CHistogram& h) {
    return {h.bins, h.bins + h.nbins};
}

// A histogram with these counts, as a host makes one by hand.
void set_counts(CHistogram& h, const std::vector<int>& counts) {
    free_1D_int_array(h.bins);
    h.nbins = static_cast<int>(counts.size());
    h.bins = make_1D_int_array(h.nbins);
    std::copy(counts.begin(), counts.end(), h.bins);
}

std::vector<int> smoothed(const std::vector<int>& counts, int width) {
    CHistogram h;
    set_counts(h, counts);
    h.Smooth(width);
    return counts_of(h);
}

TEST(Histogram, ABinForEachWholeLevel) {
    const CHistogram h(row_of({0.0f, 3.5f, 3.7f}).get(), 0);
    EXPECT_EQ(counts_of(h), (std::vector<int>{1, 0, 0, 2}));
    EXPECT_EQ(h.peak, 2);
    EXPECT_EQ(h.params, nullptr);
    EXPECT_EQ(h.nparams, 0);
    EXPECT_EQ(CHistogram(row_of({255.9f}).get(), 0).nbins, 256);

    const CHistogram zeros(row_of({0.0f, 0.9f, -0.9f, -0.0f}).get(), 0);
    EXPECT_EQ(counts_of(zeros), std::vector<int>{4});
    const CHistogram dropped(row_of({0.0f, 0.9f, -0.9f}).get(), 1);
    EXPECT_EQ(counts_of(dropped), std::vector<int>{0});
    EXPECT_EQ(dropped.peak, 0);
    EXPECT_EQ(counts_of(CHistogram(row_of({0.0f, 2.0f}).get(), -1)), (std::vector<int>{0, 0, 1}));
}

TEST(Histogram, LevelsWithoutABinAreLeftOut) {
    const auto image = row_of({-1.0f, -7.0f, std::nanf(""), infinity, -infinity, 2147483648.0f,
                               1e30f, -0.99999994f, 2.0f});
    const CHistogram h(image.get(), 0);
    EXPECT_EQ(counts_of(h), (std::vector<int>{1, 0, 1}));
    const CHistogram high(row_of({0.0f, 16777218.0f, 0.0f, 16777218.0f, 0.0f}).get(), 1);
    ASSERT_EQ(high.nbins, 16777219);
    EXPECT_EQ(high.bins[16777218], 2);
    EXPECT_EQ(high.bins[0], 0);
    EXPECT_EQ(high.peak, 2);
}

TEST(Histogram, WithoutACountedPixel) {
    const auto nothing = row_of({-2.0f, std::nanf("")});
    CImage no_rows(0, 5, 0, 1, 4), empty, strange(3, 3, 2, 1, 4);
    const CImage* const images[] = {nothing.get(), &no_rows, &empty, &strange, nullptr};
    for (const CImage* const image : images) {
        CHistogram h(image, 1);
        EXPECT_EQ(h.nbins, 0);
        EXPECT_NE(h.bins, nullptr);
        EXPECT_EQ(h.peak, 0);
        h.Smooth(3);
        EXPECT_EQ(h.FitNGaussians(1), 1000000.0f);
        EXPECT_EQ(h.FitGaussians(1, 2, 0.5f), nullptr);
        EXPECT_EQ(h.params, nullptr);
    }
    CHistogram by_default;
    EXPECT_EQ(by_default.bins, nullptr);
    by_default.Smooth(3);
    EXPECT_EQ(by_default.FitNGaussians(1), 1000000.0f);
}

TEST(Histogram, TheMaskIsReadAsItStands) {
    const auto image = row_of({5.0f, 1.0f, 2.0f, 3.0f, 200.0f, 4.0f});
    const auto mask = row_of({std::nanf(""), -1.0f, 1e-45f, 0.0f, -0.0f, 0.5f});
    const CHistogram h(image.get(), mask.get());
    EXPECT_EQ(counts_of(h), (std::vector<int>{0, 1, 1, 0, 1, 1}));
    const CHistogram nothing(image.get(), row_of({0, 0, 0, 0, 0, -0.0f}).get());
    EXPECT_EQ(nothing.nbins, 0);
    EXPECT_EQ(CHistogram(image.get(), row_of({1, 1}).get()).nbins, 0);
    const CImage empty;
    EXPECT_EQ(CHistogram(image.get(), &empty).nbins, 0);
    EXPECT_EQ(CHistogram(image.get(), static_cast<const CImage*>(nullptr)).nbins, 201);
    const auto larger = make_gray(2, 9, [](int, int j) { return j == 1 ? 1.0f : 0.0f; });
    EXPECT_EQ(counts_of(CHistogram(image.get(), larger.get())), (std::vector<int>{0, 1}));
}

TEST(Histogram, CountsEveryPixelOfGrayAndColourImages) {
    for (const int type : {0, 1}) {
        const auto image = make_random(37, 1031, type, 5);
        const auto mask = make_random(37, 1031, 0, 6);
        for (int j = 0; j < 1031; j += 3)
            mask->pixels[j % 37][j] = 0.0f;
        const ImagePtr gray(type == 1 ? image->MakeGray() : new CImage(image.get()));
        std::map<int, int> all, masked;
        for (int i = 0; i < 37; ++i) {
            for (int j = 0; j < 1031; ++j) {
                ++all[static_cast<int>(gray->pixels[i][j])];
                masked[static_cast<int>(gray->pixels[i][j])] += mask->pixels[i][j] != 0.0f;
            }
        }
        const CHistogram h(image.get(), 0);
        const CHistogram m(image.get(), mask.get());
        ASSERT_EQ(h.nbins, all.rbegin()->first + 1);
        for (int k = 0; k < h.nbins; ++k) {
            EXPECT_EQ(h.bins[k], all[k]) << k;
            EXPECT_EQ(k < m.nbins ? m.bins[k] : 0, masked[k]) << k;
        }
    }
    // A mean just below a whole number becomes that number as a float.
    const auto rounded = make_colour(1, 1, [](int, int, int) { return 3.0f; });
    EXPECT_EQ(CHistogram(rounded.get(), 0).nbins, 4);
}

TEST(Histogram, SmoothKeepsThePeakAndTheEnds) {
    EXPECT_EQ(smoothed({70, 70, 70, 70, 70}, 4), (std::vector<int>{70, 70, 70, 70, 70}));
    EXPECT_EQ(smoothed({-7, -7, -7}, 3), (std::vector<int>{-7, -7, -7}));
    for (const int width : {1, 0, -7})
        EXPECT_EQ(smoothed({9, -4, 5}, width), (std::vector<int>{9, -4, 5}));
    CHistogram h(row_of({2, 2, 2, 2, 2, 2, 2, 2, 0, 5}).get(), 0);
    EXPECT_EQ(h.peak, 8);
    h.Smooth(3); // weights exp(-2), 1, exp(-2)
    EXPECT_EQ(counts_of(h), (std::vector<int>{1, 1, 6, 1, 0, 1}));
    EXPECT_EQ(h.peak, 8);
    // exp(-4.5) reaches one bin down, not up.
    EXPECT_EQ(smoothed({0, 1000, 0}, 2), (std::vector<int>{0, 989, 11}));
    // Widths whose square no int holds, counts that a float rounds up to 2^31.
    EXPECT_EQ(smoothed({10, 20, 30}, 2147483647), (std::vector<int>{20, 20, 20}));
    EXPECT_EQ(smoothed({2147483647, 2147483647}, 3), (std::vector<int>{2147483647, 2147483647}));
}

TEST(Histogram, AssignmentCopiesDeeplyAndKeepsAnOldFitsArray) {
    const CHistogram h(row_of({1, 1, 4, 4, 4, 2, 3, 3}).get(), 0);
    CHistogram fitted;
    EXPECT_EQ(&(fitted = h), &fitted);
    EXPECT_NE(fitted.bins, h.bins);
    EXPECT_EQ(counts_of(fitted), counts_of(h));
    ASSERT_LT(fitted.FitNGaussians(1), 1.0f);

    CHistogram copy;
    copy = fitted;
    ASSERT_EQ(copy.nparams, 3);
    EXPECT_NE(copy.params, fitted.params);
    EXPECT_EQ(copy.params[1], fitted.params[1]);
    EXPECT_EQ(copy.peak, 3);

    const float* const old = copy.params;
    copy = h;
    EXPECT_EQ(copy.nparams, 0);
    EXPECT_EQ(copy.params, old);
    const CHistogram& itself = fitted;
    fitted = itself;
    EXPECT_EQ(fitted.nparams, 3);
    EXPECT_EQ(counts_of(fitted), counts_of(h));
    copy = CHistogram();
    EXPECT_EQ(copy.nbins, 0);
    EXPECT_NE(copy.bins, nullptr);
}

} // namespace

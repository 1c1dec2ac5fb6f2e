#include "host/vessels.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "host/error.h"

namespace {

using namespace vorlane;
using host::Structure;
using host::VesselMeasure;

using Vector = std::array<double, 3>; // slices, rows, columns

constexpr int side = 33;
constexpr int middle = 16;

// level(distance along each axis from the middle).
template<class Level>
host::VolumePtr volume_of(Level level) {
    auto volume = std::make_unique<CVolume>(side, side, side, ImageType::gray, FileFormat::none,
                                            PixelFormat::float32);
    for (int k = 0; k < side; ++k) {
        for (int i = 0; i < side; ++i) {
            for (int j = 0; j < side; ++j)
                volume->slices[k].pixels[i][j] = static_cast<float>(
                    level(Vector{double(k - middle), double(i - middle), double(j - middle)}));
        }
    }
    return volume;
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// A Gaussian of that width across the line through the middle along `axis`, a unit vector.
host::VolumePtr line_along(const Vector& axis, double width, double height = 100.0) {
    return volume_of([&](const Vector& p) {
        return height * std::exp((dot(p, axis) * dot(p, axis) - dot(p, p)) / (2.0 * width * width));
    });
}

host::VolumePtr sheet_across(const Vector& axis, double width) {
    return volume_of([&](const Vector& p) {
        return 100.0 * std::exp(-dot(p, axis) * dot(p, axis) / (2.0 * width * width));
    });
}

host::VolumePtr blob(double width) {
    return volume_of(
        [&](const Vector& p) { return 100.0 * std::exp(-dot(p, p) / (2.0 * width * width)); });
}

float center(const CVolume& volume) {
    return volume.slices[middle].pixels[middle][middle];
}

const Vector directions[] = {{1, 0, 0},
                             {0, 1, 0},
                             {0, 0, 1},
                             {0.0, std::sqrt(0.5), -std::sqrt(0.5)},
                             {std::sqrt(0.5), std::sqrt(0.5), 0.0},
                             {std::sqrt(1 / 3.0), std::sqrt(1 / 3.0), std::sqrt(1 / 3.0)},
                             {2 / 3.0, -1 / 3.0, 2 / 3.0},
                             {0.6, 0.0, 0.8}};

// A line of width w, smoothed, has the level 100 w^2 / s^2 with s^2 = w^2 + sigma^2, and across it
// the second derivative -level / s^2 in every direction.
TEST(Vessels, AnswerALineOfEveryDirectionAlike) {
    constexpr double width = 1.2, sigma = 1.5;
    const double s2 = width * width + sigma * sigma;
    const double curvature = 100.0 * width * width / (s2 * s2);
    for (const Vector& axis : directions) {
        const host::VolumePtr volume = line_along(axis, width);
        const host::HessianEigenvalues l = host::hessian_eigenvalues(*volume, sigma);
        EXPECT_NEAR(center(*l.smallest), -curvature, 0.02 * curvature);
        EXPECT_NEAR(center(*l.middle), -curvature, 0.02 * curvature);
        EXPECT_NEAR(center(*l.largest), 0.0, 0.02 * curvature);
        const host::VesselMap map =
            host::find_vessels(*volume, {.from = sigma, .to = sigma, .count = 1});
        EXPECT_NEAR(center(*map.strength), sigma * sigma * curvature,
                    0.02 * sigma * sigma * curvature);
    }
}

TEST(Vessels, TellLinesSheetsAndBlobsApart) {
    for (const VesselMeasure measure : {VesselMeasure::sato, VesselMeasure::frangi}) {
        for (const Vector& axis : {directions[0], directions[5], directions[7]}) {
            const host::VolumePtr volumes[] = {line_along(axis, 2.0), sheet_across(axis, 2.0),
                                               blob(2.0)};
            const Structure structures[] = {Structure::line, Structure::sheet, Structure::blob};
            for (int n = 0; n < 3; ++n) {
                float answers[3];
                for (int s = 0; s < 3; ++s) {
                    host::VesselOptions options = {.from = 2.0,
                                                   .to = 2.0,
                                                   .count = 1,
                                                   .structure = structures[s],
                                                   .measure = measure};
                    answers[s] = center(*host::find_vessels(*volumes[n], options).strength);
                }
                for (int s = 0; s < 3; ++s)
                    EXPECT_TRUE(s == n || answers[s] < 0.5f * answers[n])
                        << n << ' ' << s << ": " << answers[s] << " of " << answers[n];
            }
        }
    }
}

TEST(Vessels, FindTheScaleAndTheSign) {
    host::VesselOptions options = {.from = 1.0, .to = 4.0, .count = 7};
    // gamma^2 w^2 / s^4 is largest where sigma is the width of the line.
    const host::VesselMap map = host::find_vessels(*line_along({0, 0, 1}, 2.5), options);
    EXPECT_EQ(center(*map.scale), 2.5f);
    EXPECT_NEAR(center(*map.strength), 25.0, 0.5);
    EXPECT_EQ(map.strength->slices[middle].pixels[middle + 9][middle], 0.0f);
    EXPECT_EQ(map.scale->slices[middle].pixels[middle + 9][middle], 0.0f);

    const host::VolumePtr dark = line_along({0, 0, 1}, 2.5, -100.0);
    EXPECT_EQ(center(*host::find_vessels(*dark, options).strength), 0.0f);
    options.dark = true;
    EXPECT_EQ(center(*host::find_vessels(*dark, options).strength), center(*map.strength));
    // A line doesn't fade at the border.
    EXPECT_NEAR(map.strength->slices[middle].pixels[middle][0], 25.0, 1.0);
}

TEST(Vessels, StayAwayFromAnEvenVolume) {
    const host::VolumePtr even = volume_of([](const Vector&) { return 77.0; });
    for (const VesselMeasure measure : {VesselMeasure::sato, VesselMeasure::frangi}) {
        const host::VesselMap map = host::find_vessels(*even, {.measure = measure, .c = 10.0});
        float largest = 0.0f;
        for (int k = 0; k < side; ++k) {
            for (int i = 0; i < side; ++i)
                largest =
                    std::max(largest, *std::max_element(map.strength->slices[k].pixels[i],
                                                        map.strength->slices[k].pixels[i] + side));
        }
        EXPECT_LT(largest, 1e-3f);
    }
}

TEST(Vessels, RefuseArgumentsWithoutAMeaning) {
    const host::VolumePtr volume = blob(2.0);
    EXPECT_THROW(host::find_vessels(*volume, {.count = 0}), host::UsageError);
    EXPECT_THROW(host::find_vessels(*volume, {.beta = 0.0}), host::UsageError);
    EXPECT_THROW(host::hessian_eigenvalues(*volume, 0.1), host::UsageError);
    EXPECT_THROW(host::hessian_eigenvalues(CVolume(), 1.0), host::UsageError);
}

} // namespace

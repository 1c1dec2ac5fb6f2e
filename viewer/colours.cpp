#include "colours.h"

#include <algorithm>
#include <cmath>

namespace vorlane::viewer {

namespace {

constexpr int anchor_count = 33;
using Anchors = std::array<unsigned, anchor_count>; // 0xRRGGBB at equal steps

// Perceptually even tables of S. van der Walt and N. Smith, 2015.
constexpr Anchors viridis = {0x440154, 0x470D60, 0x48186A, 0x482374, 0x472D7B, 0x453781, 0x424086,
                             0x3E4989, 0x3B528B, 0x375B8D, 0x33638D, 0x2F6B8E, 0x2C728E, 0x297A8E,
                             0x26828E, 0x23898E, 0x21918C, 0x1F988B, 0x1FA088, 0x22A785, 0x28AE80,
                             0x32B67A, 0x3FBC73, 0x4EC36B, 0x5EC962, 0x70CF57, 0x84D44B, 0x98D83E,
                             0xADDC30, 0xC2DF23, 0xD8E219, 0xECE51B, 0xFDE725};
constexpr Anchors magma = {0x000004, 0x030312, 0x0A0822, 0x130D34, 0x1D1147, 0x29115A, 0x36106B,
                           0x440F76, 0x51127C, 0x5D177F, 0x6A1C81, 0x762181, 0x832681, 0x902A81,
                           0x9C2E7F, 0xAA337D, 0xB73779, 0xC43C75, 0xD0416F, 0xDC4869, 0xE75263,
                           0xEF5D5E, 0xF56B5C, 0xF9795D, 0xFC8961, 0xFD9869, 0xFEA772, 0xFEB67C,
                           0xFEC488, 0xFED395, 0xFDE2A3, 0xFCF0B2, 0xFCFDBF};
// From blue over gray to red. Source: K. Moreland, "Diverging color maps for scientific visualization", 2009.
constexpr Anchors diverging = {0x3B4CC0, 0x445ACC, 0x4E68D8, 0x5875E1, 0x6282EA, 0x6C8FF1, 0x779AF7,
                               0x82A6FB, 0x8DB0FE, 0x98B9FF, 0xA3C2FE, 0xAEC9FC, 0xB9D0F9, 0xC3D5F4,
                               0xCCD9ED, 0xD5DBE5, 0xDDDCDC, 0xE5D8D1, 0xECD3C5, 0xF1CCB8, 0xF5C4AC,
                               0xF7BA9F, 0xF7B093, 0xF6A586, 0xF4987A, 0xF08B6E, 0xEB7D62, 0xE46E56,
                               0xDD5F4B, 0xD44E41, 0xCA3B37, 0xBE242E, 0xB40426};

std::array<Colour, 256> between(const Anchors& anchors) {
    std::array<Colour, 256> colours;
    for (int level = 0; level < 256; ++level) {
        const double at = level * (anchor_count - 1) / 255.0;
        const int before = std::min(static_cast<int>(at), anchor_count - 2);
        const auto channel = [&](int shift) {
            const double low = anchors[before] >> shift & 255;
            const double high = anchors[before + 1] >> shift & 255;
            return static_cast<unsigned char>(std::lround(low + (high - low) * (at - before)));
        };
        colours[level] = {channel(16), channel(8), channel(0)};
    }
    return colours;
}

std::array<Colour, 256> grays() {
    std::array<Colour, 256> colours;
    for (int level = 0; level < 256; ++level) {
        const auto gray = static_cast<unsigned char>(level);
        colours[level] = {gray, gray, gray};
    }
    return colours;
}

} // namespace

std::span<const ColourTable> colour_tables() {
    static const std::array<ColourTable, 4> tables = {{{"gray", grays()},
                                                       {"viridis", between(viridis)},
                                                       {"magma", between(magma)},
                                                       {"blue to red", between(diverging)}}};
    return tables;
}

} // namespace vorlane::viewer

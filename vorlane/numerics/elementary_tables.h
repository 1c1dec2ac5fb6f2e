// Private: constants of the elementary functions. A pair is the sum of its two doubles, good to 2^-105 of
// it; limbs are bits of a fraction, the highest first.
#pragma once

#include <cstdint>

#include <vorlane/numerics/double_double.h>

namespace vorlane::numerics {

// ln(2) / 64: two parts of 33 bits, so that their products with 20 bits are exact, and a pair.
constexpr double ln2_64_1 = 0x1.62e42fef00000p-7;
constexpr double ln2_64_2 = 0x1.473de6af00000p-40;
constexpr DoubleDouble ln2_64_3 = {0x1.3c7673007e5edp-75, 0x1.7a079a193394cp-129};

// pi / 32: two parts of 33 bits, so that their products with 20 bits are exact, and a pair.
constexpr double pi_32_1 = 0x1.921fb54400000p-4;
constexpr double pi_32_2 = 0x1.0b4611a600000p-38;
constexpr DoubleDouble pi_32_3 = {0x1.3198a2e037073p-73, 0x1.129024e088a68p-127};

// 2^(j / 64).
constexpr DoubleDouble power_of_2[64] = {
    {0x1p+0, 0x0.0p+0},
    {0x1.02c9a3e778061p+0, -0x1.19083535b085dp-56},
    {0x1.059b0d3158574p+0, 0x1.d73e2a475b465p-55},
    {0x1.0874518759bc8p+0, 0x1.186be4bb284ffp-57},
    {0x1.0b5586cf9890fp+0, 0x1.8a62e4adc610bp-54},
    {0x1.0e3ec32d3d1a2p+0, 0x1.03a1727c57b53p-59},
    {0x1.11301d0125b51p+0, -0x1.6c51039449b3ap-54},
    {0x1.1429aaea92de0p+0, -0x1.32fbf9af1369ep-54},
    {0x1.172b83c7d517bp+0, -0x1.19041b9d78a76p-55},
    {0x1.1a35beb6fcb75p+0, 0x1.e5b4c7b4968e4p-55},
    {0x1.1d4873168b9aap+0, 0x1.e016e00a2643cp-54},
    {0x1.2063b88628cd6p+0, 0x1.dc775814a8495p-55},
    {0x1.2387a6e756238p+0, 0x1.9b07eb6c70573p-54},
    {0x1.26b4565e27cddp+0, 0x1.2bd339940e9d9p-55},
    {0x1.29e9df51fdee1p+0, 0x1.612e8afad1255p-55},
    {0x1.2d285a6e4030bp+0, 0x1.0024754db41d5p-54},
    {0x1.306fe0a31b715p+0, 0x1.6f46ad23182e4p-55},
    {0x1.33c08b26416ffp+0, 0x1.32721843659a6p-54},
    {0x1.371a7373aa9cbp+0, -0x1.63aeabf42eae2p-54},
    {0x1.3a7db34e59ff7p+0, -0x1.5e436d661f5e3p-56},
    {0x1.3dea64c123422p+0, 0x1.ada0911f09ebcp-55},
    {0x1.4160a21f72e2ap+0, -0x1.ef3691c309278p-58},
    {0x1.44e086061892dp+0, 0x1.89b7a04ef80d0p-59},
    {0x1.486a2b5c13cd0p+0, 0x1.3c1a3b69062f0p-56},
    {0x1.4bfdad5362a27p+0, 0x1.d4397afec42e2p-56},
    {0x1.4f9b2769d2ca7p+0, -0x1.4b309d25957e3p-54},
    {0x1.5342b569d4f82p+0, -0x1.07abe1db13cadp-55},
    {0x1.56f4736b527dap+0, 0x1.9bb2c011d93adp-54},
    {0x1.5ab07dd485429p+0, 0x1.6324c054647adp-54},
    {0x1.5e76f15ad2148p+0, 0x1.ba6f93080e65ep-54},
    {0x1.6247eb03a5585p+0, -0x1.383c17e40b497p-54},
    {0x1.6623882552225p+0, -0x1.bb60987591c34p-54},
    {0x1.6a09e667f3bcdp+0, -0x1.bdd3413b26456p-54},
    {0x1.6dfb23c651a2fp+0, -0x1.bbe3a683c88abp-57},
    {0x1.71f75e8ec5f74p+0, -0x1.16e4786887a99p-55},
    {0x1.75feb564267c9p+0, -0x1.0245957316dd3p-54},
    {0x1.7a11473eb0187p+0, -0x1.41577ee04992fp-55},
    {0x1.7e2f336cf4e62p+0, 0x1.05d02ba15797ep-56},
    {0x1.82589994cce13p+0, -0x1.d4c1dd41532d8p-54},
    {0x1.868d99b4492edp+0, -0x1.fc6f89bd4f6bap-54},
    {0x1.8ace5422aa0dbp+0, 0x1.6e9f156864b27p-54},
    {0x1.8f1ae99157736p+0, 0x1.5cc13a2e3976cp-55},
    {0x1.93737b0cdc5e5p+0, -0x1.75fc781b57ebcp-57},
    {0x1.97d829fde4e50p+0, -0x1.d185b7c1b85d1p-54},
    {0x1.9c49182a3f090p+0, 0x1.c7c46b071f2bep-56},
    {0x1.a0c667b5de565p+0, -0x1.359495d1cd533p-54},
    {0x1.a5503b23e255dp+0, -0x1.d2f6edb8d41e1p-54},
    {0x1.a9e6b5579fdbfp+0, 0x1.0fac90ef7fd31p-54},
    {0x1.ae89f995ad3adp+0, 0x1.7a1cd345dcc81p-54},
    {0x1.b33a2b84f15fbp+0, -0x1.2805e3084d708p-57},
    {0x1.b7f76f2fb5e47p+0, -0x1.5584f7e54ac3bp-56},
    {0x1.bcc1e904bc1d2p+0, 0x1.23dd07a2d9e84p-55},
    {0x1.c199bdd85529cp+0, 0x1.11065895048ddp-55},
    {0x1.c67f12e57d14bp+0, 0x1.2884dff483cadp-54},
    {0x1.cb720dcef9069p+0, 0x1.503cbd1e949dbp-56},
    {0x1.d072d4a07897cp+0, -0x1.cbc3743797a9cp-54},
    {0x1.d5818dcfba487p+0, 0x1.2ed02d75b3707p-55},
    {0x1.da9e603db3285p+0, 0x1.c2300696db532p-54},
    {0x1.dfc97337b9b5fp+0, -0x1.1a5cd4f184b5cp-54},
    {0x1.e502ee78b3ff6p+0, 0x1.39e8980a9cc8fp-55},
    {0x1.ea4afa2a490dap+0, -0x1.e9c23179c2893p-54},
    {0x1.efa1bee615a27p+0, 0x1.dc7f486a4b6b0p-54},
    {0x1.f50765b6e4540p+0, 0x1.9d3e12dd8a18bp-54},
    {0x1.fa7c1819e90d8p+0, 0x1.74853f3a5931ep-55},
};

// sin(j pi / 32).
constexpr DoubleDouble sine_of_step[17] = {
    {0x0.0p+0, 0x0.0p+0},
    {0x1.917a6bc29b42cp-4, -0x1.e2718d26ed688p-60},
    {0x1.8f8b83c69a60bp-3, -0x1.26d19b9ff8d82p-57},
    {0x1.294062ed59f06p-2, -0x1.5d28da2c4612dp-56},
    {0x1.87de2a6aea963p-2, -0x1.72cedd3d5a610p-57},
    {0x1.e2b5d3806f63bp-2, 0x1.e0d891d3c6841p-58},
    {0x1.1c73b39ae68c8p-1, 0x1.b25dd267f6600p-55},
    {0x1.44cf325091dd6p-1, 0x1.8076a2cfdc6b3p-57},
    {0x1.6a09e667f3bcdp-1, -0x1.bdd3413b26456p-55},
    {0x1.8bc806b151741p-1, -0x1.2c5e12ed1336dp-55},
    {0x1.a9b66290ea1a3p-1, 0x1.9f630e8b6dac8p-60},
    {0x1.c38b2f180bdb1p-1, -0x1.6e0b1757c8d07p-56},
    {0x1.d906bcf328d46p-1, 0x1.457e610231ac2p-56},
    {0x1.e9f4156c62ddap-1, 0x1.760b1e2e3f81ep-55},
    {0x1.f6297cff75cb0p-1, 0x1.562172a361fd3p-56},
    {0x1.fd88da3d12526p-1, -0x1.87df6378811c7p-55},
    {0x1p+0, 0x0.0p+0},
};

// ln(2), behind a limb of whole numbers.
constexpr std::uint64_t ln2_limbs[4] = {
    0x0000000000000000,
    0xb17217f7d1cf79ab,
    0xc9e3b39803f2f6af,
    0x40f343267298b62d,
};

// pi / 2, likewise.
constexpr std::uint64_t half_pi_limbs[4] = {
    0x0000000000000001,
    0x921fb54442d18469,
    0x898cc51701b839a2,
    0x52049c1114cf98e8,
};

// 2 / pi, without whole numbers.
constexpr std::uint64_t two_over_pi_limbs[22] = {
    0xa2f9836e4e441529, 0xfc2757d1f534ddc0, 0xdb6295993c439041, 0xfe5163abdebbc561,
    0xb7246e3a424dd2e0, 0x06492eea09d1921c, 0xfe1deb1cb129a73e, 0xe88235f52ebb4484,
    0xe99c7026b45f7e41, 0x3991d639835339f4, 0x9c845f8bbdf9283b, 0x1ff897ffde05980f,
    0xef2f118b5a0a6d1f, 0x6d367ecf27cb09b7, 0x4f463f669e5fea2d, 0x7527bac7ebe5f17b,
    0x3d0739f78a5292ea, 0x6bfb5fb11f8d5d08, 0x56033046fc7b6bab, 0xf0cfbc209af4361d,
    0xa9e391615ee61b08, 0x6599855f14a06840,
};

} // namespace vorlane::numerics

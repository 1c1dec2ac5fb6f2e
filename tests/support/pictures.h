// What an image holds, filters' coefficients, and the instruction sets that a test runs with.
#pragma once

#include <functional>
#include <string>

#include <support/images.h>
#include <vorlane/image/plane.h>
#include <vorlane/image/results.h>
#include <vorlane/simd/instruction_set.h>

// The record that `fill`, ga or fdga, makes of sigma.
vorlane::Plane coefficients_of(void (*fill)(float, float**), float sigma);

// The five integers of an image, and the planes that it has besides its pixels: m, d and s.
struct Facts : vorlane::Form {
    std::string planes;
    bool operator==(const Facts& other) const;
};
Facts facts_of(const CImage& image);
void PrintTo(const Facts& facts, std::ostream* out);

// Calls `check` with each instruction set that this machine has in force, and restores the widest.
void with_each_instruction_set(const std::function<void()>& check);

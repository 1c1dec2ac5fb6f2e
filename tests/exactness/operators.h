// Every operator whose results are promised to be the same bits everywhere, on made inputs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <exactness/record.h>

struct Operator {
    std::string name;
    std::function<void(Record&)> run;
};

// On all sizes of images and histograms, or on one.
enum class Extent { full, brief };
std::vector<Operator> exact_operators(Extent extent = Extent::full);

// Every operation on images, in tables, for what holds of all of them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <vorlane/image/results.h>

// Gives a new image of the form form(that of its own).
struct ImageOperation {
    std::string name;
    std::function<CImage*(const CImage&)> run;
    std::function<vorlane::Form(const vorlane::Form&)> form;
    bool takes_gray = true;
    bool takes_colour = true;
};
const std::vector<ImageOperation>& image_operations();

// Changes its image: draws on it, or fills planes of it, named by the letters m, d and s.
struct ImageChange {
    std::string name;
    std::function<void(CImage&)> run;
    std::string planes;
};
const std::vector<ImageChange>& image_changes();

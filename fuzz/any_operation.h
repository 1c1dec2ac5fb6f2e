// Operations on images, chosen by an input with all their arguments, at an affordable size.
#pragma once

#include <memory>

#include <vorlane/image/image.h>

#include "byte_input.h"

using ImagePtr = std::unique_ptr<CImage>;

// An image of up to 48 x 48 pixels of either type, with some of the planes or not.
ImagePtr make_any_image(ByteInput& input);

// A new image of `a`, or null. `b` may be a itself.
ImagePtr apply_any_operation(const CImage& a, const CImage& b, ByteInput& input);

// Draws on `a`, or fills planes of it.
void apply_any_change(CImage& a, const CImage& b, ByteInput& input);

// The number of samples in a row, if the image has pixels; else 0.
int row_length(const CImage& image);

// Reads every sample that the fields promise.
void touch(const CImage& image);

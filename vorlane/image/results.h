// Private: the images that operators give.
#pragma once

#include <memory>
#include <new>
#include <utility>

#include <vorlane/image/guard.h>
#include <vorlane/image/soundness.h>

namespace vorlane {

// The five integers of an image.
struct Form {
    int nrows, ncols;
    int image_type, pixel_format, file_format;

    Form of_size(int rows, int cols) const {
        return {rows, cols, image_type, pixel_format, file_format};
    }
    Form of_type(int type) const { return {nrows, ncols, type, pixel_format, file_format}; }
    Form as(int format) const { return {nrows, ncols, image_type, format, file_format}; }
    Form in_file(int format) const { return {nrows, ncols, image_type, pixel_format, format}; }
};

inline Form form_of(const CImage& image) {
    return {image.nrows, image.ncols, image.image_type, image.pixel_format, image.file_format};
}

inline void set_form(CImage& image, const Form& form) {
    image.nrows = form.nrows;
    image.ncols = form.ncols;
    image.image_type = form.image_type;
    image.pixel_format = form.pixel_format;
    image.file_format = form.file_format;
}

// Throws std::bad_alloc if the image can't be: a negative size, a type without pixels, no memory.
inline std::unique_ptr<CImage> make_image(const Form& form, Fill fill = Fill::zeros) {
    const int channels = channel_count(form.image_type);
    if (channels == 0)
        throw std::bad_alloc();
    auto image = std::make_unique<CImage>();
    set_form(*image, form);
    image->pixels = Plane(form.nrows, Index{channels} * form.ncols, fill).release();
    return image;
}

// A new image of this form, whose samples `write(image)` sets, every one of them unless they are
// made of zeros. It isn't called for an empty source, whose result has no samples either. Null if
// there is no memory.
template<class Write>
CImage* make_written(const CImage& source, const Form& form, Write&& write,
                     Fill fill = Fill::none) {
    return guarded([&] {
        auto image = make_image(form, fill);
        if (has_rows_and_columns(source))
            write(*image);
        return image;
    });
}

// What most operators give: the same, or null if `source` isn't sound.
template<class Write>
CImage* make_from(const CImage& source, const Form& form, Write&& write) {
    return is_sound(source) ? make_written(source, form, std::forward<Write>(write)) : nullptr;
}

// The same by its integers; null if it can't be.
inline std::unique_ptr<CImage> make_zero_image(int rows, int cols, int image_type, int file_format,
                                               int pixel_format) {
    return std::unique_ptr<CImage>(guarded([&] {
        return make_image({rows, cols, image_type, pixel_format, file_format});
    }));
}

} // namespace vorlane

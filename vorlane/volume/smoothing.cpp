#include <memory>
#include <new>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/volume/smoothing.h>

namespace vorlane {

std::vector<int> slices_to_process(const CVolume& volume) {
    std::vector<int> indices;
    for (int k = 0; k < volume.nslices; ++k) {
        const CImage& slice = volume.slices[k];
        if (!slice.pixels)
            continue;
        if (!has_pixels(slice) || slice.nrows != volume.nrows || slice.ncols != volume.ncols ||
            channel_count(slice.image_type) == 0 ||
            !plane_holds(slice.pixels, slice.nrows, slice.ncols))
            return {};
        indices.push_back(k);
    }
    return indices;
}

bool smooth_planes(const std::vector<const float* const*>& in, const std::vector<float**>& out,
                   std::size_t rows, std::size_t cols, float sigma) {
    if (!is_valid_sigma(sigma))
        return false;
    const LineFilter filter = gaussian_filter(sigma);
    for (std::size_t k = 0; k < in.size(); ++k) {
        if (!filter_rows(filter, in[k], out[k], rows, cols) ||
            !filter_columns(filter, out[k], out[k], rows, cols))
            return false;
    }
    // Row i of every slice: its columns are the lines across the slices.
    std::vector<float*> across(out.size());
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t k = 0; k < out.size(); ++k)
            across[k] = out[k][i];
        if (!filter_columns(filter, across.data(), across.data(), across.size(), cols))
            return false;
    }
    return true;
}

} // namespace vorlane

namespace {

using namespace vorlane;

// An image of the kind of `source`; the first ncols samples of a row are for the filter.
bool make_like(const CImage& source, CImage& slice, PlaneStack& gray_planes) {
    slice.nrows = source.nrows;
    slice.ncols = source.ncols;
    slice.image_type = source.image_type;
    slice.pixel_format = source.pixel_format;
    slice.file_format = source.file_format;
    slice.pixels = source.image_type == 0 ? gray_planes.next().release()
                                          : make_plane(source.nrows, samples_per_row(source));
    return slice.pixels != nullptr;
}

} // namespace

CVolume* CVolume::smooth_volume(float sigma) const try {
    if (!is_valid_sigma(sigma) || !has_slices())
        return nullptr;
    const std::vector<int> indices = slices_to_process(*this);
    std::unique_ptr<CVolume> result(new (std::nothrow) CVolume);
    if (indices.empty() || !result || !result->make_slices(nslices))
        return nullptr;
    result->nslices = nslices;
    result->nrows = nrows;
    result->ncols = ncols;
    result->image_type = image_type;
    result->file_format = file_format;
    PlaneStack gray_planes(nrows, ncols, Fill::none, indices.size());
    std::vector<const float* const*> in;
    std::vector<float**> out;
    for (const int k : indices) {
        if (!make_like(slices[k], result->slices[k], gray_planes))
            return nullptr;
        in.push_back(slices[k].pixels);
        out.push_back(result->slices[k].pixels);
    }
    const bool done = smooth_planes(in, out, static_cast<std::size_t>(nrows),
                                    static_cast<std::size_t>(ncols), sigma);
    return done ? result.release() : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void apply_IIR4_filter_z(const float* const* coef, float* line, int n) {
    if (coef && line && n > 0)
        filter_rows(make_line_filter(coef), &line, &line, 1, static_cast<std::size_t>(n));
}

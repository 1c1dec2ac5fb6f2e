#include <memory>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/results.h>
#include <vorlane/volume/slices.h>
#include <vorlane/volume/smoothing.h>

namespace vorlane {

void smooth_slices(const std::vector<SliceTask>& slices, Index rows, Index cols, float sigma) {
    const LineFilter filter = gaussian_filter(sigma);
    for (const SliceTask& slice : slices) {
        filter_rows(filter, slice.in, slice.out, slice.rows, slice.cols);
        filter_columns(filter, slice.out, slice.out, slice.rows, slice.cols);
    }
    // Row i of every slice: its columns are the lines across the slices.
    std::vector<float*> across(slices.size());
    for (Index i = 0; i < rows; ++i) {
        for (std::size_t k = 0; k < slices.size(); ++k)
            across[k] = slices[k].out[i];
        filter_columns(filter, across.data(), across.data(), static_cast<Index>(across.size()),
                       cols);
    }
}

} // namespace vorlane

using namespace vorlane;

CVolume* CVolume::smooth_volume(float sigma) const {
    if (!is_valid_sigma(sigma))
        return nullptr;
    return guarded([&]() -> std::unique_ptr<CVolume> {
        const std::vector<int> indices = slices_to_process(*this);
        if (indices.empty())
            return nullptr;
        auto result = std::make_unique<CVolume>();
        result->make_slices(nslices);
        result->nslices = nslices;
        result->nrows = nrows;
        result->ncols = ncols;
        result->image_type = image_type;
        result->file_format = file_format;
        PlaneStack gray_planes(nrows, ncols, Fill::none, indices.size());
        std::vector<SliceTask> tasks;
        for (const int k : indices) {
            const CImage& from = slices[k];
            CImage& to = result->slices[k];
            const bool is_plain =
                from.image_type == ImageType::gray && from.nrows == nrows && from.ncols == ncols;
            set_form(to, form_of(from));
            to.pixels = (is_plain ? gray_planes.next() : Plane(from.nrows, samples_per_row(from)))
                            .release();
            tasks.push_back({from.pixels, to.pixels, from.nrows, from.ncols});
        }
        smooth_slices(tasks, nrows, ncols, sigma);
        return result;
    });
}

void apply_IIR4_filter_z(const float* const* coef, float* line, int n) {
    if (coef && line && n > 0)
        guarded([&] { filter_rows(make_line_filter(coef), &line, &line, 1, n); });
}

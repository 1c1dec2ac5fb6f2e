#include <support/image_operations.h>

#include <new>

#include <support/pictures.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/filters/ridges.h>

using vorlane::Form;

namespace {

Form same(const Form& form) {
    return form;
}
Form as_colour(const Form& form) {
    return form.of_type(1);
}

const float* const* gaussian_record() {
    static const vorlane::Plane record = coefficients_of(ga, 1.5f);
    return record.get();
}

} // namespace

const std::vector<ImageOperation>& image_operations() {
    constexpr bool no = false;
    constexpr bool yes = true;
    static const std::vector<ImageOperation> operations = {
        {"copy", [](const CImage& a) { return new (std::nothrow) CImage(&a); }, same},
        {"Invert", [](const CImage& a) { return a.Invert(); }, same},
        {"Multseq", [](const CImage& a) { return a.Multseq(&a); }, same},
        {"Addseq", [](const CImage& a) { return a.Addseq(&a); }, same},
        {"Orseq", [](const CImage& a) { return a.Orseq(&a); }, same},
        {"Andseq", [](const CImage& a) { return a.Andseq(&a); }, same},
        {"Maxseq", [](const CImage& a) { return a.Maxseq(&a); }, same},
        {"Minseq", [](const CImage& a) { return a.Minseq(&a); }, same},
        {"Superpose", [](const CImage& a) { return a.Superpose(&a); }, as_colour},
        {"MakeGray", [](const CImage& a) { return a.MakeGray(); },
         [](const Form& f) { return f.of_type(0).as(6); }, no, yes},
        {"MakeColor", [](const CImage& a) { return a.MakeColor(1); },
         [](const Form& f) { return f.of_type(1).as(4); }, yes, no},
        {"RGB_to_LUV", [](const CImage& a) { return a.RGB_to_LUV(); },
         [](const Form& f) { return f.as(0).in_file(0); }, no, yes},
        {"Median 3", [](const CImage& a) { return a.Median(3); }, same},
        {"Median 11", [](const CImage& a) { return a.Median(11); }, same},
        {"Threshold", [](const CImage& a) { return a.Threshold(9.0f); },
         [](const Form& f) { return f.of_type(0); }},
        {"DistanceFilter", [](const CImage& a) { return a.DistanceFilter(3); }, same},
        {"Chamfer", [](const CImage& a) { return a.Chamfer(); },
         [](const Form& f) { return f.as(6).in_file(0); }},
        {"GNoise", [](const CImage& a) { return a.GNoise(1.0f); },
         [](const Form& f) { return f.as(6); }, yes, no},
        {"Extract", [](const CImage& a) { return a.Extract(0, 0, a.nrows / 2, a.ncols / 2); },
         [](const Form& f) { return f.of_size(f.nrows / 2, f.ncols / 2); }},
        {"Reduce filtered", [](const CImage& a) { return a.Reduce(2, 1); },
         [](const Form& f) { return f.of_size(f.nrows / 2, f.ncols / 2); }},
        {"Reduce", [](const CImage& a) { return a.Reduce(3, 0); },
         [](const Form& f) { return f.of_size(f.nrows / 3, f.ncols / 3); }},
        {"Enlarge bilinear", [](const CImage& a) { return a.Enlarge(2, 1); },
         [](const Form& f) { return f.of_size(2 * f.nrows, 2 * f.ncols); }},
        {"Enlarge", [](const CImage& a) { return a.Enlarge(3, 0); },
         [](const Form& f) { return f.of_size(3 * f.nrows, 3 * f.ncols); }},
        {"Translate", [](const CImage& a) { return a.Translate(1, -2); }, same},
        {"Rotate", [](const CImage& a) { return a.Rotate(30); }, same},
        {"Scale", [](const CImage& a) { return a.Scale(2.0f, 3.0f); },
         [](const Form& f) { return f.of_size(2 * f.nrows, 3 * f.ncols); }},
        {"filter x", [](const CImage& a) { return a.apply_IIR4_filter_x(gaussian_record()); },
         same},
        {"filter y", [](const CImage& a) { return a.apply_IIR4_filter_y(gaussian_record()); },
         same},
        {"smooth", [](const CImage& a) { return a.smooth_image(1.0f); }, same},
        {"derivative x", [](const CImage& a) { return a.first_derivative_x(1.0f); }, same},
        {"derivative y", [](const CImage& a) { return a.first_derivative_y(1.0f); }, same},
        {"suppression", [](const CImage& a) { return a.non_maximum_suppression(); },
         [](const Form& f) { return f.of_type(0).as(6); }},
        {"linking", [](const CImage& a) { return a.hysteresis_thresholding(9.0f, 2.0f); },
         [](const Form& f) { return f.of_type(0).as(4); }},
    };
    return operations;
}

const std::vector<ImageChange>& image_changes() {
    static const std::vector<ImageChange> changes = {
        {"assignment",
         [](CImage& a) {
             CImage b;
             b = a;
             if (b.nrows == a.nrows)
                 a = b;
         },
         ""},
        {"Normalize", [](CImage& a) { a.Normalize(0.0f, 1.0f); }, ""},
        {"WindowCenter",
         [](CImage& a) {
             static const int table[256] = {};
             a.WindowCenter(table);
         },
         ""},
        {"ComputeRGB", [](CImage& a) { a.ComputeRGB(&a, &a, &a); }, ""},
        {"DrawLine", [](CImage& a) { a.DrawLine(-5, -5, 70, 60, 3.0f); }, ""},
        {"DrawCircle", [](CImage& a) { a.DrawCircle(3, 3, 9.0f, 3.0f); }, ""},
        {"DrawCross", [](CImage& a) { a.DrawCross(3, 3, 3.0f, 40); }, ""},
        {"FillObject", [](CImage& a) { a.FillObject(1, 1, 3.0f, 300.0f); }, ""},
        {"FillConvexObject", [](CImage& a) { a.FillConvexObject(3.0f); }, ""},
        {"follow_edge", [](CImage& a) { a.follow_edge(&a, 1, 1, 2.0f); }, ""},
        {"SobelFilter", [](CImage& a) { a.SobelFilter(); }, "m"},
        {"edges_mag_dir", [](CImage& a) { a.edges_mag_dir(1.0f); }, "md"},
        {"ridges",
         [](CImage& a) {
             SetRidgeProgress([](int, float, void*) {}, nullptr);
             a.ridges(1.0f, 2.0f, 2, 1, 1, nullptr);
         },
         "mds"},
    };
    return changes;
}

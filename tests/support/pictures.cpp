#include <support/pictures.h>

#include <string>

vorlane::Plane coefficients_of(void (*fill)(float, float**), float sigma) {
    vorlane::Plane coef(5, 5);
    fill(sigma, coef.get());
    return coef;
}

bool Facts::operator==(const Facts& other) const {
    return nrows == other.nrows && ncols == other.ncols && image_type == other.image_type &&
           pixel_format == other.pixel_format && file_format == other.file_format &&
           planes == other.planes;
}

Facts facts_of(const CImage& image) {
    Facts facts{vorlane::form_of(image), ""};
    facts.planes += image.mag_plane ? "m" : "";
    facts.planes += image.dir_plane ? "d" : "";
    facts.planes += image.scale_plane ? "s" : "";
    return facts;
}

void PrintTo(const Facts& facts, std::ostream* out) {
    *out << facts.nrows << " x " << facts.ncols << " type " << facts.image_type << " pixel format "
         << facts.pixel_format << " file format " << facts.file_format << " planes \""
         << facts.planes << '"';
}

void with_each_instruction_set(const std::function<void()>& check) {
    using vorlane::InstructionSet;
    InstructionSet widest = InstructionSet::plain;
    for (const InstructionSet set : vorlane::instruction_sets) {
        if (!vorlane::force_instruction_set(set))
            continue;
        ASSERT_EQ(vorlane::active_instruction_set(), set);
        SCOPED_TRACE("instruction set " + std::to_string(static_cast<int>(set)));
        check();
        widest = set;
    }
    vorlane::force_instruction_set(widest);
}
